// The console window's lines and the JSON report.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/cli.h"

namespace {

TEST(FormatRow, MarksThePictureAndJoinsNameAndStatus) {
    struct Case {
        window::LogRow row;
        const char* line;
        bool final;
    };
    const Case cases[] = {
        {{window::kIconDone, "Shop.Customer", "New Class Created"},
         "done   Shop.Customer: New Class Created",
         true},
        {{window::kIconFailed, "Shop.Order.Order", "Failed (Type mismatch)"},
         "FAILED Shop.Order.Order: Failed (Type mismatch)",
         true},
        {{window::kIconInProgress, "Shop.Product", "Processing ..."},
         "...    Shop.Product: Processing ...",
         false},
        {{window::kIconNone, "Shop.Product", ""}, "       Shop.Product:", false},
        {{window::kIconDone, "", "Rose Diagrams Updated"}, "done   Rose Diagrams Updated", true},
        {{window::kIconInProgress, "%Library.String", ""}, "...    %Library.String:", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(cli::FormatRow(c.row), c.line);
        EXPECT_EQ(cli::IsFinalRow(c.row), c.final);
    }
}

// The log calls an export makes for two classes, the second one failing.
void DriveTwoClasses(window::TransferWindow& form) {
    form.StatusMessage("Exporting ...");
    form.AddLogMsg("A", "", "", window::kIconNone, true);
    form.AddLogMsg("B", "", "", window::kIconNone, true);
    form.UpdateLogMsg(1, "A", "Processing ...", "", window::kIconInProgress, true);
    form.UpdateLogMsg(1, "A", "New Class Created", "", window::kIconDone, true);
    form.UpdateLogMsg(1, "A", "New Class Created", "", window::kIconDone, true);
    form.UpdateLogMsg(2, "B", "Processing ...", "", window::kIconInProgress, true);
    form.UpdateLogMsg(2, "B", "Failed", "Type mismatch", window::kIconFailed, true);
    form.StatusMessage("Export complete");
}

TEST(ConsoleWindow, PrintsOneLinePerOutcomeWithoutATerminal) {
    std::ostringstream out;
    cli::ConsoleWindow form(out, /*live=*/false);
    DriveTwoClasses(form);
    form.Finish();
    EXPECT_EQ(out.str(),
              "-- Exporting ...\n"
              "done   A: New Class Created\n"
              "FAILED B: Failed (Type mismatch)\n"
              "-- Export complete\n");
    EXPECT_TRUE(form.AnyFailed());
}

TEST(ConsoleWindow, KeepsALiveLineOnATerminal) {
    std::ostringstream out;
    cli::ConsoleWindow form(out, /*live=*/true, /*columns=*/80);
    DriveTwoClasses(form);
    form.Finish();
    const std::string clear = "\r\033[K";
    EXPECT_EQ(out.str(),
              "-- Exporting ...\n"
              "[1/1]        A:" +
                  clear + "[2/2]        B:" + clear + "[1/2] ...    A: Processing ..." + clear +
                  "done   A: New Class Created\n"
                  "[2/2] ...    B: Processing ..." +
                  clear +
                  "FAILED B: Failed (Type mismatch)\n"
                  "-- Export complete\n");
}

// A live line wider than the terminal would wrap, and clearing it would leave its first part:
// it stops one character short of the width, counted in characters, not bytes. Outcome lines
// stay whole.
TEST(ConsoleWindow, CutsTheLiveLineToTheTerminalsWidth) {
    struct Case {
        std::size_t columns;
        const char* live;
    };
    const Case cases[] = {
        {80, "[1/1] ...    Straße.Größe: Processing ..."},
        {24, "[1/1] ...    Straße.Grö"},
        {20, "[1/1] ...    Straße"},
        {1, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.columns);
        std::ostringstream out;
        cli::ConsoleWindow form(out, /*live=*/true, c.columns);
        form.AddLogMsg("Straße.Größe", "Processing ...", "", window::kIconInProgress, true);
        form.UpdateLogMsg(1, "Straße.Größe", "New Class Created", "", window::kIconDone, true);
        EXPECT_EQ(out.str(),
                  std::string(c.live) + "\r\033[Kdone   Straße.Größe: New Class Created\n");
    }
}

TEST(TerminalColumns, TakesTheTerminalsWidthElseColumnsElseEighty) {
    struct Case {
        const char* columns;  // $COLUMNS, null when unset
        std::size_t width;
    };
    const Case cases[] = {
        {nullptr, 80}, {"132", 132}, {"40", 40}, {"", 80}, {"0", 80}, {"-5", 80}, {"12x", 80},
    };
    // Standard input of a test is no terminal; a closed descriptor is none either.
    for (const Case& c : cases) {
        SCOPED_TRACE(c.columns ? c.columns : "unset");
        EXPECT_EQ(cli::TerminalColumns(-1, c.columns), c.width);
    }
}

TEST(ConsoleWindow, ARowThatChangesOutcomeOrAClearedLogPrintsAgain) {
    // An import row shows the first pass's outcome, then the second pass's.
    std::ostringstream out;
    cli::ConsoleWindow form(out, /*live=*/false);
    form.AddLogMsg("A", "", "", window::kIconNone, true);
    form.UpdateLogMsg(1, "A", "New Class Initialized", "", window::kIconDone, true);
    form.UpdateLogMsg(1, "A", "Processing ...", "", window::kIconInProgress, true);
    form.UpdateLogMsg(1, "A", "New Class Created", "", window::kIconDone, true);
    form.ClearLog();
    form.AddLogMsg("A", "New Class Created", "", window::kIconDone, false);
    EXPECT_EQ(out.str(),
              "done   A: New Class Initialized\ndone   A: New Class Created\n"
              "done   A: New Class Created\n");
    EXPECT_FALSE(form.AnyFailed());
}

TEST(ReportJson, WritesEveryClassAndMember) {
    std::vector<cli::ClassOutcome> classes = {
        {"Shop.Customer",
         "Existing Class Replaced",
         "1 Invalid Property Skipped.",
         {{"name", "property", "%Library.String", "exported", ""},
          {"orders", "relationship", "", "skipped", "the multiplicity \"0\" holds no value"},
          {"bad", "property", "", "failed", "Type mismatch"}},
         "ERROR #5002: bad XML"},
        {"Shop.\"Q\"", "Failed", "a\\b\tc", {}, ""},
    };
    cli::RunEnd end;
    end.exitStatus = 1;
    end.error = "stopped by SIGINT: nothing further was written";
    end.missing = {{"Shop.Order", "tavro-host class restore USER Shop.Order"}};
    EXPECT_EQ(cli::ReportJson("export", classes, "Exporting ...", end),
              "{\n"
              "  \"command\": \"export\",\n"
              "  \"classes\": [\n"
              "    {\"name\": \"Shop.Customer\", \"outcome\": \"Existing Class Replaced\", "
              "\"detail\": \"1 Invalid Property Skipped.\", \"hidden_parts_not_kept\": "
              "\"ERROR #5002: bad XML\", \"members\": [\n"
              "      {\"name\": \"name\", \"kind\": \"property\", \"outcome\": \"exported\"},\n"
              "      {\"name\": \"orders\", \"kind\": \"relationship\", \"outcome\": "
              "\"skipped\", \"reason\": \"the multiplicity \\\"0\\\" holds no value\"},\n"
              "      {\"name\": \"bad\", \"kind\": \"property\", \"outcome\": \"failed\", "
              "\"reason\": \"Type mismatch\"}\n"
              "    ]},\n"
              "    {\"name\": \"Shop.\\\"Q\\\"\", \"outcome\": \"Failed\", \"detail\": "
              "\"a\\\\b\\u0009c\", \"members\": []}\n"
              "  ],\n"
              "  \"status\": \"Exporting ...\",\n"
              "  \"exit_status\": 1,\n"
              "  \"error\": \"stopped by SIGINT: nothing further was written\",\n"
              "  \"deleted_not_saved\": [\n"
              "    {\"name\": \"Shop.Order\", \"restore\": \"tavro-host class restore USER "
              "Shop.Order\"}\n"
              "  ],\n"
              "  \"restore_note\": \"give tavro-host the server's data directory with --data DATA "
              "or TAVRO_DATA\"\n"
              "}\n");
    EXPECT_EQ(cli::ReportJson("system", {}, "Done", cli::RunEnd{}),
              "{\n  \"command\": \"system\",\n  \"classes\": [],\n  \"status\": \"Done\",\n"
              "  \"exit_status\": 0,\n  \"error\": \"\",\n  \"deleted_not_saved\": []\n}\n");
}

}  // namespace
