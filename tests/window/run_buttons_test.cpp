// The start button's run and the cancel/close button, with scripted message-box answers and
// an observed end of the process.
#include <gtest/gtest.h>

#include <QPushButton>

#include "automation/automation.h"
#include "window_test_support.h"

namespace {

using platform::Answer;
using window_test::LoadedWindow;
using window_test::RoseClasses;
using window_test::ScriptedUi;

bool Shown(window::ImportExportWindow& form, const char* name) {
    return !form.findChild<QWidget*>(name)->isHidden();
}

void ExpectBox(const platform::MessageBoxRequest& box, const char* text,
               platform::Buttons buttons) {
    EXPECT_EQ(box.text, text);
    EXPECT_EQ(box.title, "Corvansil");
    EXPECT_EQ(box.buttons, buttons);
    EXPECT_EQ(box.icon, platform::Icon::None);
}

// What a stand-in side and driver saw during a run.
struct Seen {
    int connectCalls = 0;
    std::vector<std::string> namespacesPassed;
    std::vector<std::string> statusAtConnect;
    int driverCalls = 0;
    std::string statusAtDriver;
    int logRowsAtDriver = -1;
};

// Export and import sides whose connector fails `failures` times, then connects; the drivers
// write one log row.
window::RunOps StubSides(Seen& seen, int failures) {
    window::RunOps ops = RoseClasses({"User.A"}, {"User.B"});
    auto connect = [&seen, failures] {
        seen.statusAtConnect.push_back(
            static_cast<window::ImportExportWindow*>(window::frmImportExport)->StatusText());
        return ++seen.connectCalls > failures;
    };
    ops.ConnectToServer = [&seen, connect](std::string& serverNamespace) {
        seen.namespacesPassed.push_back(serverNamespace);
        return connect();
    };
    ops.ConnectToRose = connect;
    auto driver = [&seen] {
        auto* form = static_cast<window::ImportExportWindow*>(window::frmImportExport);
        ++seen.driverCalls;
        seen.statusAtDriver = form->StatusText();
        seen.logRowsAtDriver = form->LogRowCount();
        form->AddLogMsg("User.B", "New Class Created", "", 2, true);
        form->StatusMessage("Export complete");
    };
    ops.ExportClasses = driver;
    ops.ImportClasses = driver;
    ops.LoadTavroClassList = [] {
        window::frmImportExport->lstAvailableClasses().AddItem("User.A");
        window::frmImportExport->lstSelectedClasses().AddItem("User.B");
    };
    return ops;
}

TEST(cmdExportImport_Click, ConnectsAfterRetriesThenRunsTheDriver) {
    struct Case {
        std::int16_t mode;
        const char* failureText;
        const char* starting;
        const char* running;
    };
    const Case cases[] = {
        {1, "Unable to connect to Tavro", "Starting Export", "Exporting ..."},
        {2, "Unable to connect to Rational Rose", "Starting Import", "Importing ..."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.mode);
        ScriptedUi ui({Answer::Retry, Answer::Retry});
        Seen seen;
        auto form = LoadedWindow(c.mode, StubSides(seen, 2));
        form->AddLogMsg("left over", "", "", 0, false);
        form->findChild<QPushButton*>("cmdExportImport")->click();  // the button is wired

        EXPECT_EQ(seen.connectCalls, 3);
        ASSERT_EQ(ui.boxes.size(), 2u);
        for (const auto& box : ui.boxes)
            ExpectBox(box, c.failureText, platform::Buttons::RetryCancel);
        EXPECT_EQ(seen.statusAtConnect, (std::vector<std::string>(3, c.starting)));
        if (c.mode == 1) {
            EXPECT_EQ(seen.namespacesPassed, (std::vector<std::string>(3, "")));
        }
        EXPECT_EQ(seen.driverCalls, 1);
        EXPECT_EQ(seen.statusAtDriver, c.running);
        EXPECT_EQ(seen.logRowsAtDriver, 0);
        EXPECT_EQ(form->LogRowCount(), 1);
        EXPECT_EQ(form->StatusText(), "Export complete");
        EXPECT_EQ(form->CloseCaption(), "Close");
        EXPECT_FALSE(Shown(*form, "fraMain"));
        EXPECT_TRUE(Shown(*form, "fraLog"));
        EXPECT_FALSE(Shown(*form, "cmdExportImport"));
    }
}

TEST(cmdExportImport_Click, CancelInTheConnectionBoxEndsTheProcess) {
    ScriptedUi ui({Answer::Retry, Answer::Cancel});
    Seen seen;
    auto form = LoadedWindow(1, StubSides(seen, 5));
    EXPECT_THROW(form->cmdExportImport_Click(), platform::ProcessEnded);
    EXPECT_EQ(seen.connectCalls, 2);
    EXPECT_EQ(seen.driverCalls, 0);
    EXPECT_EQ(form->CloseCaption(), "Cancel");
}

TEST(cmdExportImport_Click, ShowsADriverErrorAndOffersClose) {
    ScriptedUi ui;
    Seen seen;
    window::RunOps ops = StubSides(seen, 0);
    ops.ExportClasses = [] {
        window::frmImportExport->AddLogMsg("User.B", "Processing ...", "", 3, false);
        throw automation::AutomationError("Object variable or With block variable not set");
    };
    auto form = LoadedWindow(1, ops);
    form->cmdExportImport_Click();
    ASSERT_EQ(ui.boxes.size(), 1u);
    EXPECT_EQ(ui.boxes[0].text, "Object variable or With block variable not set");
    EXPECT_EQ(ui.boxes[0].buttons, platform::Buttons::Ok);
    EXPECT_EQ(ui.boxes[0].title, "Corvansil");
    EXPECT_EQ(form->CloseCaption(), "Close");
    EXPECT_EQ(form->LogRowAt(1).status, "Processing ...");
    // Once it reads Close, the button ends the process without asking.
    EXPECT_THROW(form->cmdClose_Click(), platform::ProcessEnded);
    EXPECT_EQ(ui.boxes.size(), 1u);
}

TEST(cmdClose_Click, AsksBeforeCancelling) {
    struct Case {
        const char* name;
        Answer answer;
        bool ends;
    };
    const Case cases[] = {{"yes ends", Answer::Yes, true}, {"no stays", Answer::No, false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedUi ui({c.answer});
        auto form = LoadedWindow(1, RoseClasses({"A", "B"}, {"C"}));
        window_test::Highlight(*form, "lstAvailableClasses", {1});
        if (c.ends) {
            EXPECT_THROW(form->cmdClose_Click(), platform::ProcessEnded);
        } else {
            form->findChild<QPushButton*>("cmdClose")->click();  // the button is wired
        }
        ASSERT_EQ(ui.boxes.size(), 1u);
        ExpectBox(ui.boxes[0], "Are you sure you want to cancel?", platform::Buttons::YesNo);
        EXPECT_EQ(window_test::Highlighted(form->lstAvailableClasses()),
                  (std::vector<std::string>{"B"}));
        EXPECT_EQ(form->CloseCaption(), "Cancel");
    }
}

TEST(cmdClose_Click, CancelDuringARunEndsItThereOrLetsItGoOn) {
    struct Case {
        const char* name;
        Answer answer;
        int rowsWritten;
    };
    const Case cases[] = {{"yes", Answer::Yes, 1}, {"no", Answer::No, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedUi ui({c.answer});
        Seen seen;
        window::RunOps ops = StubSides(seen, 0);
        int rows = 0;
        ops.ExportClasses = [&rows] {
            auto* form = static_cast<window::ImportExportWindow*>(window::frmImportExport);
            form->AddLogMsg("User.A", "Done", "", 2, false);
            ++rows;
            // The press on the cancel button that the log update let through.
            form->cmdClose_Click();
            form->AddLogMsg("User.B", "Done", "", 2, false);
            ++rows;
        };
        auto form = LoadedWindow(1, ops);
        if (c.answer == Answer::Yes) {
            EXPECT_THROW(form->cmdExportImport_Click(), platform::ProcessEnded);
        } else {
            form->cmdExportImport_Click();
            EXPECT_EQ(form->CloseCaption(), "Close");
        }
        EXPECT_EQ(rows, c.rowsWritten);
    }
}

TEST(Form_Unload, EndsTheProcessWithoutAsking) {
    for (std::int16_t mode : {1, 3}) {
        SCOPED_TRACE(mode);
        ScriptedUi ui;
        auto form = LoadedWindow(mode);
        EXPECT_THROW(form->Form_Unload(), platform::ProcessEnded);
        EXPECT_TRUE(ui.boxes.empty());
    }
}

}  // namespace
