// Every dispatch id of the modelling tool's operation tables, on the kind it belongs to.
#include <gtest/gtest.h>

#include <functional>

#include "sample_model.h"

namespace {

using automation::Args;
using automation::AutomationError;
using automation::Call;
using automation::CallKind;
using automation::Get;
using automation::ObjectRef;
using automation::Variant;

using Target = std::function<ObjectRef(const Sample&)>;

const char* kPerson = "Logical View::Person";
const char* kAddress = "Logical View::Shop::Address";

// The interface identifiers the modelling tool gives its object kinds.
const char* kIModel = "{E38942A0-8621-11CF-B3D4-00A0241DB1D0}";
const char* kICategory = "{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}";
const char* kIClass = "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}";
const char* kIElement = "{BC57D1C2-863E-11CF-B3D4-00A0241DB1D0}";
const char* kIOperation = "{C78E7020-86E4-11CF-B3D4-00A0241DB1D0}";
const char* kIAttribute = "{C78E7024-86E4-11CF-B3D4-00A0241DB1D0}";
const char* kIAssociation = "{C78E7026-86E4-11CF-B3D4-00A0241DB1D0}";
const char* kIRole = "{BA242E00-8961-11CF-B3D4-00A0241DB1D0}";
const char* kILink = "{00C99560-9200-11CF-B1B0-D227D5210B2C}";
const char* kIExport = "{EB7AAB60-939C-11CF-B091-00A0241E3F73}";
const char* kIDiagram = "{3FD9D000-93B0-11CF-B3D4-00A0241DB1D0}";
const char* kIClassView = "{5F735F36-F9EA-11CF-BBD3-00A024C67143}";
const char* kIClasses = "{97B38349-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIAttributes = "{97B3834C-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIOperations = "{97B3834D-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIAssociations = "{97B3834E-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kILinks = "{97B38354-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kICategories = "{97B3835B-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIDiagrams = "{97B38343-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIProperties = "{97B3835D-A4E3-11D0-BFF0-00AA003DEF5B}";
const char* kIElements = "{0DD9ACF8-D06E-11D0-BC0B-00A024C67143}";

ObjectRef App(const Sample& s) { return s.app; }
ObjectRef Mdl(const Sample& s) { return ModelOf(s); }
ObjectRef Top(const Sample& s) { return Get(ModelOf(s), 417).ToObject(); }
ObjectRef Shop(const Sample& s) { return CategoryAtPath(s, "Logical View::Shop"); }
ObjectRef Person(const Sample& s) { return ClassAtPath(s, kPerson); }
ObjectRef Address(const Sample& s) { return ClassAtPath(s, kAddress); }
ObjectRef Line(const Sample& s) { return ClassAtPath(s, "Logical View::Shop::Order::Line"); }
ObjectRef NameAttribute(const Sample& s) { return Item(Get(Person(s), 416).ToObject(), 1); }
ObjectRef Greet(const Sample& s) { return Item(Get(Person(s), 417).ToObject(), 1); }
ObjectRef Salutation(const Sample& s) { return Item(Get(Greet(s), 413).ToObject(), 1); }
ObjectRef Link(const Sample& s) { return Item(Get(Line(s), 423).ToObject(), 1); }
ObjectRef Assoc(const Sample& s) { return Item(Get(Person(s), 425).ToObject(), 1); }
ObjectRef HomeRole(const Sample& s) { return Call(Assoc(s), 417, {Person(s)}).ToObject(); }
ObjectRef Diagram(const Sample& s) { return Get(ModelOf(s), 12527).ToObject(); }
ObjectRef PersonView(const Sample& s) { return Call(Diagram(s), 427, {Person(s)}).ToObject(); }
ObjectRef NameVisibility(const Sample& s) { return Get(NameAttribute(s), 415).ToObject(); }

using ArgsOf = std::function<Args(const Sample&)>;
Args None(const Sample&) { return {}; }
ArgsOf With(Args args) {
    return [args](const Sample&) { return args; };
}
Args OfPerson(const Sample& s) { return {Person(s)}; }

constexpr CallKind kGet = CallKind::Get, kMethod = CallKind::Method;

struct Case {
    const char* name;
    Target target;
    std::int32_t dispid;
    CallKind kind;
    ArgsOf args;
    Variant expected;           // for results that are values
    const char* iid = nullptr;  // for results that are objects: the interface they offer
    std::int16_t count = -1;    // and, for collections, their count
};

void Check(const Case& c) {
    SCOPED_TRACE(c.name);
    Sample s = MakeSample();
    Variant result;
    ASSERT_NO_THROW(result = c.target(s)->Invoke(c.dispid, c.kind, c.args(s)));
    if (!c.iid) {
        EXPECT_EQ(result, c.expected);
        return;
    }
    ObjectRef object = result.ToObject();
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(object->Implements(c.iid));
    if (c.count >= 0) {
        EXPECT_EQ(CountOf(object), c.count);
    }
}

TEST(AutomationSurface, ReadsAnswerTheTableOfTheirKind) {
    // clang-format off
    const Case cases[] = {
        {"application ActiveModel", App, 209, kGet, None, {}, kIModel},
        {"model Name", Mdl, 100, kGet, None, "shop"},
        {"model TopCategory", Mdl, 417, kGet, None, {}, kICategory},
        {"model AllClasses", Mdl, 432, kGet, None, {}, kIClasses, 4},
        {"model AllCategories", Mdl, 433, kGet, None, {}, kICategories, 4},
        {"model ClassesByPath", Mdl, 12474, kMethod, With({kAddress}), {}, kIClasses, 1},
        {"model ClassesByPath none", Mdl, 12474, kMethod, With({"Logical View::Nobody"}), {},
         kIClasses, 0},
        {"model ClassByUniqueKey", Mdl, 12475, kMethod,
         [](const Sample& s) { return Args{s.model->top->classes[0]->quid}; }, {}, kIClass},
        {"model ClassByUniqueKey unknown", Mdl, 12475, kMethod, With({"000000000000"}),
         ObjectRef()},
        {"model CategoriesByPath", Mdl, 12476, kMethod, With({"Logical View::Shop::Order"}), {},
         kICategories, 1},
        {"model CurrentDiagram", Mdl, 12527, kGet, None, {}, kIDiagram},
        {"category Name", Shop, 100, kGet, None, "Shop"},
        {"category QualifiedName", Shop, 12555, kGet, None, "Logical View::Shop"},
        {"category ClassDiagrams", Top, 416, kGet, None, {}, kIDiagrams, 1},
        {"category OwnedClasses", Shop, 419, kGet, None, {}, kIClasses, 1},
        {"category CreateClass", Shop, 421, kMethod, With({"Invoice"}), {}, kIClass},
        {"category CreateCategory", Shop, 423, kMethod, With({"Billing"}), {}, kICategory},
        {"class Name", Person, 100, kGet, None, "Person"},
        {"class DocText", Person, 203, kGet, None, "A person"},
        {"class QualifiedName", Address, 12555, kGet, None, kAddress},
        {"class AsElement", Person, 207, kGet, None, {}, kIElement},
        {"class IsAbstract", Person, 412, kGet, None, false},
        {"class IsPersistent", Person, 414, kGet, None, false},
        {"class OwningCategory", Address, 415, kGet, None, {}, kICategory},
        {"class Attributes", Person, 416, kGet, None, {}, kIAttributes, 1},
        {"class Operations", Person, 417, kGet, None, {}, kIOperations, 1},
        {"class SuperclassLinks", Line, 423, kGet, None, {}, kILinks, 1},
        {"class Associations of the far class", Address, 425, kGet, None, {}, kIAssociations, 1},
        {"class CreateOperation", Person, 427, kMethod, With({"Save", "%Status"}), {}, kIOperation},
        {"class CreateAttribute", Person, 428, kMethod, With({"age", "%Integer", ""}), {},
         kIAttribute},
        {"class CreateAssociation", Person, 429, kMethod, With({"", kAddress}), {}, kIAssociation},
        {"class CreateSuperclassLink", Person, 437, kMethod, With({"", kAddress}), {}, kILink},
        {"class GetToolProperty unset", Person, 119, kMethod, With({"Tavro", "Final"}), ""},
        {"class SetToolProperty", Person, 110, kMethod, With({"Tavro", "Final", "True"}), true},
        {"class ToolProperties", Person, 123, kMethod, With({"Tavro"}), {}, kIProperties, 0},
        {"class HasOwnToolProperty", Person, 124, kMethod, With({"Tavro", "Final"}), false},
        {"attribute Name", NameAttribute, 100, kGet, None, "name"},
        {"attribute DocText", NameAttribute, 203, kGet, None, ""},
        {"attribute TypeName", NameAttribute, 413, kGet, None, "%Library.String"},
        {"attribute ExportControl", NameAttribute, 415, kGet, None, {}, kIExport},
        {"export control Value", NameVisibility, 202, kGet, None, std::int16_t{2}},
        {"operation Name", Greet, 100, kGet, None, "Greet"},
        {"operation ReturnTypeName", Greet, 412, kGet, None, "%Library.String"},
        {"operation ExportControl", Greet, 414, kGet, None, {}, kIExport},
        {"parameter AsElement", Salutation, 207, kGet, None, {}, kIElement},
        {"parameter Name through the element", Salutation, 100, kGet, None, "salutation"},
        {"parameter TypeName", Salutation, 413, kGet, None, "%Library.String"},
        {"parameter DefaultValue", Salutation, 414, kGet, None, "\"Hi\""},
        {"superclass link SuperclassOf", Link, 12601, kGet, None, {}, kIClass},
        {"superclass link SuperclassNameText", Link, 412, kGet, None, kPerson},
        {"association DocText", Assoc, 203, kGet, None, ""},
        {"association Kind", Assoc, 212, kGet, None, ""},
        {"association RoleOf", Assoc, 416, kMethod, OfPerson, {}, kIRole},
        {"association OtherRoleOf", Assoc, 417, kMethod, OfPerson, {}, kIRole},
        {"role Name", HomeRole, 100, kGet, None, "home"},
        {"role RoleClassName", HomeRole, 412, kGet, None, kAddress},
        {"role IsAggregate", HomeRole, 614, kGet, None, false},
        {"role Multiplicity", HomeRole, 617, kGet, None, "0..1"},
        {"role ExportControl", HomeRole, 618, kGet, None, {}, kIExport},
        {"role RoleClass", HomeRole, 621, kGet, None, {}, kIClass},
        {"diagram KindName", Diagram, 12668, kGet, None, "ClassDiagram"},
        {"diagram SelectedItems", Diagram, 12525, kGet, None, {}, kIElements, 1},
        {"class diagram ShownClasses", Diagram, 416, kGet, None, {}, kIClasses, 2},
        {"class diagram ClassViewOf", Diagram, 427, kMethod, OfPerson, {}, kIClassView},
        {"class diagram Redraw", Diagram, 205, kMethod, None, Variant()},
        {"class view PlacementA", PersonView, 203, kGet, None, std::int16_t{100}},
        {"class view PlacementB", PersonView, 202, kGet, None, std::int16_t{200}},
    };
    // clang-format on
    for (const Case& c : cases) Check(c);
}

// Puts on the members the tables mark get/set or set, read back through the same id.
TEST(AutomationSurface, PutsAreReadBack) {
    struct PutCase {
        const char* name;
        Target target;
        std::int32_t dispid;
        Variant value;
    };
    const PutCase cases[] = {
        {"class DocText", Person, 203, "doc"},
        {"class IsAbstract", Person, 412, true},
        {"class IsPersistent", Person, 414, true},
        {"element DocText", [](const Sample& s) { return Get(Person(s), 207).ToObject(); }, 203,
         "through element"},
        {"attribute DocText", NameAttribute, 203, "the name"},
        {"operation DocText", Greet, 203, "greets"},
        {"association DocText", Assoc, 203, "lives at"},
        {"association Kind", Assoc, 212, "dependent"},
        {"role Name", HomeRole, 100, "residence"},
        {"role IsAggregate", HomeRole, 614, true},
        {"role IsNavigable", HomeRole, 616, true},
        {"role Multiplicity", HomeRole, 617, "1..n"},
        {"export control Value", NameVisibility, 202, std::int16_t{0}},
        {"class view PlacementA", PersonView, 203, std::int16_t{-5}},
        {"class view PlacementB", PersonView, 202, std::int16_t{32000}},
    };
    for (const PutCase& c : cases) {
        SCOPED_TRACE(c.name);
        Sample s = MakeSample();
        ObjectRef target = c.target(s);
        automation::Put(target, c.dispid, c.value);
        EXPECT_EQ(Get(target, c.dispid), c.value);
    }
}

// Puts on read-only members, ids of another kind and unknown names.
TEST(AutomationSurface, WhatATableDoesNotOfferIsNotFound) {
    Sample s = MakeSample();
    ObjectRef classes = Get(ModelOf(s), 432).ToObject();
    const struct {
        const char* name;
        std::function<void()> call;
    } cases[] = {
        {"put model Name", [&] { automation::Put(ModelOf(s), 100, "x"); }},
        {"put class UniqueKey", [&] { automation::Put(Person(s), 102, "x"); }},
        {"put attribute TypeName", [&] { automation::Put(NameAttribute(s), 413, "x"); }},
        {"put role RoleClassName", [&] { automation::Put(HomeRole(s), 412, "x"); }},
        {"put collection Count", [&] { automation::Put(classes, 202, "x"); }},
        {"unknown id on a class", [&] { Get(Person(s), 999); }},
        {"class id on a category", [&] { Get(Shop(s), 102); }},
        {"class name on an attribute",
         [&] { automation::CallByName(NameAttribute(s), "GetQualifiedName"); }},
        {"unknown collection name", [&] { automation::CallByName(classes, "Frobnicate"); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            c.call();
            ADD_FAILURE() << "call was accepted";
        } catch (const AutomationError& e) {
            EXPECT_EQ(e.Description(), automation::kErrMemberNotFound);
        }
    }
}

TEST(AutomationSurface, MembersCalledByNameAnswer) {
    Sample s = MakeSample();
    EXPECT_EQ(automation::CallByName(Address(s), "GetQualifiedName").ToString(), kAddress);
    ObjectRef invoice = Call(Shop(s), 421, {"Invoice"}).ToObject();
    automation::CallByName(Diagram(s), "AddClass", {invoice});
    EXPECT_EQ(CountOf(Get(Diagram(s), 416).ToObject()), 3);
}

TEST(AutomationSurface, ObjectsOfferOnlyTheirOwnInterfaces) {
    Sample s = MakeSample();
    EXPECT_TRUE(Person(s)->Implements("{bc57d1c0-863e-11cf-b3d4-00a0241db1d0}"));
    EXPECT_TRUE(Person(s)->Implements(kIElement));
    EXPECT_FALSE(Person(s)->Implements(kICategory));
    EXPECT_FALSE(NameAttribute(s)->Implements(kIClass));
    EXPECT_THROW(automation::Cast(Shop(s), kIClass), AutomationError);
}

}  // namespace
