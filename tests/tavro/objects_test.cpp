#include "hosts/tavro/objects/objects.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/tavro/tavro_test_util.h"

namespace {

using automation::CallByName;
using automation::GetByName;
using automation::ObjectRef;
using automation::PutByName;
using automation::Variant;
using tavro_test::ClassDefinition;
using tavro_test::Connect;
using tavro_test::DataDir;
using tavro_test::ErrorOf;
using tavro_test::NewObject;

const char* kClassDef = "%Dictionary.ClassDefinition";
const char* kPropertyDef = "%Dictionary.PropertyDefinition";
const char* kMethodDef = "%Dictionary.MethodDefinition";
const char* kDenied = "access denied: user viewer lacks the 'Development' permission";

ObjectRef GetAt(const ObjectRef& collection, std::int32_t index) {
    return CallByName(collection, "GetAt", {index}).ToObject();
}

// The add-in's way of writing a class: a new definition, one property, one method, saved.
void SaveOrder(const ObjectRef& factory) {
    ObjectRef def = NewObject(factory, kClassDef, "Shop.Order");
    PutByName(def, "Description", "Orders");
    PutByName(def, "super", "%Persistent");
    ObjectRef prop = NewObject(factory, kPropertyDef, "Shop.Order:Total");
    PutByName(prop, "Type", "%Integer");
    CallByName(GetByName(def, "Properties").ToObject(), "Insert", {prop});
    ObjectRef method = NewObject(factory, kMethodDef, "Shop.Order:Recalc");
    PutByName(method, "FormalSpec", "qty:%Integer");
    CallByName(GetByName(def, "Methods").ToObject(), "Insert", {method});
    CallByName(def, "sys_Save");
    CallByName(def, "sys_Close");
}

TEST(NewObject, MemberIdNamesTheClassAndTheMember) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    struct Case {
        const char* className;
        const char* id;
        const char* name;
        const char* parent;
    };
    const Case cases[] = {
        {kPropertyDef, "Shop.Order:Total", "Total", "Shop.Order"},
        {kMethodDef, "Shop.Order:Recalc", "Recalc", "Shop.Order"},
        {"%dictionary.propertydefinition", "A.B:c", "c", "A.B"},
        {kPropertyDef, "Total", "Total", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        ObjectRef member = NewObject(factory, c.className, c.id);
        EXPECT_EQ(GetByName(member, "name").ToString(), c.name);
        EXPECT_EQ(GetByName(member, "Name").ToString(), c.name);
        EXPECT_EQ(GetByName(member, "parent").ToString(), c.parent);
    }
    EXPECT_EQ(ErrorOf([&] { NewObject(factory, "Shop.Nothing"); }),
              "class Shop.Nothing does not exist");
}

TEST(LoadObjectById, ReadsBackWhatTheAddInWroteAndRaisesForNoClass) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveOrder(factory);
    for (const char* operation : {"LoadObjectById", "OpenObjectById"}) {
        SCOPED_TRACE(operation);
        EXPECT_EQ(ErrorOf([&] { ClassDefinition(factory, "Shop.Nothing", operation); }),
                  "class definition Shop.Nothing does not exist");
        ObjectRef def = ClassDefinition(factory, "shop.order", operation);
        EXPECT_EQ(GetByName(def, "name").ToString(), "Shop.Order");
        EXPECT_EQ(GetByName(def, "sys_OID").ToString(), "Shop.Order");
    }
    ObjectRef def = ClassDefinition(factory, "Shop.Order");
    EXPECT_EQ(GetByName(def, "Description").ToString(), "Orders");
    EXPECT_EQ(GetByName(def, "SUPER").ToString(), "%Persistent");
    EXPECT_EQ(GetByName(def, "Abstract"), Variant(false));
    ObjectRef properties = GetByName(def, "Properties").ToObject();
    ASSERT_EQ(GetByName(properties, "Count").ToInt32(), 1);
    EXPECT_EQ(GetByName(GetAt(properties, 1), "Type").ToString(), "%Integer");
    ObjectRef methods = GetByName(def, "Methods").ToObject();
    ASSERT_EQ(GetByName(methods, "Count").ToInt32(), 1);
    EXPECT_EQ(GetByName(GetAt(methods, 1), "FormalSpec").ToString(), "qty:%Integer");
}

