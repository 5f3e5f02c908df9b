// Filling the transfer window's class lists from the open model for an export.
#include <gtest/gtest.h>

#include "model/model.h"
#include "rose_host.h"
#include "window/plain_window.h"

namespace {

struct Lists {
    std::vector<std::string> available, availableIds, selected, selectedIds;
};

std::vector<std::string> Items(const window::ClassList& list) {
    std::vector<std::string> out;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) out.push_back(list.List(i));
    return out;
}

// Runs the operation against `model` with a display-less window, and reads the lists back.
Lists Load(const std::shared_ptr<rosehost::Model>& model, window::PlainWindow& form) {
    InstallRose(rosehost::NewHost(model));
    window::frmImportExport = &form;
    model::LoadRoseClassList(form.lstAvailableClasses(), form.lstSelectedClasses(),
                             form.lstAvailableClassIDs(), form.lstSelectedClassIDs());
    window::frmImportExport = nullptr;
    return {Items(form.lstAvailableClasses()), Items(form.lstAvailableClassIDs()),
            Items(form.lstSelectedClasses()), Items(form.lstSelectedClassIDs())};
}

std::string KeyOf(const rosehost::Model& model, const std::string& path) {
    return rosehost::ClassesByPath(model, path).at(0)->quid;
}

std::shared_ptr<rosehost::Model> ShopModel(const std::string& name) {
    auto model = rosehost::NewModel(name);
    auto shop = rosehost::CreateCategory(*model, model->top, "Shop");
    auto order = rosehost::CreateCategory(*model, shop, "Order");
    auto system = rosehost::CreateCategory(*model, model->top, "Tavro System Classes");
    auto nested = rosehost::CreateCategory(*model, system, "Extras");
    // Handed over in an order that the sorted lists must rearrange.
    rosehost::CreateClass(*model, model->top, "Zebra");
    rosehost::CreateClass(*model, model->top, "Person");
    rosehost::CreateClass(*model, order, "Line");
    rosehost::CreateClass(*model, shop, "Address");
    rosehost::CreateClass(*model, system, "%Library.String");
    rosehost::CreateClass(*model, nested, "Helper");
    return model;
}

// A class in a sub-category of the system category is listed; its path keeps the system
// prefix, so its name is the rest of the path as it stands.
TEST(LoadRoseClassList, ListsServerNamesWithoutSystemClassesKeyedAndSorted) {
    auto model = ShopModel("shop");
    window::PlainWindow form;
    Lists lists = Load(model, form);
    const std::pair<const char*, const char*> expected[] = {
        {"Extras::Helper", "Logical View::Tavro System Classes::Extras::Helper"},
        {"Shop.Address", "Logical View::Shop::Address"},
        {"Shop.Order.Line", "Logical View::Shop::Order::Line"},
        {"User.Person", "Logical View::Person"},
        {"User.Zebra", "Logical View::Zebra"},
    };
    ASSERT_EQ(lists.available.size(), std::size(expected));
    ASSERT_EQ(lists.availableIds.size(), std::size(expected));
    for (std::size_t k = 0; k < std::size(expected); ++k) {
        SCOPED_TRACE(expected[k].first);
        EXPECT_EQ(lists.available[k], expected[k].first);
        EXPECT_EQ(lists.availableIds[k], KeyOf(*model, expected[k].second));
    }
    EXPECT_TRUE(lists.selected.empty());
    EXPECT_TRUE(lists.selectedIds.empty());
    EXPECT_EQ(form.Status(), "Connected to shop");
    EXPECT_EQ(form.NamespaceOrModelCaption(), "Rose Model: shop");
}

TEST(LoadRoseClassList, StartsClassesSelectedOnTheDiagramInTheSelectedList) {
    auto model = ShopModel("shop");
    auto diagram = rosehost::CreateClassDiagram(*model, *model->top, "Main");
    for (const char* path : {"Logical View::Zebra", "Logical View::Shop::Address"}) {
        auto cls = rosehost::ClassesByPath(*model, path).at(0);
        rosehost::AddClass(*diagram, cls);
        diagram->selected.push_back(cls);
    }
    rosehost::AddClass(*diagram, rosehost::ClassesByPath(*model, "Person").at(0));
    model->currentDiagram = diagram;
    window::PlainWindow form;
    Lists lists = Load(model, form);
    EXPECT_EQ(lists.selected, (std::vector<std::string>{"Shop.Address", "User.Zebra"}));
    EXPECT_EQ(lists.selectedIds,
              (std::vector<std::string>{KeyOf(*model, "Logical View::Shop::Address"),
                                        KeyOf(*model, "Logical View::Zebra")}));
    EXPECT_EQ(lists.available,
              (std::vector<std::string>{"Extras::Helper", "Shop.Order.Line", "User.Person"}));
    EXPECT_EQ(lists.availableIds,
              (std::vector<std::string>{
                  KeyOf(*model, "Logical View::Tavro System Classes::Extras::Helper"),
                  KeyOf(*model, "Logical View::Shop::Order::Line"),
                  KeyOf(*model, "Logical View::Person")}));
}

TEST(LoadRoseClassList, ShowsAModelWithoutNameAsUntitled) {
    window::PlainWindow form;
    Lists lists = Load(rosehost::NewModel(""), form);
    EXPECT_TRUE(lists.available.empty());
    EXPECT_EQ(form.Status(), "Connected to untitled");
    EXPECT_EQ(form.NamespaceOrModelCaption(), "Rose Model: untitled");
}

TEST(LoadRoseClassList, EndsTheProcessWhenTheUserCancelsTheConnection) {
    InstallRose(nullptr);
    auto ui = std::make_shared<ScriptedUi>();
    ui->answers = {platform::Answer::Retry, platform::Answer::Cancel};
    InstallUi(ui);
    window::PlainWindow form;
    EXPECT_THROW(model::LoadRoseClassList(form.lstAvailableClasses(), form.lstSelectedClasses(),
                                          form.lstAvailableClassIDs(), form.lstSelectedClassIDs()),
                 platform::ProcessEnded);
    ASSERT_EQ(ui->boxes.size(), 2u);
    EXPECT_EQ(ui->boxes[1].text, "Unable to connect to Rational Rose");
    platform::ResetUi();
}

}  // namespace
