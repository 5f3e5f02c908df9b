#include <gtest/gtest.h>

#include "automation/local_object.h"
#include "import/import.h"
#include "model/rose.h"
#include "tests/import/import_harness.h"

namespace {

using import_test::Class;
using import_test::Harness;
using import_test::Method;
using import_test::Property;
using importing::ImportClass;
using importing::NextToken;
using Pairs = std::vector<std::pair<std::string, std::string>>;

std::vector<std::string> SuperclassPaths(const rosehost::Class& cls) {
    std::vector<std::string> paths;
    for (const auto& link : cls.superclassLinks) paths.push_back(link->className);
    return paths;
}

TEST(NextToken, SplitsAtTheFirstSeparatorKeepingBlanks) {
    struct Case {
        const char* text;
        const char* token;
        const char* rest;
    };
    const Case cases[] = {
        {"A,B", "A", "B"}, {"A", "A", ""},  {"", "", ""},     {"A, B", "A", " B"},
        {",x", "", "x"},   {"a,", "a", ""}, {" B", " B", ""}, {"p=1,q=2,r", "p=1", "q=2,r"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        std::string text = c.text;
        EXPECT_EQ(NextToken(text, ','), c.token);
        EXPECT_EQ(text, c.rest);
    }
}

TEST(ImportClass, NoDefinitionFailsAndLeavesTheModelAlone) {
    Harness h;
    EXPECT_EQ(ImportClass(nullptr), importing::Failed);
    EXPECT_EQ(rosehost::AllClasses(h.model()).size(), 0u);
    EXPECT_EQ(rosehost::AllCategories(h.model()).size(), 1u);
}

TEST(ImportClass, NewClassGoesIntoItsPackageCategoryAndIsRemembered) {
    Harness h;
    h.Save({Class("Shop.Order.Line", {{"Description", "One line"}})});
    EXPECT_EQ(ImportClass(h.Open("Shop.Order.Line")), importing::NewClass);
    auto line = h.ModelClass("Logical View::Shop::Order::Line");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->documentation, "One line");
    ASSERT_EQ(importing::NewRoseClasses.Count(), 1u);
    EXPECT_EQ(importing::NewRoseClasses.Items()[0].first, "Shop.Order.Line");
    EXPECT_EQ(rose::Name(importing::NewRoseClasses.Find("shop.order.line")), "Line");
}

TEST(SetClassProperties, SuperClassesAreQualifiedInTheClassPackage) {
    struct Case {
        const char* super;
        std::vector<std::string> paths;
    };
    const Case cases[] = {
        {"A,B", {"Logical View::Shop::A", "Logical View::Shop::B"}},
        {"%Persistent", {"Logical View::Tavro System Classes::%Library.Persistent"}},
        {"A, B", {"Logical View::Shop::A", "Logical View::Shop:: B"}},
        {"Other.Base", {"Logical View::Other::Base"}},
        {"", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.super);
        Harness h;
        h.Save({Class("Shop.Order", {{"super", c.super}})});
        ASSERT_EQ(ImportClass(h.Open("Shop.Order")), importing::NewClass);
        EXPECT_EQ(SuperclassPaths(*h.ModelClass("Logical View::Shop::Order")), c.paths);
    }
}

TEST(SetClassProperties, PersistentOnlyForTheExactLowerCaseClassType) {
    struct Case {
        const char* classType;
        bool persistent;
    };
    const Case cases[] = {
        {"persistent", true}, {"Persistent", false}, {"serial", false}, {"", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.classType);
        Harness h;
        h.Save({Class("Shop.Order", {{"ClassType", c.classType}, {"Abstract", "1"}})});
        ASSERT_EQ(ImportClass(h.Open("Shop.Order")), importing::NewClass);
        auto order = h.ModelClass("Logical View::Shop::Order");
        EXPECT_EQ(order->isPersistent, c.persistent);
        EXPECT_TRUE(order->isAbstract);
        EXPECT_EQ(Harness::OwnProperties(*order, "Tavro").front(),
                  std::make_pair(std::string("ClassType"), std::string(c.classType)));
    }
}

TEST(SetClassProperties, WritesEveryClassKeywordInOrderThenTheXml) {
    Harness h;
    h.Save({Class("Shop.Order", {{"ClassType", "persistent"},
                                 {"ClientDataType", "VARCHAR"},
                                 {"ClientName", "OrderClient"},
                                 {"DdlAllowed", "1"},
                                 {"ProcedureBlock", "1"},
                                 {"SqlTableName", "Orders"},
                                 {"Modified", "3"},
                                 {"SoapBodyUse", ""}})});
    ASSERT_EQ(ImportClass(h.Open("Shop.Order")), importing::NewClass);
    auto order = h.ModelClass("Logical View::Shop::Order");
    const Pairs expected = {
        {"ClassType", "persistent"},
        {"ClientDataType", "VARCHAR"},
        {"ClientName", "OrderClient"},
        {"CompileAfter", ""},
        {"DdlAllowed", "True"},
        {"Final", "False"},
        {"Import", ""},
        {"IncludeCode", ""},
        {"IncludeGenerator", ""},
        {"Language", "tavro"},
        {"Modified", "3"},
        {"OdbcType", ""},
        {"Owner", ""},
        {"ProcedureBlock", "True"},
        {"SoapBindingStyle", ""},
        {"SoapBodyUse", ""},
        {"SqlCategory", ""},
        {"SqlRoutinePrefix", ""},
        {"SqlRowIdName", ""},
        {"SqlRowIdPrivate", "False"},
        {"SqlTableName", "Orders"},
        {"StorageStrategy", ""},
        {"ViewQuery", ""},
    };
    EXPECT_EQ(Harness::OwnProperties(*order, "Tavro"), expected);
    Pairs hidden = Harness::OwnProperties(*order, "TavroHidden");
    ASSERT_EQ(hidden.size(), 2u);
    EXPECT_EQ(hidden[0], std::make_pair(std::string("XmlDefined"), std::string("True")));
    EXPECT_EQ(hidden[1].first, "TavroClassXml");
    EXPECT_NE(hidden[1].second.find("Shop.Order"), std::string::npos);
    EXPECT_NE(hidden[1].second.find("Orders"), std::string::npos);
}

// A definition that answers its name and nothing else: the server refusing a value.
automation::ObjectRef NameOnlyDefinition(const std::string& name) {
    auto def = std::make_shared<automation::LocalObject>(std::vector<std::string>{});
    def->DefineValue(0, "name", name);
    return def;
}

TEST(ImportClass, NewClassWhoseFillingFailsStaysButIsNotRemembered) {
    Harness h;
    EXPECT_EQ(ImportClass(NameOnlyDefinition("Shop.Broken")), importing::Failed);
    EXPECT_TRUE(h.ModelClass("Logical View::Shop::Broken"));
    EXPECT_EQ(importing::NewRoseClasses.Count(), 0u);
}

TEST(ImportClass, ExistingClassIsSkippedWithoutOverride) {
    Harness h;
    auto order = h.MakeModelClass("Logical View::Shop::Order");
    rosehost::CreateAttribute(h.model(), *order, "Total", "%Library.Integer", "");
    order->documentation = "kept";
    h.Save({Class("Shop.Order", {{"Description", "new text"}})});
    h.form.SetCheckValue(window::CheckBox::Override, 0);
    EXPECT_EQ(ImportClass(h.Open("Shop.Order")), importing::Skipped);
    EXPECT_EQ(order->documentation, "kept");
    EXPECT_EQ(order->attributes.size(), 1u);
    EXPECT_TRUE(order->properties.empty());
}

TEST(ImportClass, ExistingClassIsStrippedAndRefilledWithOverride) {
    Harness h;
    auto order = h.MakeModelClass("Logical View::Shop::Order");
    rosehost::CreateAttribute(h.model(), *order, "Total", "%Library.Integer", "");
    rosehost::CreateOperation(h.model(), *order, "Recalc", "");
    rosehost::CreateSuperclassLink(h.model(), *order, "", "Logical View::Shop::Old");
    order->isPersistent = true;
    order->documentation = "old";
    std::string key = order->quid;
    h.Save({Class("Shop.Order", {{"Description", "new"}, {"super", "Base"}})});
    h.form.SetCheckValue(window::CheckBox::Override, 1);
    EXPECT_EQ(ImportClass(h.Open("Shop.Order")), importing::Replaced);
    EXPECT_EQ(h.ModelClass("Logical View::Shop::Order"), order);
    EXPECT_EQ(order->quid, key);
    EXPECT_TRUE(order->attributes.empty());
    EXPECT_TRUE(order->operations.empty());
    EXPECT_EQ(SuperclassPaths(*order), std::vector<std::string>{"Logical View::Shop::Base"});
    EXPECT_FALSE(order->isPersistent);
    EXPECT_EQ(order->documentation, "new");
    // A re-initialised class is no new class: it is not drawn again.
    EXPECT_EQ(importing::NewRoseClasses.Count(), 0u);
}

TEST(ImportClass, ReplacedClassWhoseFillingFailsIsFailed) {
    Harness h;
    h.MakeModelClass("Logical View::Shop::Order");
    h.form.SetCheckValue(window::CheckBox::Override, 1);
    EXPECT_EQ(ImportClass(NameOnlyDefinition("Shop.Order")), importing::Failed);
}

TEST(ImportClass, ModellingToolErrorsOfTheLookUpPassToTheCaller) {
    Harness h;
    h.Save({Class("Shop.Order")});
    automation::ObjectRef def = h.Open("Shop.Order");
    rose::RoseApp = nullptr;
    EXPECT_THROW(ImportClass(def), automation::AutomationError);
}

// Ends of an association made directly in the model, roles[0] at `from`.
struct Made {
    std::shared_ptr<rosehost::Association> association;
    std::shared_ptr<rosehost::Role> atFrom, atTo;
};
Made Associate(Harness& h, rosehost::Class& from, const std::string& toPath,
               const std::string& nameAtFrom, const std::string& nameAtTo) {
    auto a = rosehost::CreateAssociation(h.model(), from, "", toPath);
    a->roles[0]->name = nameAtFrom;
    a->roles[1]->name = nameAtTo;
    a->roles[0]->multiplicity = "1";
    a->roles[1]->multiplicity = "0..n";
    return {a, a->roles[0], a->roles[1]};
}

bool Exists(Harness& h, const std::shared_ptr<rosehost::Association>& a) {
    for (const auto& category : rosehost::AllCategories(h.model())) {
        for (const auto& held : category->associations) {
            if (held == a) return true;
        }
    }
    return false;
}

TEST(ReinitialiseClass, KeepsOnlyTheAssociationsOtherClassesStillUse) {
    Harness h;
    auto order = h.MakeModelClass("Logical View::Shop::Order");
    auto customer = h.MakeModelClass("Logical View::Shop::Customer");
    const std::string orderPath = "Logical View::Shop::Order";
    const std::string customerPath = "Logical View::Shop::Customer";
    // Seen from Order: far is the end at Customer, near the end at Order.
    Made self = Associate(h, *order, orderPath, "Boss", "Staff");
    Made farUnnamed = Associate(h, *customer, orderPath, "", "orders");
    Made bothNamed = Associate(h, *order, customerPath, "orders", "customer");
    Made nearUnnamed = Associate(h, *order, customerPath, "", "buyer");
    importing::ReinitialiseClass(h.RoseClass(orderPath));

    EXPECT_FALSE(Exists(h, self.association));
    EXPECT_TRUE(Exists(h, farUnnamed.association));
    EXPECT_EQ(farUnnamed.atTo->name, "orders");
    EXPECT_EQ(farUnnamed.atFrom->multiplicity, "1");
    ASSERT_TRUE(Exists(h, bothNamed.association));
    EXPECT_EQ(bothNamed.atTo->name, "");
    EXPECT_EQ(bothNamed.atTo->multiplicity, "");
    EXPECT_EQ(bothNamed.atFrom->name, "orders");
    EXPECT_EQ(bothNamed.atFrom->multiplicity, "1");
    EXPECT_FALSE(Exists(h, nearUnnamed.association));
}

}  // namespace
