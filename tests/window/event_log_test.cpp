// The event log's rows and the status bar.
#include <gtest/gtest.h>

#include <QHeaderView>
#include <QMetaObject>
#include <QTreeWidget>
#include <stdexcept>

#include "window_test_support.h"

namespace {

using window_test::LoadedWindow;

// A log of `rows` rows, row k named "Class<k>", status "Processing ...", picture 3.
std::unique_ptr<window::ImportExportWindow> LogOf(int rows) {
    auto form = LoadedWindow(3);
    for (int k = 1; k <= rows; ++k)
        form->AddLogMsg("Class" + std::to_string(k), "Processing ...", "", 3, false);
    return form;
}

TEST(InitLog, CreatesThreeKeyedColumns) {
    auto form = LoadedWindow(3);
    auto* log = form->findChild<QTreeWidget*>("lvwLog");
    struct Case {
        int column;
        const char* key;
        const char* heading;
        int width;  // pixels of 500, 3000 and 4000 twips
    };
    const Case cases[] = {{0, "LogColImage", "", 33},
                          {1, "LogColClass", "Class", 200},
                          {2, "LogColStatus", "Status", 267}};
    ASSERT_EQ(log->columnCount(), 3);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(log->headerItem()->data(c.column, Qt::UserRole + 1).toString(), c.key);
        EXPECT_EQ(log->headerItem()->text(c.column), c.heading);
        EXPECT_EQ(log->columnWidth(c.column), c.width);
    }
}

TEST(UpdateLogMsg, ChangesOneRowAsAsked) {
    struct Case {
        const char* name;
        std::optional<std::string> className;
        std::optional<std::string> msgText;
        std::string errorText;
        std::int16_t icon;
        window::LogRow expected;
    };
    const Case cases[] = {
        {"failed with error",
         std::nullopt,
         "Failed",
         "class not found",
         1,
         {1, "Class3", "Failed (class not found)"}},
        {"message left out, error given",
         std::nullopt,
         std::nullopt,
         "E",
         0,
         {3, "Class3", " (E)"}},
        {"only the row number", std::nullopt, std::nullopt, "", 0, {3, "Class3", ""}},
        {"empty class name is not left out", std::string(), "Done", "", 2, {2, "", "Done"}},
        {"negative picture keeps the picture", "Other", "x", "", -1, {3, "Other", "x"}},
        {"empty message with an error", std::nullopt, "", "E", 0, {3, "Class3", " (E)"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto form = LogOf(5);
        form->UpdateLogMsg(3, c.className, c.msgText, c.errorText, c.icon, true);
        window::LogRow row = form->LogRowAt(3);
        EXPECT_EQ(row.icon, c.expected.icon);
        EXPECT_EQ(row.className, c.expected.className);
        EXPECT_EQ(row.status, c.expected.status);
        // The other rows are untouched.
        EXPECT_EQ(form->LogRowAt(2).status, "Processing ...");
        EXPECT_EQ(form->LogRowAt(4).className, "Class4");
    }
    // Left-out arguments count as no error and no new picture.
    auto form = LogOf(2);
    form->UpdateLogMsg(2, std::nullopt, "Done");
    EXPECT_EQ(form->LogRowAt(2).status, "Done");
    EXPECT_EQ(form->LogRowAt(2).icon, 3);
}

TEST(UpdateLogMsg, ScrollsTheRowIntoView) {
    auto form = LogOf(300);
    form->show();
    auto* log = form->findChild<QTreeWidget*>("lvwLog");
    QCoreApplication::processEvents();
    QTreeWidgetItem* row = log->topLevelItem(249);
    ASSERT_FALSE(log->viewport()->rect().intersects(log->visualItemRect(row)));
    form->UpdateLogMsg(250, std::nullopt, "Failed", "class not found", 1, true);
    EXPECT_TRUE(log->viewport()->rect().contains(log->visualItemRect(row)));
    form->hide();
}

TEST(UpdateLogMsg, RejectsARowThatDoesNotExist) {
    auto form = LogOf(2);
    for (std::int16_t logId : {0, 3}) {
        SCOPED_TRACE(logId);
        try {
            form->UpdateLogMsg(logId, std::nullopt, "Done");
            ADD_FAILURE() << "no error";
        } catch (const std::out_of_range& error) {
            EXPECT_EQ(std::string(error.what()),
                      "log row " + std::to_string(logId) + " does not exist");
        }
    }
}

TEST(UpdateLogMsg, LetsPendingEventsRun) {
    auto form = LogOf(1);
    bool ran = false;
    QMetaObject::invokeMethod(
        form.get(), [&ran] { ran = true; }, Qt::QueuedConnection);
    form->UpdateLogMsg(1, std::nullopt, "Done", "", 2, false);
    EXPECT_TRUE(ran);
}

TEST(AddLogMsg, AppendsNumberedRowsFromOneAgainAfterClearing) {
    auto form = LoadedWindow(3);
    EXPECT_EQ(form->AddLogMsg("User.A", "", "", 0, false), 1);
    window::LogRow first = form->LogRowAt(1);
    EXPECT_EQ(first.icon, 0);
    EXPECT_EQ(first.className, "User.A");
    EXPECT_EQ(first.status, "");
    EXPECT_TRUE(form->findChild<QTreeWidget*>("lvwLog")->topLevelItem(0)->icon(0).isNull());
    EXPECT_TRUE(form->findChild<QTreeWidget*>("lvwLog")->topLevelItem(0)->text(0).isEmpty());
    for (int k = 2; k <= 7; ++k) form->AddLogMsg("User.X", "", "", 0, false);
    EXPECT_EQ(form->AddLogMsg("User.H", "Failed", "no such class", 1, true), 8);
    EXPECT_EQ(form->LogRowAt(8).status, "Failed (no such class)");
    EXPECT_EQ(form->LogRowAt(8).icon, 1);
    EXPECT_FALSE(form->findChild<QTreeWidget*>("lvwLog")->topLevelItem(7)->icon(0).isNull());
    form->ClearLog();
    EXPECT_EQ(form->LogRowCount(), 0);
    EXPECT_EQ(form->AddLogMsg("User.A", "", "", 0, false), 1);
}

}  // namespace
