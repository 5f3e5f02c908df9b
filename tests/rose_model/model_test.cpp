// Behaviour of the model behind the operations: look-ups, references that resolve by name,
// tool properties with their defaults, identity and collections.
#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "sample_model.h"

namespace {

using automation::AutomationError;
using automation::Call;
using automation::Get;
using automation::ObjectRef;
using automation::Variant;

TEST(ClassesByPath, TakesPathsBelowTheTopCategory) {
    Sample s = MakeSample();
    struct Case {
        const char* path;
        std::int16_t classes;
        std::int16_t categories;
    };
    const Case cases[] = {
        {"Logical View::Shop::Address", 1, 0},
        {"Shop::Address", 1, 0},
        {"Logical View::Person", 1, 0},
        {"Person", 1, 0},
        {"Address", 0, 0},
        {"Tavro System Classes", 0, 1},
        {"Logical View::Tavro System Classes", 0, 1},
        {"Shop::Order", 0, 1},
        {"Order", 0, 0},
        {"Logical View", 0, 1},
        {"logical view::person", 0, 0},
    };
    ObjectRef model = ModelOf(s);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path);
        EXPECT_EQ(CountOf(Call(model, 12474, {c.path}).ToObject()), c.classes);
        EXPECT_EQ(CountOf(Call(model, 12476, {c.path}).ToObject()), c.categories);
    }
}

// Associations and superclass links keep the name of a class that does not exist yet; an
// association end finds the class by that name once it exists.
TEST(CreateAssociation, KeepsTheNameOfAClassThatDoesNotExistYet) {
    Sample s = MakeSample();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef association = Call(person, 429, {"", "Logical View::Billing::Invoice"}).ToObject();
    ObjectRef far = Call(association, 417, {person}).ToObject();
    ObjectRef near = Call(association, 416, {person}).ToObject();
    EXPECT_EQ(Get(far, 412).ToString(), "Logical View::Billing::Invoice");
    EXPECT_EQ(Get(far, 621).ToObject(), nullptr);
    EXPECT_EQ(Get(near, 412).ToString(), "Logical View::Person");
    ObjectRef link = Call(person, 437, {"", "Logical View::Billing::Invoice"}).ToObject();
    EXPECT_EQ(Get(link, 12601).ToObject(), nullptr);
    EXPECT_EQ(Get(link, 412).ToString(), "Logical View::Billing::Invoice");

    ObjectRef billing = Call(Get(ModelOf(s), 417).ToObject(), 423, {"Billing"}).ToObject();
    ObjectRef invoice = Call(billing, 421, {"Invoice"}).ToObject();
    EXPECT_EQ(Get(far, 621).ToObject(), invoice);
    EXPECT_EQ(CountOf(Get(invoice, 425).ToObject()), 1);
}

TEST(RoleOf, TellsTheEndsOfAnAssociationOfAClassWithItself) {
    Sample s = MakeSample();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef association = Call(person, 429, {"", "Logical View::Person"}).ToObject();
    ObjectRef near = Call(association, 416, {person}).ToObject();
    ObjectRef far = Call(association, 417, {person}).ToObject();
    EXPECT_NE(near, far);
    EXPECT_EQ(Get(near, 412), Get(far, 412));
    EXPECT_EQ(Call(association, 416, {person}).ToObject(), near);
}

TEST(GetTypeClass, ResolvesByQualifiedNameOrUniqueClassName) {
    Sample s = MakeSample();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef shop = CategoryAtPath(s, "Logical View::Shop");
    struct Case {
        const char* type;
        const char* expected;  // qualified name of the class, "" for none
    };
    const Case cases[] = {
        {"Logical View::Shop::Address", "Logical View::Shop::Address"},
        {"Shop::Address", "Logical View::Shop::Address"},
        {"Address", "Logical View::Shop::Address"},
        {"%Library.String", "Logical View::Tavro System Classes::%Library.String"},
        {"Shop.Address", ""},
        {"%Integer", ""},
        {"", ""},
        {"Twin", ""},  // two classes bear this name
    };
    Call(shop, 421, {"Twin"});
    Call(CategoryAtPath(s, "Logical View::Shop::Order"), 421, {"Twin"});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.type);
        ObjectRef attribute = Call(person, 428, {"a", c.type, ""}).ToObject();
        ObjectRef type = automation::CallByName(attribute, "GetTypeClass").ToObject();
        if (*c.expected == '\0') {
            EXPECT_EQ(type, nullptr);
            continue;
        }
        ASSERT_NE(type, nullptr);
        EXPECT_EQ(Get(type, 12555).ToString(), c.expected);
    }
}

