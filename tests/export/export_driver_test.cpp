// ExportClasses: the selected list exported in order, one log row per class.
#include <gtest/gtest.h>

#include "export/export.h"
#include "export_world.h"
#include "server/server.h"

namespace {

using export_test::ExportWorld;

struct Row {
    std::int16_t icon;
    std::string className;
    std::string status;
};

std::vector<Row> RowsOf(const window::PlainWindow& window) {
    std::vector<Row> rows;
    for (const window::LogRow& row : window.Rows()) {
        rows.push_back({row.icon, row.className, row.status});
    }
    return rows;
}

bool operator==(const Row& a, const Row& b) {
    return a.icon == b.icon && a.className == b.className && a.status == b.status;
}

void PrintTo(const Row& row, std::ostream* os) {
    *os << "{" << row.icon << ", \"" << row.className << "\", \"" << row.status << "\"}";
}

TEST(ExportClasses, OneRowPerClassWithItsOutcome) {
    ExportWorld world;
    auto alpha = world.AddClass("Shop", "Alpha");
    auto beta = world.AddClass("Shop", "Beta");
    auto gamma = world.AddClass("Shop", "Gamma");
    auto ghost = world.AddClass("Shop", "Ghost");
    rosehost::SetToolProperty(*gamma, "Tavro", "Final", "yes");
    tavro::ClassDef stored;
    stored.name = "Shop.Beta";
    world.Store(stored);
    world.SetOverride(false);
    for (const auto& cls : {alpha, beta, gamma, ghost}) world.Select(*cls);
    // The class is gone from the model by the time the run reaches it.
    world.model->top->categories[0]->classes.pop_back();

    exporting::ExportClasses();

    const std::vector<Row> expected = {
        {window::kIconDone, "Alpha", "New Class Created"},
        {window::kIconDone, "Beta", "Existing Class Skipped"},
        {window::kIconFailed, "Gamma", "Failed (Type mismatch)"},
        {window::kIconFailed, "Ghost", "Failed (Object variable or With block variable not set)"},
    };
    EXPECT_EQ(RowsOf(world.window), expected);
    EXPECT_EQ(world.window.Status(), "Export complete");
    tavro::ClassDef def;
    EXPECT_TRUE(world.Load("Shop.Alpha", def));
    EXPECT_FALSE(world.Load("Shop.Gamma", def));
}

TEST(ExportClasses, EveryRowExistsBeforeTheFirstClassIsProcessed) {
    ExportWorld world;
    auto alpha = world.AddClass("Shop", "Alpha");
    auto beta = world.AddClass("Shop", "Beta");
    world.Select(*alpha);
    world.Select(*beta);

    exporting::ExportClasses();

    std::vector<std::string> processing;
    for (const auto& change : world.window.changes) {
        if (change.row.status != "Processing ...") continue;
        EXPECT_EQ(change.rowCount, 2U);
        EXPECT_EQ(change.row.icon, window::kIconInProgress);
        processing.push_back(change.row.className);
    }
    EXPECT_EQ(processing, (std::vector<std::string>{"Alpha", "Beta"}));
    // Rows are added with no status and no picture.
    ASSERT_GE(world.window.changes.size(), 2U);
    EXPECT_EQ(world.window.changes[0].row.status, "");
    EXPECT_EQ(world.window.changes[0].row.icon, window::kIconNone);
}

TEST(ExportClasses, EmptySelectionStillReadsTheServerClasses) {
    ExportWorld world;
    tavro::ClassDef stored;
    stored.name = "Shop.Known";
    world.Store(stored);

    exporting::ExportClasses();

    EXPECT_TRUE(world.window.Rows().empty());
    EXPECT_EQ(world.window.StatusHistory(), (std::vector<std::string>{"Export complete"}));
    EXPECT_NE(server::ServerClassTypes.Find("shop.known"), nullptr);
}

TEST(ExportClasses, ReplacedClassShowsItsSkippedMembers) {
    ExportWorld world;
    auto order = world.AddClass("Shop", "Order");
    auto bad = world.AddAttribute(*order, "Bad", "Integer");
    rosehost::SetToolProperty(*bad, "Tavro", "Transient", "");
    tavro::ClassDef stored;
    stored.name = "Shop.Order";
    world.Store(stored);
    world.SetOverride(true);
    world.Select(*order);

    exporting::ExportClasses();

    const std::vector<Row> expected = {
        {window::kIconDone, "Order", "Existing Class Replaced (1 Invalid Property Skipped.)"}};
    EXPECT_EQ(RowsOf(world.window), expected);
}

// A server class named like a model type would keep that type as it stands, but the server
// holds no class without a package: the model's Date is always the server's %Date.
TEST(ExportClasses, ModelTypeNamesMapSinceNoServerClassIsNamedLikeThem) {
    ExportWorld world;
    tavro::ClassDef date;
    date.name = "Date";
    EXPECT_THROW(world.Store(date), tavro::StoreError);
    auto order = world.AddClass("Shop", "Order");
    world.AddAttribute(*order, "Placed", "Date");
    world.AddAttribute(*order, "Due", "date");
    world.Select(*order);

    exporting::ExportClasses();

    tavro::ClassDef def;
    ASSERT_TRUE(world.Load("Shop.Order", def));
    ASSERT_EQ(def.properties.size(), 2U);
    EXPECT_EQ(export_test::PropertyValue(def.properties[0], "Type"), "%Date");
    EXPECT_EQ(export_test::PropertyValue(def.properties[1], "Type"), "%Date");
}

// A modelling tool that did not load the add-in's property file: every class would fail
// "Type mismatch", so the run says why and exports nothing.
TEST(ExportClasses, WithoutThePropertyDefaultsNothingIsExported) {
    ExportWorld world;
    world.model->propertySets.clear();
    auto order = world.AddClass("Shop", "Order");
    world.Select(*order);
    ::setenv("CORVANSIL_REGISTRY", "/nonexistent/registry.reg", 1);

    exporting::ExportClasses();

    ::unsetenv("CORVANSIL_REGISTRY");
    ASSERT_EQ(world.boxes.size(), 1U);
    EXPECT_EQ(world.boxes[0].text,
              "the modelling tool has not loaded the add-in's model property defaults (the class "
              "keyword DdlAllowed of Shop.Order reads \"\", not its default \"False\"), so every "
              "class would fail \"Type mismatch\": the model property file Corvansil.pty beside "
              "the corvansil executable or the registry file /nonexistent/registry.reg "
              "($CORVANSIL_REGISTRY) that names it is missing or damaged; run corvansil INSTALL, "
              "then restart the modelling tool");
    EXPECT_TRUE(world.window.Rows().empty());
    EXPECT_EQ(world.window.Status(), "Export not started");
    tavro::ClassDef def;
    EXPECT_FALSE(world.Load("Shop.Order", def));
}

}  // namespace
