// The command line and the selection it makes.
#include <gtest/gtest.h>

#include "cli/cli.h"

namespace {

using cli::Command;

TEST(ParseArguments, AcceptsEachCommandWithItsOptions) {
    struct Case {
        const char* name;
        std::vector<std::string> args;
        Command command;
        std::vector<std::string> patterns;
        bool all, keepExisting, noDiagram, includeDatatype, includeSystem, dryRun;
        std::string report, server;
    };
    const Case cases[] = {
        {"export all",
         {"export", "--all"},
         Command::Export,
         {},
         true,
         false,
         false,
         false,
         false,
         false,
         "",
         ""},
        {"export names and patterns",
         {"export", "Shop.Customer", "Shop.Order.*", "--keep-existing", "--dry-run"},
         Command::Export,
         {"Shop.Customer", "Shop.Order.*"},
         false,
         true,
         false,
         false,
         false,
         true,
         "",
         ""},
        {"import with list options",
         {"import", "--all", "--no-diagram", "--include-datatype", "--include-system", "--report",
          "r.json", "--server", "h:1:NS"},
         Command::Import,
         {},
         true,
         false,
         true,
         true,
         true,
         false,
         "r.json",
         "h:1:NS"},
        {"datatypes",
         {"datatypes", "--report", "d.json"},
         Command::Datatypes,
         {},
         false,
         false,
         false,
         false,
         false,
         false,
         "d.json",
         ""},
        {"system",
         {"system"},
         Command::System,
         {},
         false,
         false,
         false,
         false,
         false,
         false,
         "",
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
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
        EXPECT_EQ(o.reportFile, c.report);
        EXPECT_EQ(o.server, c.server);
    }
}

TEST(ParseArguments, RefusesBadUsageSayingWhy) {
    struct Case {
        std::vector<std::string> args;
        const char* message;
    };
    const Case cases[] = {
        {{}, "no command given"},
        {{"EXPORT", "--all"}, "unknown command 'EXPORT'"},
        {{"export"}, "export needs class names, patterns or --all"},
        {{"export", "--all", "Shop.*"}, "--all and class names exclude each other"},
        {{"export", "--all", "--no-diagram"}, "unknown option '--no-diagram' for export"},
        {{"export", "--all", "--include-system"}, "unknown option '--include-system' for export"},
        {{"system", "Shop.*"}, "system takes no class names"},
        {{"datatypes", "--dry-run"}, "unknown option '--dry-run' for datatypes"},
        {{"import", "--all", "--report"}, "--report needs a value"},
        {{"import", "--all", "--server", ""}, "--server needs a value"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        cli::ParseResult result = cli::ParseArguments(c.args);
        EXPECT_FALSE(result.ok);
        EXPECT_EQ(result.message, c.message);
    }
}

TEST(ParseArguments, HelpNeedsNothingElse) {
    const std::vector<std::vector<std::string>> cases = {
        {"--help"}, {"export", "--help"}, {"import", "-h"}, {"system", "--help"}};
    for (const auto& args : cases) {
        SCOPED_TRACE(args.back());
        cli::ParseResult result = cli::ParseArguments(args);
        EXPECT_TRUE(result.ok);
        EXPECT_TRUE(result.options.help);
    }
}

TEST(CommandHelp, EveryCommandExplainsItsOptionsAndExitStatus) {
    struct Case {
        Command command;
        std::vector<const char*> mentions;
    };
    const Case cases[] = {
        {Command::Export,
         {"--all", "--keep-existing", "--dry-run", "--report", "a method when its return"}},
        {Command::Import,
         {"--no-diagram", "--include-datatype", "--include-system", "--dry-run", "--report"}},
        {Command::Datatypes, {"\"Tavro System Classes\"", "--server", "--rose-socket"}},
        {Command::System, {"system class", "TAVRO_PASSWORD"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(cli::CommandWord(c.command));
        std::string help = cli::CommandHelp(c.command);
        for (const char* word : c.mentions) EXPECT_NE(help.find(word), std::string::npos) << word;
        EXPECT_NE(help.find("Exit status: 0"), std::string::npos);
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
        {"Shop.*", "Shop.Customer", true},
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

// A window whose available list holds `names`, each with the key "k:" + name.
void Fill(window::PlainWindow& form, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        std::int16_t at = form.lstAvailableClasses().AddItem(name);
        form.lstAvailableClassIDs().InsertItem(at, "k:" + name);
    }
}

std::vector<std::string> Entries(window::ClassList& list) {
    std::vector<std::string> entries;
    for (std::int16_t i = 0; i < list.ListCount(); ++i) entries.push_back(list.List(i));
    return entries;
}

TEST(SelectClasses, MovesMatchingClassesWithTheirKeys) {
    struct Case {
        const char* name;
        bool all;
        std::vector<std::string> patterns;
        std::vector<std::string> selected;
        std::vector<std::string> unmatched;
    };
    const std::vector<std::string> model = {"Shop.Product", "Shop.Order.Order",
                                            "Shop.Order.OrderLine", "Shop.Customer"};
    const Case cases[] = {
        {"all",
         true,
         {},
         {"Shop.Customer", "Shop.Order.Order", "Shop.Order.OrderLine", "Shop.Product"},
         {}},
        {"one name", false, {"Shop.Product"}, {"Shop.Product"}, {}},
        {"a pattern", false, {"Shop.Order.*"}, {"Shop.Order.Order", "Shop.Order.OrderLine"}, {}},
        {"overlapping patterns",
         false,
         {"*Order*", "Shop.Order.Order"},
         {"Shop.Order.Order", "Shop.Order.OrderLine"},
         {}},
        {"a pattern that names nothing",
         false,
         {"Shop.Product", "Web.*"},
         {"Shop.Product"},
         {"Web.*"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        window::PlainWindow form;
        Fill(form, model);
        cli::Options options;
        options.all = c.all;
        options.patterns = c.patterns;
        std::vector<std::string> unmatched;
        cli::SelectClasses(form, options, unmatched);
        EXPECT_EQ(Entries(form.lstSelectedClasses()), c.selected);
        EXPECT_EQ(unmatched, c.unmatched);
        ASSERT_EQ(form.lstSelectedClassIDs().ListCount(), form.lstSelectedClasses().ListCount());
        for (std::int16_t i = 0; i < form.lstSelectedClasses().ListCount(); ++i) {
            EXPECT_EQ(form.lstSelectedClassIDs().List(i), "k:" + form.lstSelectedClasses().List(i));
        }
        for (std::int16_t i = 0; i < form.lstAvailableClasses().ListCount(); ++i) {
            EXPECT_EQ(form.lstAvailableClassIDs().List(i),
                      "k:" + form.lstAvailableClasses().List(i));
        }
    }
}

TEST(SelectClasses, StartsFromNothingSelected) {
    // The model list comes with the classes selected on the diagram already chosen; only the
    // arguments count.
    window::PlainWindow form;
    Fill(form, {"Shop.Product"});
    std::int16_t at = form.lstSelectedClasses().AddItem("Shop.Customer");
    form.lstSelectedClassIDs().InsertItem(at, "k:Shop.Customer");
    cli::Options options;
    options.patterns = {"Shop.Product"};
    std::vector<std::string> unmatched;
    cli::SelectClasses(form, options, unmatched);
    EXPECT_EQ(Entries(form.lstSelectedClasses()), std::vector<std::string>{"Shop.Product"});
    EXPECT_EQ(Entries(form.lstAvailableClasses()), std::vector<std::string>{"Shop.Customer"});
    EXPECT_EQ(Entries(form.lstAvailableClassIDs()), std::vector<std::string>{"k:Shop.Customer"});
}

TEST(SelectClasses, ServerListsHaveNoKeys) {
    window::PlainWindow form;
    form.lstAvailableClasses().AddItem("Shop.Product");
    form.lstAvailableClasses().AddItem("Shop.Customer");
    cli::Options options;
    options.all = true;
    std::vector<std::string> unmatched;
    cli::SelectClasses(form, options, unmatched);
    EXPECT_EQ(form.lstSelectedClasses().ListCount(), 2);
    EXPECT_EQ(form.lstSelectedClassIDs().ListCount(), 0);
}

}  // namespace