TEST(GetToolProperty, OwnValueElseDeclaredDefaultElseEmpty) {
    Sample s = MakeSample();
    s.model->propertySets.push_back(
        {"Tavro", "default__Class", {{"Final", "False"}, {"CompileAfter", ""}}});
    s.model->propertySets.push_back({"Tavro", "default__Attribute", {{"Required", "False"}}});
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef attribute = Item(Get(person, 416).ToObject(), 1);
    Call(person, 110, {"TavroHidden", "XmlDefined", "1"});
    Call(person, 110, {"Tavro", "CompileAfter", "Base"});

    struct Case {
        const char* name;
        ObjectRef element;
        const char* tool;
        const char* property;
        const char* value;
        bool own;
    };
    const Case cases[] = {
        {"declared, not set", person, "Tavro", "Final", "False", false},
        {"declared, set", person, "Tavro", "CompileAfter", "Base", true},
        {"undeclared tool, set", person, "TavroHidden", "XmlDefined", "1", true},
        {"undeclared, not set", person, "TavroHidden", "TavroClassXml", "", false},
        {"default of another kind", person, "Tavro", "Required", "", false},
        {"attribute default", attribute, "Tavro", "Required", "False", false},
        {"tool names are their own", person, "tavro", "Final", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Call(c.element, 119, {c.tool, c.property}).ToString(), c.value);
        EXPECT_EQ(Call(c.element, 124, {c.tool, c.property}).ToBool(), c.own);
    }
}

TEST(ToolProperties, ListsDeclaredThenOwnProperties) {
    Sample s = MakeSample();
    s.model->propertySets.push_back(
        {"Parameter", "default__Attribute", {{"MAXLEN", "50"}, {"MINLEN", ""}}});
    ObjectRef attribute = Item(Get(ClassAtPath(s, "Logical View::Person"), 416).ToObject(), 1);
    Call(attribute, 110, {"Parameter", "PATTERN", "3N"});
    Call(attribute, 110, {"Parameter", "MAXLEN", "20"});
    ObjectRef properties = Call(attribute, 123, {"Parameter"}).ToObject();
    ASSERT_EQ(CountOf(properties), 3);
    EXPECT_EQ(Get(Item(properties, 1), 202).ToString(), "MAXLEN");
    EXPECT_EQ(Get(Item(properties, 2), 202).ToString(), "MINLEN");
    EXPECT_EQ(Get(Item(properties, 3), 202).ToString(), "PATTERN");
    EXPECT_EQ(Call(attribute, 119, {"Parameter", "MAXLEN"}).ToString(), "20");
}

TEST(ItemAt, IsOneBasedAndGivesTheSameObjectForTheSameElement) {
    Sample s = MakeSample();
    ObjectRef classes = Get(ModelOf(s), 432).ToObject();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    EXPECT_EQ(Item(classes, 1), person);
    EXPECT_EQ(Get(person, 207).ToObject(), person);
    EXPECT_EQ(Get(ModelOf(s), 417).ToObject(), Get(person, 415).ToObject());
    for (std::int16_t index : {std::int16_t{0}, std::int16_t{5}, std::int16_t{-1}}) {
        SCOPED_TRACE(index);
        EXPECT_THROW(Item(classes, index), AutomationError);
    }
}

// Collections find members by element and by name, and are snapshots of their fetch.
TEST(Collections, FindMembersAndKeepWhatTheyWereFetchedWith) {
    Sample s = MakeSample();
    ObjectRef classes = Get(ModelOf(s), 432).ToObject();
    EXPECT_EQ(Call(classes, 205, {"Address"}).ToInt16(), 2);
    EXPECT_EQ(Call(classes, 205, {"%Library.String"}).ToInt16(), 4);
    EXPECT_EQ(Call(classes, 205, {"address"}).ToInt16(), 0);

    ObjectRef selected = Get(Get(ModelOf(s), 12527).ToObject(), 12525).ToObject();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef address = ClassAtPath(s, "Logical View::Shop::Address");
    EXPECT_TRUE(Call(selected, 204, {Get(person, 207).ToObject()}).ToBool());
    EXPECT_FALSE(Call(selected, 204, {Get(address, 207).ToObject()}).ToBool());

    ObjectRef attributes = Get(person, 416).ToObject();
    Call(person, 435, {Item(attributes, 1)});
    EXPECT_EQ(CountOf(attributes), 1);
    EXPECT_EQ(CountOf(Get(person, 416).ToObject()), 0);
}

