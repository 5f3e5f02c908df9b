// The command line and the selection it makes.
#include <gtest/gtest.h>

#include "cli/cli.h"

namespace {

using cli::Command;
using Strings = std::vector<std::string>;

TEST(ParseArguments, AcceptsEachCommandWithItsOptions) {
    struct Case {
        Strings args;
        Command command;
        Strings patterns;
        bool all, keepExisting, noDiagram, includeDatatype, includeSystem, dryRun, help;
        std::string report, server;
    };
    // clang-format off
    const Case cases[] = {
        {{"export", "--all"}, Command::Export, {}, true, false, false, false, false, false, false, "", ""},
        {{"export", "Shop.Customer", "Shop.Order.*", "--keep-existing", "--dry-run"}, Command::Export,
         {"Shop.Customer", "Shop.Order.*"}, false, true, false, false, false, true, false, "", ""},
        {{"import", "--all", "--no-diagram", "--include-datatype", "--include-system", "--report",
          "r.json", "--server", "h:1:NS"}, Command::Import, {}, true, false, true, true, true, false, false,
         "r.json", "h:1:NS"},
        {{"datatypes", "--report", "d.json"}, Command::Datatypes, {}, false, false, false, false, false, false,
         false, "d.json", ""},
        {{"system"}, Command::System, {}, false, false, false, false, false, false, false, "", ""},
        // Help needs nothing else.
        {{"import", "-h"}, Command::Import, {}, false, false, false, false, false, false, true, "", ""},
        {{"system", "--help"}, Command::System, {}, false, false, false, false, false, false, true, "", ""},
        {{"help", "export"}, Command::Export, {}, false, false, false, false, false, false, true, "", ""},
        // Command words in any letter case, as the add-in's own command line takes them.
        {{"EXPORT", "--all"}, Command::Export, {}, true, false, false, false, false, false, false, "", ""},
        {{"HELP", "Datatypes"}, Command::Datatypes, {}, false, false, false, false, false, false, true, "", ""},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.args));
        cli::ParseResult result = cli::ParseArguments(c.args);
        ASSERT_TRUE(result.ok) << result.message;
        const cli::Options& o = result.options;
        EXPECT_EQ(o.command, c.command);
        EXPECT_EQ(o.patterns, c.patterns);
        EXPECT_EQ(o.all, c.all);
        EXPECT_EQ(o.keepExisting, c.keepExisting);
        EXPECT_EQ(o.noDiagram, c.noDiagram);
        EXPECT_EQ(o.includeDatatype, c.includeDatatype);
        EXPECT_EQ(o.includeSystem, c.includeSystem);
        EXPECT_EQ(o.dryRun, c.dryRun);
        EXPECT_EQ(o.help, c.help);
        EXPECT_EQ(o.reportFile, c.report);
        EXPECT_EQ(o.server, c.server);
    }
    EXPECT_TRUE(cli::ParseArguments({"--help"}).options.help);
    EXPECT_TRUE(cli::ParseArguments({"--version"}).options.version);
}

// The error, then the help of the command it was given for.
TEST(ParseArguments, RefusesBadUsageSayingWhyThenTheCommandsUsage) {
    struct Case {
        Strings args;
        const char* message;
        const char* usage;  // the first line after the error
    };
    const char* kProgram = "usage: corvansil-cli COMMAND [OPTIONS] [CLASS...]";
    const char* kExport = "usage: corvansil-cli export [OPTIONS] (--all | CLASS...)";
    const char* kImport = "usage: corvansil-cli import [OPTIONS] (--all | CLASS...)";
    const Case cases[] = {
        {{}, "no command given", kProgram},
        {{"exports", "--all"}, "unknown command 'exports'", kProgram},
        {{"help", "bogus"}, "unknown command 'bogus'", kProgram},
        {{"help", "export", "import"}, "help takes one command word at most", kProgram},
        {{"export", "--bogus"}, "unknown option '--bogus' for export", kExport},
        {{"Export"}, "export needs class names, patterns or --all", kExport},
        {{"export", "--all", "Shop.*"}, "--all and class names exclude each other", kExport},
        {{"export", "--all", "--no-diagram"}, "unknown option '--no-diagram' for export", kExport},
        {{"export", "--all", "--include-system"},
         "unknown option '--include-system' for export",
         kExport},
        {{"export", "--version"}, "unknown option '--version' for export", kExport},
        {{"system", "Shop.*"},
         "system takes no class names",
         "usage: corvansil-cli system [OPTIONS]"},
        {{"datatypes", "--dry-run"},
         "unknown option '--dry-run' for datatypes",
         "usage: corvansil-cli datatypes [OPTIONS]"},
        {{"import", "--all", "--report"}, "--report needs a value", kImport},
        {{"import", "--all", "--server", ""}, "--server needs a value", kImport},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        cli::ParseResult result = cli::ParseArguments(c.args);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.message, c.message);
        std::string text = cli::UsageErrorText(result);
        std::string head = std::string("corvansil-cli: ") + c.message + "\n\n" + c.usage + "\n";
        EXPECT_EQ(text.substr(0, head.size()), head);
    }
}

