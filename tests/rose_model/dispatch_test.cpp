// Every dispatch id of the modelling tool's operation tables, on the kind it belongs to.
#include <gtest/gtest.h>

#include <functional>

#include "sample_model.h"

namespace {

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;

using Target = std::function<ObjectRef(const Sample&)>;

const char* kPerson = "Logical View::Person";
const char* kAddress = "Logical View::Shop::Address";

ObjectRef App(const Sample& s) { return s.app; }
ObjectRef Mdl(const Sample& s) { return ModelOf(s); }
ObjectRef Top(const Sample& s) { return automation::Get(ModelOf(s), 417).ToObject(); }
ObjectRef Shop(const Sample& s) { return CategoryAtPath(s, "Logical View::Shop"); }
ObjectRef Person(const Sample& s) { return ClassAtPath(s, kPerson); }
ObjectRef Address(const Sample& s) { return ClassAtPath(s, kAddress); }
ObjectRef Line(const Sample& s) { return ClassAtPath(s, "Logical View::Shop::Order::Line"); }
ObjectRef NameAttribute(const Sample& s) {
    return Item(automation::Get(Person(s), 416).ToObject(), 1);
}
ObjectRef Greet(const Sample& s) { return Item(automation::Get(Person(s), 417).ToObject(), 1); }
ObjectRef Salutation(const Sample& s) { return Item(automation::Get(Greet(s), 413).ToObject(), 1); }
ObjectRef Link(const Sample& s) { return Item(automation::Get(Line(s), 423).ToObject(), 1); }
ObjectRef Assoc(const Sample& s) { return Item(automation::Get(Person(s), 425).ToObject(), 1); }
ObjectRef HomeRole(const Sample& s) {
    return automation::Call(Assoc(s), 417, {Person(s)}).ToObject();
}
ObjectRef Diagram(const Sample& s) { return automation::Get(ModelOf(s), 12527).ToObject(); }
ObjectRef PersonView(const Sample& s) {
    return automation::Call(Diagram(s), 427, {Person(s)}).ToObject();
}
ObjectRef NameVisibility(const Sample& s) {
    return automation::Get(NameAttribute(s), 415).ToObject();
}

struct Case {
    const char* name;
    Target target;
    std::int32_t dispid;
    CallKind kind;
    std::function<Args(const Sample&)> args;
    Variant expected;           // for results that are values
    const char* iid = nullptr;  // for results that are objects: the interface they offer
    std::int16_t count = -1;    // and, for collections, their count
};

Args None(const Sample&) { return {}; }
std::function<Args(const Sample&)> With(Args args) {
    return [args](const Sample&) { return args; };
}

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
    const char* kClassColl = "{97B38349-A4E3-11D0-BFF0-00AA003DEF5B}";
    const Case cases[] = {
        {"application ActiveModel",
         App,
         209,
         CallKind::Get,
         None,
         {},
         "{E38942A0-8621-11CF-B3D4-00A0241DB1D0}"},
        {"model Name", Mdl, 100, CallKind::Get, None, "shop"},
        {"model TopCategory",
         Mdl,
         417,
         CallKind::Get,
         None,
         {},
         "{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}"},
        {"model AllClasses", Mdl, 432, CallKind::Get, None, {}, kClassColl, 4},
        {"model AllCategories",
         Mdl,
         433,
         CallKind::Get,
         None,
         {},
         "{97B3835B-A4E3-11D0-BFF0-00AA003DEF5B}",
         4},
        {"model ClassesByPath", Mdl, 12474, CallKind::Method, With({kAddress}), {}, kClassColl, 1},
        {"model ClassesByPath none",
         Mdl,
         12474,
         CallKind::Method,
         With({"Logical View::Nobody"}),
         {},
         kClassColl,
         0},
        {"model ClassByUniqueKey",
         Mdl,
         12475,
         CallKind::Method,
         [](const Sample& s) { return Args{s.model->top->classes[0]->quid}; },
         {},
         "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"},
        {"model ClassByUniqueKey unknown", Mdl, 12475, CallKind::Method, With({"000000000000"}),
         ObjectRef()},
        {"model CategoriesByPath",
         Mdl,
         12476,
         CallKind::Method,
         With({"Logical View::Shop::Order"}),
         {},
         "{97B3835B-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"model CurrentDiagram",
         Mdl,
         12527,
         CallKind::Get,
         None,
         {},
         "{3FD9D000-93B0-11CF-B3D4-00A0241DB1D0}"},
        {"category Name", Shop, 100, CallKind::Get, None, "Shop"},
        {"category QualifiedName", Shop, 12555, CallKind::Get, None, "Logical View::Shop"},
        {"category ClassDiagrams",
         Top,
         416,
         CallKind::Get,
         None,
         {},
         "{97B38343-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"category OwnedClasses", Shop, 419, CallKind::Get, None, {}, kClassColl, 1},
        {"category CreateClass",
         Shop,
         421,
         CallKind::Method,
         With({"Invoice"}),
         {},
         "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"},
        {"category CreateCategory",
         Shop,
         423,
         CallKind::Method,
         With({"Billing"}),
         {},
         "{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}"},
        {"class Name", Person, 100, CallKind::Get, None, "Person"},
        {"class DocText", Person, 203, CallKind::Get, None, "A person"},
        {"class QualifiedName", Address, 12555, CallKind::Get, None, kAddress},
        {"class AsElement",
         Person,
         207,
         CallKind::Get,
         None,
         {},
         "{BC57D1C2-863E-11CF-B3D4-00A0241DB1D0}"},
        {"class IsAbstract", Person, 412, CallKind::Get, None, false},
        {"class IsPersistent", Person, 414, CallKind::Get, None, false},
        {"class OwningCategory",
         Address,
         415,
         CallKind::Get,
         None,
         {},
         "{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}"},
        {"class Attributes",
         Person,
         416,
         CallKind::Get,
         None,
         {},
         "{97B3834C-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"class Operations",
         Person,
         417,
         CallKind::Get,
         None,
         {},
         "{97B3834D-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"class SuperclassLinks",
         Line,
         423,
         CallKind::Get,
         None,
         {},
         "{97B38354-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"class Associations of the far class",
         Address,
         425,
         CallKind::Get,
         None,
         {},
         "{97B3834E-A4E3-11D0-BFF0-00AA003DEF5B}",
         1},
        {"class CreateOperation",
         Person,
         427,
         CallKind::Method,
         With({"Save", "%Status"}),
         {},
         "{C78E7020-86E4-11CF-B3D4-00A0241DB1D0}"},
        {"class CreateAttribute",
         Person,
         428,
         CallKind::Method,
         With({"age", "%Integer", ""}),
         {},
         "{C78E7024-86E4-11CF-B3D4-00A0241DB1D0}"},
        {"class CreateAssociation",
         Person,
         429,
         CallKind::Method,
         With({"", kAddress}),
         {},
         "{C78E7026-86E4-11CF-B3D4-00A0241DB1D0}"},
        {"class CreateSuperclassLink",
         Person,
         437,
         CallKind::Method,
         With({"", kAddress}),
         {},
         "{00C99560-9200-11CF-B1B0-D227D5210B2C}"},
        {"class GetToolProperty unset", Person, 119, CallKind::Method, With({"Tavro", "Final"}),
         ""},
        {"class SetToolProperty", Person, 110, CallKind::Method, With({"Tavro", "Final", "True"}),
         true},
        {"class ToolProperties",
         Person,
         123,
         CallKind::Method,
         With({"Tavro"}),
         {},
         "{97B3835D-A4E3-11D0-BFF0-00AA003DEF5B}",
         0},
        {"class HasOwnToolProperty", Person, 124, CallKind::Method, With({"Tavro", "Final"}),
         false},
        {"attribute Name", NameAttribute, 100, CallKind::Get, None, "name"},
        {"attribute DocText", NameAttribute, 203, CallKind::Get, None, ""},
        {"attribute TypeName", NameAttribute, 413, CallKind::Get, None, "%Library.String"},
        {"attribute ExportControl",
         NameAttribute,
         415,
         CallKind::Get,
         None,
         {},
         "{EB7AAB60-939C-11CF-B091-00A0241E3F73}"},
        {"export control Value", NameVisibility, 202, CallKind::Get, None, std::int16_t{2}},
        {"operation Name", Greet, 100, CallKind::Get, None, "Greet"},
        {"operation ReturnTypeName", Greet, 412, CallKind::Get, None, "%Library.String"},
        {"operation ExportControl",
         Greet,
         414,
         CallKind::Get,
         None,
         {},
         "{EB7AAB60-939C-11CF-B091-00A0241E3F73}"},
        {"parameter AsElement",
         Salutation,
         207,
         CallKind::Get,
         None,
         {},
         "{BC57D1C2-863E-11CF-B3D4-00A0241DB1D0}"},
        {"parameter Name through the element", Salutation, 100, CallKind::Get, None, "salutation"},
        {"parameter TypeName", Salutation, 413, CallKind::Get, None, "%Library.String"},
        {"parameter DefaultValue", Salutation, 414, CallKind::Get, None, "\"Hi\""},
        {"superclass link SuperclassOf",
         Link,
         12601,
         CallKind::Get,
         None,
         {},
         "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"},
        {"superclass link SuperclassNameText", Link, 412, CallKind::Get, None, kPerson},
        {"association DocText", Assoc, 203, CallKind::Get, None, ""},
        {"association Kind", Assoc, 212, CallKind::Get, None, ""},
        {"association RoleOf",
         Assoc,
         416,
         CallKind::Method,
         [](const Sample& s) { return Args{Person(s)}; },
         {},
         "{BA242E00-8961-11CF-B3D4-00A0241DB1D0}"},
        {"association OtherRoleOf",
         Assoc,
         417,
         CallKind::Method,
         [](const Sample& s) { return Args{Person(s)}; },
         {},
         "{BA242E00-8961-11CF-B3D4-00A0241DB1D0}"},
        {"role Name", HomeRole, 100, CallKind::Get, None, "home"},
        {"role RoleClassName", HomeRole, 412, CallKind::Get, None, kAddress},
        {"role IsAggregate", HomeRole, 614, CallKind::Get, None, false},
        {"role Multiplicity", HomeRole, 617, CallKind::Get, None, "0..1"},
        {"role ExportControl",
         HomeRole,
         618,
         CallKind::Get,
         None,
         {},
         "{EB7AAB60-939C-11CF-B091-00A0241E3F73}"},
        {"role RoleClass",
         HomeRole,
         621,
         CallKind::Get,
         None,
         {},
         "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"},
        {"diagram KindName", Diagram, 12668, CallKind::Get, None, "ClassDiagram"},
        {"diagram SelectedItems",
         Diagram,
         12525,
         CallKind::Get,
         None,
         {},
         "{0DD9ACF8-D06E-11D0-BC0B-00A024C67143}",
         1},
        {"class diagram ShownClasses", Diagram, 416, CallKind::Get, None, {}, kClassColl, 2},
        {"class diagram ClassViewOf",
         Diagram,
         427,
         CallKind::Method,
         [](const Sample& s) { return Args{Person(s)}; },
         {},
         "{5F735F36-F9EA-11CF-BBD3-00A024C67143}"},
        {"class diagram Redraw", Diagram, 205, CallKind::Method, None, Variant()},
        {"class view PlacementA", PersonView, 203, CallKind::Get, None, std::int16_t{100}},
        {"class view PlacementB", PersonView, 202, CallKind::Get, None, std::int16_t{200}},
    };
    for (const Case& c : cases) Check(c);
}

TEST(AutomationSurface, ParameterCollectionAnswersCountAndItems) {
    Sample s = MakeSample();
    ObjectRef parameters = automation::Get(Greet(s), 413).ToObject();
    EXPECT_EQ(CountOf(parameters), 1);
    EXPECT_EQ(automation::Get(Item(parameters, 1), 100).ToString(), "salutation");
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
        {"element DocText",
         [](const Sample& s) { return automation::Get(Person(s), 207).ToObject(); }, 203,
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
        EXPECT_EQ(automation::Get(target, c.dispid), c.value);
    }
}

TEST(AutomationSurface, ReadOnlyMembersRefusePuts) {
    Sample s = MakeSample();
    const struct {
        const char* name;
        ObjectRef target;
        std::int32_t dispid;
    } cases[] = {
        {"model Name", ModelOf(s), 100},
        {"class UniqueKey", Person(s), 102},
        {"attribute TypeName", NameAttribute(s), 413},
        {"role RoleClassName", HomeRole(s), 412},
        {"collection Count", automation::Get(ModelOf(s), 432).ToObject(), 202},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        try {
            automation::Put(c.target, c.dispid, "x");
            ADD_FAILURE() << "put was accepted";
        } catch (const AutomationError& e) {
            EXPECT_EQ(e.Description(), automation::kErrMemberNotFound);
        }
    }
}

// One id, three kinds, three meanings.
TEST(AutomationSurface, DispatchIdMeansWhatItsKindSays) {
    Sample s = MakeSample();
    ObjectRef classes = automation::Get(ModelOf(s), 432).ToObject();
    EXPECT_EQ(automation::Get(classes, 202), Variant(std::int16_t{4}));
    EXPECT_EQ(automation::Get(NameVisibility(s), 202), Variant(std::int16_t{2}));
    s.model->propertySets.push_back({"Tavro", "default__Class", {{"Final", "FALSE"}}});
    ObjectRef properties = automation::Call(Person(s), 123, {"Tavro"}).ToObject();
    EXPECT_EQ(automation::Get(Item(properties, 1), 202), Variant("Final"));
    // 203 is ItemAt on a collection but DocText on a class.
    EXPECT_EQ(automation::Get(Person(s), 203), Variant("A person"));
}

TEST(AutomationSurface, UnknownIdsAndNamesAreNotFound) {
    Sample s = MakeSample();
    const struct {
        const char* name;
        std::function<void()> call;
    } cases[] = {
        {"Count id on a class", [&] { automation::Get(Person(s), 999); }},
        {"class id on a category", [&] { automation::Get(Shop(s), 102); }},
        {"class name on an attribute",
         [&] { automation::CallByName(NameAttribute(s), "GetQualifiedName"); }},
        {"unknown collection name",
         [&] {
             automation::CallByName(automation::Get(ModelOf(s), 432).ToObject(), "Frobnicate");
         }},
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
    ObjectRef typeClass = automation::CallByName(NameAttribute(s), "GetTypeClass").ToObject();
    ASSERT_NE(typeClass, nullptr);
    EXPECT_EQ(automation::Get(typeClass, 12555).ToString(),
              "Logical View::Tavro System Classes::%Library.String");
    ObjectRef invoice = automation::Call(Shop(s), 421, {"Invoice"}).ToObject();
    automation::CallByName(Diagram(s), "AddClass", {invoice});
    EXPECT_EQ(CountOf(automation::Get(Diagram(s), 416).ToObject()), 3);
}

TEST(AutomationSurface, ObjectsOfferOnlyTheirOwnInterfaces) {
    Sample s = MakeSample();
    EXPECT_TRUE(Person(s)->Implements("{bc57d1c0-863e-11cf-b3d4-00a0241db1d0}"));
    EXPECT_TRUE(Person(s)->Implements("{BC57D1C2-863E-11CF-B3D4-00A0241DB1D0}"));
    EXPECT_FALSE(Person(s)->Implements("{D7BC1B45-8618-11CF-B3D4-00A0241DB1D0}"));
    EXPECT_FALSE(NameAttribute(s)->Implements("{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"));
    EXPECT_THROW(automation::Cast(Shop(s), "{BC57D1C0-863E-11CF-B3D4-00A0241DB1D0}"),
                 AutomationError);
}

}  // namespace