TEST(DeleteMembers, RemoveFromTheirClass) {
    Sample s = MakeSample();
    ObjectRef person = ClassAtPath(s, "Logical View::Person");
    ObjectRef address = ClassAtPath(s, "Logical View::Shop::Address");
    Call(person, 434, {Item(Get(person, 417).ToObject(), 1)});
    Call(person, 433, {Item(Get(person, 425).ToObject(), 1)});
    EXPECT_EQ(CountOf(Get(person, 417).ToObject()), 0);
    EXPECT_EQ(CountOf(Get(person, 425).ToObject()), 0);
    EXPECT_EQ(CountOf(Get(address, 425).ToObject()), 0);
    // An element of the wrong kind is refused.
    EXPECT_THROW(Call(person, 435, {address}), AutomationError);
}

TEST(NewQuid, GivesTwelveUpperCaseHexDigitsNeverRepeated) {
    auto model = rosehost::NewModel("m");
    std::set<std::string> seen;
    for (int i = 0; i < 200; ++i) {
        auto cls = rosehost::CreateClass(*model, model->top, "C" + std::to_string(i));
        EXPECT_TRUE(std::regex_match(cls->quid, std::regex("[0-9A-F]{12}"))) << cls->quid;
        EXPECT_TRUE(seen.insert(cls->quid).second) << cls->quid;
    }
    ObjectRef app = rosehost::ApplicationObject(rosehost::NewHost(model));
    ObjectRef found = Call(Get(app, 209).ToObject(), 12475, {*seen.begin()}).ToObject();
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(Get(found, 102).ToString(), *seen.begin());
}

TEST(CreateParameter, InsertsAtItsPosition) {
    Sample s = MakeSample();
    ObjectRef greet = Item(Get(ClassAtPath(s, "Logical View::Person"), 417).ToObject(), 1);
    Call(greet, 416, {"first", "%String", "", std::int16_t{1}});
    Call(greet, 416, {"last", "%String", "", std::int16_t{3}});
    ObjectRef parameters = Get(greet, 413).ToObject();
    ASSERT_EQ(CountOf(parameters), 3);
    EXPECT_EQ(Get(Item(parameters, 1), 100).ToString(), "first");
    EXPECT_EQ(Get(Item(parameters, 2), 100).ToString(), "salutation");
    EXPECT_EQ(Get(Item(parameters, 3), 100).ToString(), "last");
}

TEST(InitialDiagram, IsMainElseTheFirstClassDiagram) {
    auto model = rosehost::NewModel("m");
    EXPECT_EQ(rosehost::InitialDiagram(*model), nullptr);
    auto first = rosehost::CreateClassDiagram(*model, *model->top, "Overview");
    EXPECT_EQ(rosehost::InitialDiagram(*model), first);
    auto main = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    EXPECT_EQ(rosehost::InitialDiagram(*model), main);
}

std::vector<std::string> FarRoleNames(const rosehost::Model& model, const rosehost::Class& cls) {
    std::vector<std::string> names;
    for (const auto& association : rosehost::AssociationsOf(model, cls)) {
        names.push_back(rosehost::OtherRoleOf(model, *association, cls)->name);
    }
    return names;
}

// A class whose associations are kept by two categories, as a loaded model file has them: the
// look-up gives all of them, category by category, however the model was put together.
TEST(AssociationsOf, FindsAssociationsKeptByEveryCategory) {
    using rosehost::Model;
    for (bool loadedDirectly : {false, true}) {
        SCOPED_TRACE(loadedDirectly ? "added to the categories directly" : "created");
        std::shared_ptr<Model> model = rosehost::NewModel("shop");
        auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
        auto orders = rosehost::CreateCategory(*model, shop, "Order");
        auto customer = rosehost::CreateClass(*model, shop, "Customer");
        auto order = rosehost::CreateClass(*model, orders, "Order");
        auto line = rosehost::CreateClass(*model, orders, "Line");
        // Look once, so that the tables exist before the associations come.
        EXPECT_TRUE(rosehost::AssociationsOf(*model, *order).empty());
        auto places = rosehost::CreateAssociation(*model, *customer, "places",
                                                  "Logical View::Shop::Order::Order");
        auto contains = rosehost::CreateAssociation(*model, *order, "contains",
                                                    "Logical View::Shop::Order::Line");
        places->roles[1]->name = "orders";
        contains->roles[1]->name = "lines";
        if (loadedDirectly) {
            // The way the file loader builds a model: straight into the categories.
            shop->associations.clear();
            orders->associations.clear();
            std::shared_ptr<Model> loaded = rosehost::NewModel("shop");
            loaded->top = model->top;
            shop->associations.push_back(places);
            orders->associations.push_back(contains);
            model = loaded;
        }
        EXPECT_EQ(FarRoleNames(*model, *order), (std::vector<std::string>{"", "lines"}));
        EXPECT_EQ(FarRoleNames(*model, *line), (std::vector<std::string>{""}));
        EXPECT_EQ(FarRoleNames(*model, *customer), (std::vector<std::string>{"orders"}));
    }
}

}  // namespace