TEST(CommandHelp, EveryCommandExplainsItsOptionsAndExitStatus) {
    struct Case {
        Command command;
        std::vector<const char*> mentions;
    };
    const Case cases[] = {
        {Command::Export, {"--all", "--keep-existing", "--dry-run", "--report", "skipped or fail"}},
        {Command::Import,
         {"--no-diagram", "--include-datatype", "--include-system", "--dry-run", "--report"}},
        {Command::Datatypes, {"\"Tavro System Classes\"", "--server", "--rose-socket"}},
        {Command::System, {"system class", "TAVRO_PASSWORD", "Exit status: 0"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(cli::CommandWord(c.command));
        std::string help = cli::CommandHelp(c.command);
        for (const char* word : c.mentions) EXPECT_NE(help.find(word), std::string::npos) << word;
    }
}

TEST(MatchesPattern, MatchesTheWholeNameWithStarAndQuestionMark) {
    struct Case {
        const char* pattern;
        const char* name;
        bool matches;
    };
    const Case cases[] = {
        {"Shop.Customer", "Shop.Customer", true},
        {"Shop.Customer", "Shop.Customers", false},
        {"Shop.*", "Shop.Order.OrderLine", true},
        {"Shop.*", "Shop", false},
        {"*Order", "Shop.Order.RushOrder", true},
        {"*Order", "Shop.Order.OrderLine", false},
        {"Shop.Order.Order*", "Shop.Order.Order", true},
        {"Shop.?roduct", "Shop.Product", true},
        {"Shop.?roduct", "Shop.roduct", false},
        {"*.*.*", "Shop.Order.Order", true},
        {"*.*.*", "Shop.Product", false},
        {"shop.*", "Shop.Product", false},
        {"*", "", true},
        {"", "", true},
        {"", "A", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.pattern) + " ~ " + c.name);
        EXPECT_EQ(cli::MatchesPattern(c.pattern, c.name), c.matches);
    }
}

Strings Entries(window::ClassList& list) {
    Strings entries;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) entries.push_back(list.List(i));
    return entries;
}

// Every entry of `list` keyed "k:" + its text in `ids`.
void ExpectKeyed(window::ClassList& list, window::ClassList& ids) {
    ASSERT_EQ(ids.ListCount(), list.ListCount());
    for (std::int16_t i = 0; i < list.ListCount(); ++i) EXPECT_EQ(ids.List(i), "k:" + list.List(i));
}

TEST(SelectClasses, MovesMatchingClassesWithTheirKeys) {
    struct Case {
        bool all;
        Strings patterns;
        Strings selected;
        Strings unmatched;
    };
    const Case cases[] = {
        {true,
         {},
         {"Shop.Customer", "Shop.Order.Order", "Shop.Order.OrderLine", "Shop.Product"},
         {}},
        {false, {"Shop.Order.*"}, {"Shop.Order.Order", "Shop.Order.OrderLine"}, {}},
        {false, {"*Order*", "Shop.Order.Order"}, {"Shop.Order.Order", "Shop.Order.OrderLine"}, {}},
        {false, {"Shop.Product", "Web.*"}, {"Shop.Product"}, {"Web.*"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.patterns));
        window::PlainWindow form;
        for (const char* name : {"Shop.Product", "Shop.Order.Order", "Shop.Order.OrderLine"}) {
            form.lstAvailableClassIDs().InsertItem(form.lstAvailableClasses().AddItem(name),
                                                   std::string("k:") + name);
        }
        // Chosen on the diagram beforehand: only the arguments count.
        form.lstSelectedClassIDs().InsertItem(form.lstSelectedClasses().AddItem("Shop.Customer"),
                                              "k:Shop.Customer");
        cli::Options options;
        options.all = c.all;
        options.patterns = c.patterns;
        Strings unmatched;
        cli::SelectClasses(form, options, unmatched);
        EXPECT_EQ(Entries(form.lstSelectedClasses()), c.selected);
        EXPECT_EQ(unmatched, c.unmatched);
        ExpectKeyed(form.lstSelectedClasses(), form.lstSelectedClassIDs());
        ExpectKeyed(form.lstAvailableClasses(), form.lstAvailableClassIDs());
    }
}

TEST(SelectClasses, ServerListsHaveNoKeys) {
    window::PlainWindow form;
    form.lstAvailableClasses().AddItem("Shop.Product");
    form.lstAvailableClasses().AddItem("Shop.Customer");
    cli::Options options;
    options.all = true;
    Strings unmatched;
    cli::SelectClasses(form, options, unmatched);
    EXPECT_EQ(form.lstSelectedClasses().ListCount(), 2);
    EXPECT_EQ(form.lstSelectedClassIDs().ListCount(), 0);
}

}  // namespace
