// Editing locks between two sessions of one server: one export of a class at a time.
#include <gtest/gtest.h>

#include <functional>

#include "hosts/tavro/objects/objects.h"
#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using tavro_test::ClassDefinition;
using tavro_test::Connect;
using tavro_test::DataDir;
using tavro_test::ErrorOf;
using tavro_test::NewObject;

const char* kClassDef = "%Dictionary.ClassDefinition";
const char* kPropertyDef = "%Dictionary.PropertyDefinition";
const char* kLocked = "class Shop.Order is locked by user dev";
const char* kOther = "other";
const char* kOtherPassword = "other-secret";

const char* kOrderXml =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Class name=\"Shop.Order\">\n"
    "  <Property name=\"Total\"/>\n</Class>\n";

// A developer besides "dev", so that a lock names its holder.
ObjectRef ConnectOther(const DataDir& dir) {
    tavro::AddUser(*tavro::OpenStore(dir.path()), kOther, kOtherPassword, /*development=*/true,
                   tavro::HashCost::Minimal);
    return Connect(dir, kOther, kOtherPassword);
}

// Shop.Order with the one property `property`, saved through `factory`.
void SaveOrder(const ObjectRef& factory, const char* property) {
    ObjectRef def = NewObject(factory, kClassDef, "Shop.Order");
    ObjectRef prop =
        NewObject(factory, kPropertyDef, (std::string("Shop.Order:") + property).c_str());
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {prop});
    CallByName(def, "sys_Save");
    CallByName(def, "sys_Close");
}

// The export's delete: load, delete by the definition's id, close.
void DeleteOrder(const ObjectRef& factory) {
    ObjectRef old = ClassDefinition(factory, "Shop.Order");
    CallByName(old, "sys_Delete", {GetByName(old, "sys_OID")});
    CallByName(old, "sys_Close");
}

void SaveOrderXml(const ObjectRef& factory) {
    ObjectRef utility = NewObject(factory, "%Dictionary.CorvansilUtility");
    PutByName(GetByName(utility, "XmlStream").ToObject(), "Data", kOrderXml);
    PutByName(GetByName(utility, "MemberListStream").ToObject(), "Data", "a:Total\n");
    CallByName(utility, "SaveFromXmlStream");
}

// Every way the other session could write or open Shop.Order, each refused while the first
// session holds the class.
void ExpectEveryWriteRefused(const ObjectRef& other) {
    EXPECT_EQ(ErrorOf([&] { NewObject(other, kClassDef, "Shop.Order"); }), kLocked);
    EXPECT_EQ(ErrorOf([&] { SaveOrderXml(other); }), kLocked);
    ObjectRef renamed = NewObject(other, kClassDef, "Shop.Line");
    EXPECT_EQ(ErrorOf([&] { PutByName(renamed, "Name", "shop.order"); }),
              "class shop.order is locked by user dev");
    ObjectRef member = NewObject(other, kPropertyDef, "Shop.Order:Extra");
    EXPECT_EQ(ErrorOf([&] { CallByName(member, "sys_Save"); }), kLocked);
    ObjectRef loaded;  // reading is never refused, but a deleted class is not there to read
    if (ErrorOf([&] { loaded = ClassDefinition(other, "Shop.Order"); }) != "<no error>") return;
    EXPECT_EQ(ErrorOf([&] { ClassDefinition(other, "Shop.Order", "OpenObjectById"); }), kLocked);
    EXPECT_EQ(ErrorOf([&] { CallByName(loaded, "sys_Save"); }), kLocked);
    EXPECT_EQ(ErrorOf([&] { CallByName(loaded, "sys_Delete", {"Shop.Order"}); }), kLocked);
}

// How the first session comes to hold Shop.Order, and how it lets go, as an export does it.
TEST(ClassLock, HoldsAClassForOneSessionUntilItSavesOrClosesIt) {
    struct Case {
        const char* name;
        std::function<ObjectRef(const ObjectRef&)> take;  // gives the editing object, if any
        std::function<void(const ObjectRef&, const ObjectRef&)> release;
    };
    const Case cases[] = {
        {"opened, then closed",
         [](const ObjectRef& f) { return ClassDefinition(f, "Shop.Order", "OpenObjectById"); },
         [](const ObjectRef&, const ObjectRef& def) { CallByName(def, "sys_Close"); }},
        {"opened, then released",
         [](const ObjectRef& f) { return ClassDefinition(f, "Shop.Order", "OpenObjectById"); },
         [](const ObjectRef&, const ObjectRef&) {}},
        {"deleted, then written anew and saved",
         [](const ObjectRef& f) {
             DeleteOrder(f);
             return ObjectRef();
         },
         [](const ObjectRef& f, const ObjectRef&) { SaveOrder(f, "Mine"); }},
        {"stored from XML, then opened and saved",
         [](const ObjectRef& f) {
             SaveOrderXml(f);
             return ObjectRef();
         },
         [](const ObjectRef& f, const ObjectRef&) {
             ObjectRef def = ClassDefinition(f, "Shop.Order", "OpenObjectById");
             CallByName(def, "sys_Save");
             CallByName(def, "sys_Close");
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DataDir dir;
        ObjectRef first = Connect(dir);
        ObjectRef other = ConnectOther(dir);
        SaveOrder(first, "Total");
        ObjectRef held = c.take(first);
        ExpectEveryWriteRefused(other);
        c.release(first, held);
        held = nullptr;
        ObjectRef def = ClassDefinition(other, "Shop.Order", "OpenObjectById");
        EXPECT_EQ(ErrorOf([&] { ClassDefinition(first, "Shop.Order", "OpenObjectById"); }),
                  "class Shop.Order is locked by user other");
        CallByName(def, "sys_Save");
    }
}

// Two exports of Shop.Order at once: the second finds the class deleted by the first and
// wants to create it, and is refused; the first's version is the one stored, whole.
TEST(ClassLock, TwoExportsOfOneClassDoNotMix) {
    DataDir dir;
    ObjectRef first = Connect(dir);
    ObjectRef other = ConnectOther(dir);
    SaveOrder(first, "Old");
    DeleteOrder(first);
    EXPECT_EQ(ErrorOf([&] { ClassDefinition(other, "Shop.Order"); }),
              "class definition Shop.Order does not exist");
    EXPECT_EQ(ErrorOf([&] { SaveOrder(other, "Theirs"); }), kLocked);
    SaveOrder(first, "Mine");
    ObjectRef properties = GetByName(ClassDefinition(other, "Shop.Order"), "Properties").ToObject();
    ASSERT_EQ(GetByName(properties, "Count").ToInt32(), 1);
    EXPECT_EQ(GetByName(CallByName(properties, "GetAt", {1}).ToObject(), "Name").ToString(),
              "Mine");

    // A session that ends (its connection gone) leaves nothing locked, even a deleted class.
    DeleteOrder(first);
    first = nullptr;
    SaveOrder(other, "Theirs");
}

}  // namespace