TEST(Insert, KeepsOneMemberPerName) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    ObjectRef properties =
        GetByName(NewObject(factory, kClassDef, "Shop.Order"), "Properties").ToObject();
    ObjectRef first = NewObject(factory, kPropertyDef, "Shop.Order:Total");
    ObjectRef second = NewObject(factory, kPropertyDef, "Shop.Order:Total");
    CallByName(properties, "Insert", {first});
    CallByName(properties, "Insert", {first});
    EXPECT_EQ(GetByName(properties, "Count").ToInt32(), 1);
    CallByName(properties, "Insert", {second});
    EXPECT_EQ(GetByName(properties, "Count").ToInt32(), 1);
    EXPECT_EQ(GetAt(properties, 1), second);
    ObjectRef method = NewObject(factory, kMethodDef, "Shop.Order:M");
    EXPECT_EQ(ErrorOf([&] { CallByName(properties, "Insert", {method}); }),
              "Insert expects a property definition");
}

// A member the dictionary would not store is refused where it is made, named or inserted, so
// that it fails alone and the class still saves.
TEST(NewObject, RefusesANameTheDictionaryWouldNotStore) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    const std::string tooLong = "Shop." + std::string(99995, 'A');
    struct Case {
        const char* className;
        std::string id;
        const char* message;
    };
    const Case cases[] = {
        {kPropertyDef, "Shop.Order:bad_name",
         "bad property name 'bad_name': a letter or '%', then letters and digits"},
        {kPropertyDef, "Shop.Order:", "a property definition needs a name"},
        {kMethodDef, "Shop.Order:", "a method definition needs a name"},
        {kMethodDef, "Shop.Order:2nd",
         "bad method name '2nd': a letter or '%', then letters "
         "and digits"},
        {kClassDef, "Solo", "class name 'Solo' has no package"},
        {kClassDef, tooLong, "class name of 100000 characters is longer than the limit of 255"},
        {kClassDef, "Shop..Order", "bad class name 'Shop..Order'"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id.substr(0, 20));
        EXPECT_EQ(ErrorOf([&] { NewObject(factory, c.className, c.id.c_str()); }), c.message);
    }
    ObjectRef unnamed = NewObject(factory, kPropertyDef);
    EXPECT_EQ(ErrorOf([&] { PutByName(unnamed, "Name", "bad_name"); }),
              "bad property name 'bad_name': a letter or '%', then letters and digits");
    ObjectRef def = NewObject(factory, kClassDef, "Shop.Order");
    EXPECT_EQ(ErrorOf([&] { PutByName(def, "Name", "Solo"); }), "class name 'Solo' has no package");
    ObjectRef properties = GetByName(def, "Properties").ToObject();
    EXPECT_EQ(ErrorOf([&] { CallByName(properties, "Insert", {unnamed}); }),
              "a property definition needs a name");
    ObjectRef parameters = GetByName(unnamed, "Parameters").ToObject();
    EXPECT_EQ(ErrorOf([&] {
                  CallByName(parameters, "SetAt", {"50", ""});
              }),
              "a type parameter needs a name");
}

// Member names are one name in any letter case: a second member whose name differs only in
// case is refused, where a member of the stored definition gives way to it (a rename).
TEST(Insert, RefusesASecondMemberWhoseNameDiffersOnlyInCase) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveOrder(factory);  // stores the property Total
    ObjectRef def = ClassDefinition(factory, "Shop.Order", "OpenObjectById");
    ObjectRef properties = GetByName(def, "Properties").ToObject();
    ObjectRef renamed = NewObject(factory, kPropertyDef, "Shop.Order:TOTAL");
    CallByName(properties, "Insert", {renamed});
    ObjectRef first = NewObject(factory, kPropertyDef, "Shop.Order:Count");
    CallByName(properties, "Insert", {first});
    ObjectRef second = NewObject(factory, kPropertyDef, "Shop.Order:count");
    EXPECT_EQ(ErrorOf([&] { CallByName(properties, "Insert", {second}); }),
              "property count clashes with property Count of Shop.Order: member names are "
              "compared without regard to letter case");
    ObjectRef total = NewObject(factory, kPropertyDef, "Shop.Order:Total");
    EXPECT_NE(ErrorOf([&] { CallByName(properties, "Insert", {total}); }), "<no error>");
    ASSERT_EQ(GetByName(properties, "Count").ToInt32(), 2);
    EXPECT_EQ(GetAt(properties, 1), renamed);
    EXPECT_EQ(GetAt(properties, 2), first);
    CallByName(def, "sys_Save");
}

