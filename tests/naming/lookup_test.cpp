// Finding classes and finding or creating categories, against rose-host's model in-process.
#include <gtest/gtest.h>

#include "automation/local_object.h"
#include "hosts/rose/model/objects.h"
#include "model/rose.h"
#include "naming/naming.h"
#include "platform/objects.h"

namespace {

using automation::ObjectRef;

// Makes `host` the running modelling tool and attaches to it.
void Attach(const std::shared_ptr<rosehost::Host>& host) {
    platform::ResetObjects();
    platform::Objects().getActiveObject = [host](const std::string&) {
        return rosehost::ApplicationObject(host);
    };
    ASSERT_TRUE(rose::ConnectToRose());
}

std::shared_ptr<rosehost::Model> ShopModel() {
    auto model = rosehost::NewModel("shop");
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    auto order = rosehost::CreateCategory(*model, shop, "Order");
    rosehost::CreateClass(*model, order, "Line");
    rosehost::CreateClass(*model, model->top, "Person");
    auto system = rosehost::CreateCategory(*model, model->top, "Tavro System Classes");
    rosehost::CreateClass(*model, system, "%Library.String");
    return model;
}

std::vector<std::string> CategoryPaths(const rosehost::Model& model) {
    std::vector<std::string> paths;
    for (const auto& category : rosehost::AllCategories(model)) {
        paths.push_back(rosehost::QualifiedName(*category));
    }
    return paths;
}

TEST(FindRoseClass, FindsByTheServerNameAsGiven) {
    auto model = ShopModel();
    Attach(rosehost::NewHost(model));
    struct Case {
        const char* name;
        const char* path;  // "" for no class
    };
    const Case cases[] = {
        {"Shop.Order.Line", "Logical View::Shop::Order::Line"},
        {"Person", "Logical View::Person"},
        {"User.Person", ""},  // not qualified first: there is no category User
        {"%Library.String", "Logical View::Tavro System Classes::%Library.String"},
        {"%String", ""},
        {"Shop.Order", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ObjectRef cls = naming::FindRoseClass(c.name);
        if (*c.path == '\0') {
            EXPECT_EQ(cls, nullptr);
            continue;
        }
        ASSERT_NE(cls, nullptr);
        EXPECT_EQ(rose::QualifiedName(cls), c.path);
    }
}

TEST(FindOrCreateCategory, UsesExistingCategoriesAndCreatesEachMissingPackageOnce) {
    auto model = ShopModel();
    Attach(rosehost::NewHost(model));
    struct Case {
        const char* name;
        const char* path;
    };
    const Case cases[] = {
        {"Shop.Order.Invoice", "Logical View::Shop::Order"},
        {"Shop.Basket", "Logical View::Shop"},
        {"Person", "Logical View::User"},
        {"%Library.Integer", "Logical View::Tavro System Classes"},
        {"%Integer", "Logical View::Tavro System Classes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ObjectRef category = naming::FindOrCreateCategory(c.name);
        ASSERT_NE(category, nullptr);
        EXPECT_EQ(rose::QualifiedName(category), c.path);
    }
    std::vector<std::string> paths = CategoryPaths(*model);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "Logical View::Tavro System Classes"), 1);

    ObjectRef category = naming::FindOrCreateCategory("A.B.C.Cls");
    ASSERT_NE(category, nullptr);
    EXPECT_EQ(rose::QualifiedName(category), "Logical View::A::B::C");
    paths = CategoryPaths(*model);
    EXPECT_EQ(std::count(paths.begin(), paths.end(), "Logical View::A::B::C"), 1);
    // A second class of the same package finds the chain and adds nothing.
    EXPECT_EQ(naming::FindOrCreateCategory("A.B.C.Other"), category);
    EXPECT_EQ(CategoryPaths(*model).size(), paths.size());
}

TEST(FindOrCreateCategory, CreatesTheSystemCategoryOnceUnderTheTop) {
    auto model = rosehost::NewModel("empty");
    Attach(rosehost::NewHost(model));
    ObjectRef first = naming::FindOrCreateCategory("%Library.String");
    ObjectRef second = naming::FindOrCreateCategory("%Library.Integer");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(CategoryPaths(*model),
              (std::vector<std::string>{"Logical View", "Logical View::Tavro System Classes"}));
}

TEST(FindOrCreateCategory, GivesNoObjectForAnEmptyNameOrARefusal) {
    Attach(rosehost::NewHost(ShopModel()));
    EXPECT_EQ(naming::FindOrCreateCategory(""), nullptr);

    // A modelling tool whose application refuses everything.
    auto refusing = std::make_shared<automation::LocalObject>(
        std::vector<std::string>{rose::iid::kApplication});
    refusing->Define(209, "ActiveModel",
                     [](automation::CallKind, const automation::Args&) -> automation::Variant {
                         throw automation::AutomationError("the model is locked");
                     });
    rose::RoseApp = refusing;
    EXPECT_EQ(naming::FindOrCreateCategory("Shop.Order.Line"), nullptr);
    EXPECT_THROW(naming::FindRoseClass("Shop.Order.Line"), automation::AutomationError);
}

TEST(RosePathOfClassName, StartsWithTheActiveModelsTopCategory) {
    auto model = ShopModel();
    model->top->name = "Top";
    Attach(rosehost::NewHost(model));
    EXPECT_EQ(naming::RosePathOfClassName("Shop.Order"), "Top::Shop::Order");
    EXPECT_EQ(naming::ServerClassNameOfRosePath("Top::Shop::Order"), "Shop.Order");
}

}  // namespace
