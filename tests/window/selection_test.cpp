// Moving classes between the two lists, the companions that follow them, and the buttons.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QListView>
#include <QPushButton>

#include "window_test_support.h"

namespace {

using Strings = std::vector<std::string>;
using window_test::Entries;
using window_test::Highlight;
using window_test::Highlighted;
using window_test::LoadedWindow;
using window_test::RoseClasses;

bool Enabled(window::ImportExportWindow& form, const char* name) {
    return form.findChild<QPushButton*>(name)->isEnabled();
}

// Entry k of a list and entry k of its companion must belong to the same class.
void ExpectAligned(window::ClassList& list, window::ClassList& ids) {
    ASSERT_EQ(list.ListCount(), ids.ListCount());
    for (std::int16_t i = 0; i < list.ListCount(); ++i)
        EXPECT_EQ(ids.List(i), "id-" + list.List(i)) << "entry " << i;
}

TEST(ClassList, KeepsEntriesSortedIgnoringCaseAndReportsWhereTheyWent) {
    auto form = LoadedWindow(0);
    window::ClassList& list = form->lstAvailableClasses();
    struct Case {
        const char* text;
        std::int16_t at;
    };
    const Case cases[] = {{"B", 0}, {"a", 0}, {"C", 2}, {"b", 2}, {"aa", 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(list.AddItem(c.text), c.at);
    }
    EXPECT_EQ(Entries(list), (Strings{"a", "aa", "B", "b", "C"}));
    EXPECT_EQ(list.List(5), "");
    EXPECT_EQ(list.List(-1), "");
    EXPECT_EQ(form->lstSelectedClassIDs().List(0), "");
    EXPECT_EQ(form->findChild<QListView*>("lstAvailableClasses")->model()->rowCount(), 5);
}

TEST(SelectClasses, MovesHighlightedEntriesWithTheirIds) {
    window_test::ScriptedUi ui;
    auto form = LoadedWindow(1, RoseClasses({"B", "a", "D", "C", "E"}));
    EXPECT_EQ(Entries(form->lstAvailableClasses()), (Strings{"a", "B", "C", "D", "E"}));
    ExpectAligned(form->lstAvailableClasses(), form->lstAvailableClassIDs());
    // Nothing highlighted: nothing moves.
    EXPECT_FALSE(Enabled(*form, "cmdSelect"));
    form->cmdSelect_Click();
    form->lstSelectedClasses_DblClick();
    EXPECT_EQ(form->lstSelectedClasses().ListCount(), 0);

    Highlight(*form, "lstAvailableClasses", {0, 2, 3});  // two of them adjacent
    EXPECT_TRUE(Enabled(*form, "cmdSelect"));
    form->cmdSelect_Click();
    EXPECT_EQ(Entries(form->lstSelectedClasses()), (Strings{"a", "C", "D"}));
    EXPECT_EQ(Highlighted(form->lstSelectedClasses()), (Strings{"a", "C", "D"}));
    EXPECT_EQ(Entries(form->lstAvailableClasses()), (Strings{"B", "E"}));
    EXPECT_EQ(Entries(form->lstSelectedClassIDs()), (Strings{"id-a", "id-C", "id-D"}));
    EXPECT_EQ(Entries(form->lstAvailableClassIDs()), (Strings{"id-B", "id-E"}));
    // The view shows the same highlights as the list holds.
    auto* view = form->findChild<QListView*>("lstSelectedClasses");
    EXPECT_EQ(view->selectionModel()->selectedRows().size(), 3);

    // What the destination held before is no longer highlighted.
    Highlight(*form, "lstAvailableClasses", {0});  // B
    form->cmdSelect_Click();
    EXPECT_EQ(Highlighted(form->lstSelectedClasses()), (Strings{"B"}));
    ExpectAligned(form->lstSelectedClasses(), form->lstSelectedClassIDs());
    EXPECT_TRUE(ui.boxes.empty());
}

TEST(SelectClasses, MovesAllOf500AndSetsTheButtons) {
    Strings names;
    for (int i = 0; i < 500; ++i) names.push_back("Pkg.Class" + std::to_string(1000 + i));
    auto form = LoadedWindow(1, RoseClasses(names));
    EXPECT_TRUE(Enabled(*form, "cmdSelectAll"));
    EXPECT_FALSE(Enabled(*form, "cmdExportImport"));
    form->cmdSelectAll_Click();
    EXPECT_EQ(form->lstAvailableClasses().ListCount(), 0);
    EXPECT_EQ(form->lstSelectedClasses().ListCount(), 500);
    EXPECT_EQ(Highlighted(form->lstSelectedClasses()).size(), 500u);
    ExpectAligned(form->lstSelectedClasses(), form->lstSelectedClassIDs());
    EXPECT_EQ(form->lstAvailableClassIDs().ListCount(), 0);
    EXPECT_FALSE(Enabled(*form, "cmdSelectAll"));
    EXPECT_FALSE(Enabled(*form, "cmdSelect"));
    EXPECT_TRUE(Enabled(*form, "cmdUnselectAll"));
    EXPECT_TRUE(Enabled(*form, "cmdExportImport"));
    EXPECT_TRUE(Enabled(*form, "cmdUnselect"));
}

TEST(UnselectClasses, KeepsCompanionsAlignedAfterMixedMoves) {
    auto form = LoadedWindow(
        1, RoseClasses({"Zeta", "alpha", "Mu", "beta", "Omega", "gamma"}, {"Delta", "epsilon"}));
    EXPECT_EQ(Entries(form->lstSelectedClasses()), (Strings{"Delta", "epsilon"}));
    Highlight(*form, "lstAvailableClasses", {0, 3, 5});  // alpha, Mu, Zeta
    form->cmdSelect_Click();
    Highlight(*form, "lstSelectedClasses", {1, 3});  // Delta, Mu
    form->cmdUnselect_Click();
    EXPECT_EQ(Highlighted(form->lstAvailableClasses()), (Strings{"Delta", "Mu"}));
    Highlight(*form, "lstAvailableClasses", {0});  // beta
    form->cmdSelect_Click();
    form->cmdUnselectAll_Click();
    Highlight(*form, "lstAvailableClasses", {4});  // gamma
    form->cmdSelect_Click();

    EXPECT_EQ(Entries(form->lstSelectedClasses()), (Strings{"gamma"}));
    EXPECT_EQ(Entries(form->lstAvailableClasses()),
              (Strings{"alpha", "beta", "Delta", "epsilon", "Mu", "Omega", "Zeta"}));
    ExpectAligned(form->lstSelectedClasses(), form->lstSelectedClassIDs());
    ExpectAligned(form->lstAvailableClasses(), form->lstAvailableClassIDs());
}

TEST(SelectClasses, LeavesCompanionsEmptyInImportMode) {
    window::RunOps ops;
    ops.LoadTavroClassList = [] {
        for (const char* name : {"User.B", "User.a", "User.C"})
            window::frmImportExport->lstAvailableClasses().AddItem(name);
    };
    auto form = LoadedWindow(2, ops);
    Highlight(*form, "lstAvailableClasses", {1});
    form->lstAvailableClasses_DblClick();
    EXPECT_EQ(Entries(form->lstSelectedClasses()), (Strings{"User.B"}));
    form->cmdSelectAll_Click();
    Highlight(*form, "lstSelectedClasses", {0});
    form->lstSelectedClasses_DblClick();
    EXPECT_EQ(Entries(form->lstAvailableClasses()), (Strings{"User.a"}));
    EXPECT_EQ(form->lstAvailableClassIDs().ListCount(), 0);
    EXPECT_EQ(form->lstSelectedClassIDs().ListCount(), 0);
    EXPECT_EQ(form->lstSelectedClassIDs().List(0), "");
}

TEST(UpdateSelectionButtons, FollowsTheListsAndHighlights) {
    struct Case {
        const char* name;
        Strings available;
        Strings selected;
        bool select, unselect, selectAll, unselectAll, start;
    };
    const Case cases[] = {
        {"both empty", {}, {}, false, false, false, false, false},
        {"only available", {"A"}, {}, false, false, true, false, false},
        {"only selected", {}, {"A"}, false, false, false, true, true},
        {"both", {"A"}, {"B"}, false, false, true, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto form = LoadedWindow(1, RoseClasses(c.available, c.selected));
        EXPECT_EQ(Enabled(*form, "cmdSelect"), c.select);
        EXPECT_EQ(Enabled(*form, "cmdUnselect"), c.unselect);
        EXPECT_EQ(Enabled(*form, "cmdSelectAll"), c.selectAll);
        EXPECT_EQ(Enabled(*form, "cmdUnselectAll"), c.unselectAll);
        EXPECT_EQ(Enabled(*form, "cmdExportImport"), c.start);
    }
}

TEST(UpdateSelectionButtons, EnablesSingleMovesWhileSomethingIsHighlighted) {
    auto form = LoadedWindow(1, RoseClasses({"A", "B"}, {"C"}));
    Highlight(*form, "lstSelectedClasses", {0});
    EXPECT_TRUE(Enabled(*form, "cmdUnselect"));
    EXPECT_FALSE(Enabled(*form, "cmdSelect"));
    form->findChild<QListView*>("lstSelectedClasses")->clearSelection();
    EXPECT_FALSE(Enabled(*form, "cmdUnselect"));
}

TEST(chkIncludeDatatype_Click, ReloadsTheAvailableListOnly) {
    window::RunOps ops;
    ops.LoadTavroClassList = [] {
        window::TransferWindow& w = *window::frmImportExport;
        w.lstAvailableClasses().Clear();
        w.lstAvailableClasses().AddItem("User.Person");
        if (w.CheckValue(window::CheckBox::IncludeDatatype) == 1)
            w.lstAvailableClasses().AddItem("User.Money");
        if (w.CheckValue(window::CheckBox::IncludeSystem) == 1)
            w.lstAvailableClasses().AddItem("%Library.String");
    };
    auto form = LoadedWindow(2, ops);
    form->cmdSelectAll_Click();
    EXPECT_FALSE(Enabled(*form, "cmdSelectAll"));

    form->findChild<QCheckBox*>("chkIncludeDatatype")->click();
    EXPECT_EQ(Entries(form->lstAvailableClasses()), (Strings{"User.Money", "User.Person"}));
    EXPECT_EQ(Entries(form->lstSelectedClasses()), (Strings{"User.Person"}));
    EXPECT_TRUE(Enabled(*form, "cmdSelectAll"));

    form->findChild<QCheckBox*>("chkIncludeSystem")->click();
    EXPECT_EQ(Entries(form->lstAvailableClasses()),
              (Strings{"%Library.String", "User.Money", "User.Person"}));
    EXPECT_EQ(form->CheckValue(window::CheckBox::IncludeSystem), 1);
    EXPECT_EQ(form->CheckValue(window::CheckBox::Override), 1);
    EXPECT_EQ(form->CheckValue(window::CheckBox::AddToDiagram), 1);
}

}  // namespace