TEST(Parameters, NextWalksTheKeysInOrder) {
    DataDir dir;
    ObjectRef parameters =
        GetByName(NewObject(Connect(dir), kPropertyDef, "A.B:Name"), "Parameters").ToObject();
    CallByName(parameters, "SetAt", {"50", "MAXLEN"});
    CallByName(parameters, "SetAt", {",a,b", "VALUELIST"});
    CallByName(parameters, "SetAt", {",A,B", "DISPLAYLIST"});
    CallByName(parameters, "SetAt", {"1", "MINLEN"});
    std::vector<std::string> keys;
    for (std::string key = CallByName(parameters, "Next", {""}).ToString(); !key.empty();
         key = CallByName(parameters, "Next", {key}).ToString()) {
        keys.push_back(key + "=" + CallByName(parameters, "GetAt", {key}).ToString());
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"DISPLAYLIST=,A,B", "MAXLEN=50", "MINLEN=1",
                                              "VALUELIST=,a,b"}));
    CallByName(parameters, "Clear");
    EXPECT_EQ(CallByName(parameters, "Next", {""}).ToString(), "");
}

TEST(Required, AcceptsAnIntegerOrABoolean) {
    DataDir dir;
    ObjectRef prop = NewObject(Connect(dir), kPropertyDef, "A.B:Lines");
    struct Case {
        const char* name;
        Variant value;
        bool expected;
    };
    const Case cases[] = {
        {"integer 1", std::int32_t{1}, true}, {"integer 0", std::int32_t{0}, false},
        {"16-bit 1", std::int16_t{1}, true},  {"Boolean true", true, true},
        {"Boolean false", false, false},      {"text True", "True", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PutByName(prop, "Required", c.value);
        EXPECT_EQ(GetByName(prop, "Required"), Variant(c.expected));
    }
    EXPECT_EQ(ErrorOf([&] { PutByName(prop, "Required", "yes"); }), "Type mismatch");
}

// The columns of one row of "Summary", by column name.
std::map<std::string, std::string> SummaryRowOf(const ObjectRef& factory,
                                                const std::string& className) {
    ObjectRef query = CallByName(factory, "OpenQuery", {kClassDef, "Summary"}).ToObject();
    std::int32_t columns = GetByName(query, "ColumnCount").ToInt32();
    CallByName(query, "Execute");
    std::map<std::string, std::string> row;
    while (CallByName(query, "Next").ToBool()) {
        std::map<std::string, std::string> values;
        for (std::int32_t i = 1; i <= columns; ++i) {
            values[CallByName(query, "ColumnName", {i}).ToString()] =
                CallByName(query, "ColumnValue", {i}).ToString();
        }
        if (values["Name"] == className) row = values;
    }
    CallByName(query, "Close");
    return row;
}

TEST(OpenQuery, SummaryClassifiesUserAndServerClasses) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveOrder(factory);
    ObjectRef special = NewObject(factory, kClassDef, "Shop.Special");
    PutByName(special, "super", "Order");  // persistent through Shop.Order
    CallByName(special, "sys_Save");
    ObjectRef address = NewObject(factory, kClassDef, "Shop.Address");
    PutByName(address, "ClassType", "serial");
    CallByName(address, "sys_Save");

    struct Case {
        const char* name;
        const char* datatype;
        const char* persistent;
        const char* serial;
        const char* system;
    };
    const Case cases[] = {
        {"Shop.Order", "0", "1", "0", "0"},
        {"Shop.Special", "0", "1", "0", "0"},
        {"Shop.Address", "0", "0", "1", "0"},
        {"%Library.String", "1", "0", "0", "1"},
        {"%Library.Integer", "1", "0", "0", "1"},
        {"%Library.Persistent", "0", "1", "0", "1"},
        {"%Library.SerialObject", "0", "0", "1", "1"},
        {"%Library.RegisteredObject", "0", "0", "0", "1"},
        {"%Dictionary.CorvansilUtility", "0", "0", "0", "1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::map<std::string, std::string> row = SummaryRowOf(factory, c.name);
        ASSERT_FALSE(row.empty());
        for (const char* column :
             {"Name", "System", "Persistent", "Super", "Hidden", "Datatype", "Serial"}) {
            EXPECT_EQ(row.count(column), 1u) << column;
        }
        EXPECT_EQ(row["Datatype"], c.datatype);
        EXPECT_EQ(row["Persistent"], c.persistent);
        EXPECT_EQ(row["Serial"], c.serial);
        EXPECT_EQ(row["System"], c.system);
    }
    EXPECT_EQ(ErrorOf([&] {
                  CallByName(factory, "OpenQuery", {kClassDef, "All"});
              }),
              "query %Dictionary.ClassDefinition:All does not exist");
}

// Saves and deletes a user without "Development" makes, and changes to server classes.
TEST(SysSave, IsRefusedByTheServerWhereTheUserOrClassForbidsIt) {
    DataDir dir;
    ObjectRef developer = Connect(dir);
    SaveOrder(developer);
    ObjectRef server = ClassDefinition(developer, "%Library.String");
    EXPECT_EQ(GetByName(server, "ClassType").ToString(), "datatype");
    EXPECT_EQ(ErrorOf([&] { CallByName(server, "sys_Save"); }),
              "class %Library.String belongs to the server and cannot be changed");

    ObjectRef factory = Connect(dir, tavro_test::kViewer, tavro_test::kViewerPassword);
    ObjectRef fresh = NewObject(factory, kClassDef, "Shop.Line");
    EXPECT_EQ(ErrorOf([&] { CallByName(fresh, "sys_Save"); }), kDenied);
    ObjectRef order = ClassDefinition(factory, "Shop.Order", "OpenObjectById");
    PutByName(order, "Description", "changed");
    EXPECT_EQ(ErrorOf([&] { CallByName(order, "sys_Save"); }), kDenied);
    EXPECT_EQ(ErrorOf([&] { CallByName(order, "sys_Delete", {GetByName(order, "sys_OID")}); }),
              kDenied);
    EXPECT_EQ(GetByName(ClassDefinition(factory, "Shop.Order"), "Description").ToString(),
              "Orders");
    EXPECT_EQ(ErrorOf([&] { ClassDefinition(factory, "Shop.Line"); }),
              "class definition Shop.Line does not exist");
}

TEST(SysDelete, DeletesTheClassWithTheGivenOid) {
    DataDir dir;
    ObjectRef factory = Connect(dir);
    SaveOrder(factory);
    ObjectRef def = ClassDefinition(factory, "Shop.Order");
    CallByName(def, "sys_Delete", {GetByName(def, "sys_OID")});
    CallByName(def, "sys_Close");
    EXPECT_EQ(ErrorOf([&] { ClassDefinition(factory, "Shop.Order"); }),
              "class definition Shop.Order does not exist");
}

TEST(HasSecurityPermission, AnswersForTheConnectedUser) {
    DataDir dir;
    struct Case {
        const char* user;
        const char* password;
        bool permitted;
    };
    const Case cases[] = {{tavro_test::kDeveloper, tavro_test::kDeveloperPassword, true},
                          {tavro_test::kViewer, tavro_test::kViewerPassword, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.user);
        ObjectRef utility = CallByName(Connect(dir, c.user, c.password), "ClassHandle",
                                       {"%Dictionary.CorvansilUtility"})
                                .ToObject();
        EXPECT_EQ(CallByName(utility, "SupportFeature", {"Security"}), Variant(true));
        EXPECT_EQ(CallByName(utility, "SupportFeature", {"Teleport"}), Variant(false));
        EXPECT_EQ(CallByName(utility, "HasSecurityPermission"), Variant(c.permitted));
    }
}

TEST(Login, FailsForAWrongPasswordOrNamespace) {
    DataDir dir;
    ObjectRef login = tavro::NewLoginObject(dir.path());
    struct Case {
        const char* ns;
        const char* user;
        const char* password;
        const char* message;
    };
    const Case cases[] = {
        {"USER", "dev", "wrong", "access denied: wrong user name or password"},
        {"USER", "nobody", "dev-secret", "access denied: wrong user name or password"},
        {"SHOP", "dev", "dev-secret", "access denied: no namespace SHOP"},
        {"%SYS", "dev", "dev-secret", "access denied: no namespace %SYS"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        EXPECT_EQ(ErrorOf([&] {
                      CallByName(login, "Login", {c.ns, c.user, c.password});
                  }),
                  c.message);
    }
    ObjectRef session = CallByName(login, "Login", {"user", "dev", "dev-secret"}).ToObject();
    EXPECT_EQ(GetByName(session, "UserName").ToString(), "dev");
}

}  // namespace
