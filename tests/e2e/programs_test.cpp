// The add-in's runs through the real programs: corvansil-cli between a tavro-host serving a
// data directory and a rose-host serving a model, checked with the hosts' own commands.
#include "tests/e2e/programs.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "hosts/tavro/store/store.h"
#include "install/install.h"
#include "tests/support/support.h"

namespace {

using e2e::Cli;
using e2e::CliEnvironment;
using e2e::CountOf;
using e2e::Exit;
using e2e::RoseHost;
using e2e::TavroServer;
using e2e::TempDir;
using namespace std::chrono_literals;

const std::string kSamples = testsupport::SamplesDir() + "/mdl";
const std::string kLibrary = kSamples + "/library.mdl";

// The library sample's classes as the server names them.
const char* const kLibraryClasses[] = {"library.Book", "library.BookCategory", "library.Library",
                                       "library.Writer"};

#define SKIP_WITHOUT_PROGRAMS_OR_SAMPLE()                                                 \
    do {                                                                                  \
        if (!e2e::MissingProgram().empty())                                               \
            GTEST_SKIP() << "not built: " << e2e::MissingProgram();                       \
        if (!std::filesystem::exists(kLibrary)) GTEST_SKIP() << "no sample " << kLibrary; \
    } while (false)

// A run that ended by itself, with the status given; the output is shown when it did not.
void ExpectEnded(const Exit& exit, int status) {
    EXPECT_TRUE(exit.finished) << "still running after the limit";
    EXPECT_FALSE(exit.signalled) << "ended by signal " << exit.status << "\n" << exit.err;
    EXPECT_EQ(exit.status, status) << "out:\n" << exit.out << "err:\n" << exit.err;
}

// Every program names its version; corvansil-cli follows a usage error with the usage of the
// command it was given for, and gives a command's help for `help COMMAND`.
TEST(Programs, NameTheirVersionAndTheUsageOfTheCommandGiven) {
    struct Case {
        std::vector<std::string> argv;
        int status;
        std::string out;  // standard output begins so
        std::string err;  // standard error begins so
    };
    const std::string addIn = install::ProgramVersion;
    const Case cases[] = {
        {{"corvansil", "--version"}, 0, "corvansil " + addIn + "\n", ""},
        {{"corvansil-cli", "--version"}, 0, "corvansil-cli " + addIn + "\n", ""},
        {{"tavro-host", "--version"}, 0, std::string("tavro-host ") + CORVANSIL_VERSION + "\n", ""},
        {{"rose-host", "--version"}, 0, std::string("rose-host ") + CORVANSIL_VERSION + "\n", ""},
        {{"corvansil-cli", "export", "--bogus"},
         2,
         "",
         "corvansil-cli: unknown option '--bogus' for export\n\n"
         "usage: corvansil-cli export [OPTIONS] (--all | CLASS...)\n"},
        {{"corvansil-cli", "help", "export"},
         0,
         "usage: corvansil-cli export [OPTIONS] (--all | CLASS...)\n",
         ""},
        {{"corvansil-cli", "IMPORT", "--help"},
         0,
         "usage: corvansil-cli import [OPTIONS] (--all | CLASS...)\n",
         ""},
    };
    TempDir dir("e2e-version");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.argv[0] + " " + c.argv[1]);
        if (::access(e2e::Program(c.argv[0]).c_str(), X_OK) != 0) {
            ADD_FAILURE() << "not built: " << c.argv[0];
            continue;
        }
        Exit exit = e2e::Run(dir, c.argv);
        ExpectEnded(exit, c.status);
        EXPECT_EQ(exit.out.substr(0, c.out.size()), c.out);
        EXPECT_EQ(exit.err.substr(0, c.err.size()), c.err);
        if (c.out.empty()) {
            EXPECT_EQ(exit.out, "");
        }
        if (c.err.empty()) {
            EXPECT_EQ(exit.err, "");
        }
    }
}

// The library sample exported into the server; the host serving it stays up.
void ExportLibrary(const TempDir& dir, TavroServer& tavro, RoseHost& rose) {
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(kLibrary));
    Exit exit = Cli(dir, {"export", "--all"}, CliEnvironment(tavro, rose));
    ExpectEnded(exit, 0);
    EXPECT_EQ(CountOf(exit.out, "New Class Created"), std::size(kLibraryClasses)) << exit.out;
    EXPECT_NE(exit.out.find("Export complete"), std::string::npos) << exit.out;
}

TEST(ExportClasses, OnlyTheNamedClassesThenEveryClassOfTheSampleAreOnTheServer) {
    SKIP_WITHOUT_PROGRAMS_OR_SAMPLE();
    TempDir dir("e2e-export");
    TavroServer tavro(dir);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(kLibrary));
    ExpectEnded(Cli(dir, {"export", "library.B*"}, CliEnvironment(tavro, rose)), 0);
    for (const auto& [className, status] : {std::pair{"library.Book", 0},
                                            {"library.BookCategory", 0},
                                            {"library.Writer", 1},
                                            {"library.Library", 1}}) {
        SCOPED_TRACE(className);
        EXPECT_EQ(tavro.Command({"class", "show", "USER", className}).status, status);
    }
    Exit exit = Cli(dir, {"export", "--all"}, CliEnvironment(tavro, rose));
    ExpectEnded(exit, 0);
    EXPECT_EQ(CountOf(exit.out, "New Class Created"), 2U) << exit.out;
    EXPECT_EQ(CountOf(exit.out, "Existing Class Replaced"), 2U) << exit.out;

    // Book as the file holds it: three attributes and the far end of its association with
    // Writer.
    struct Case {
        const char* className;
        std::vector<const char*> parts;
    };
    const Case cases[] = {
        {"library.Book",
         {"<Class name=\"library.Book\">", "<Property name=\"title\">", "<Type>%String</Type>",
          "<Property name=\"pages\">", "<Property name=\"category\">",
          "<Type>library.BookCategory</Type>", "<Property name=\"author\">",
          "<Inverse>books</Inverse>"}},
        {"library.Writer", {"<Property name=\"books\">", "<Inverse>author</Inverse>"}},
        {"library.Library", {"<Property name=\"writers\">", "<Property name=\"books\">"}},
        {"library.BookCategory", {"<Class name=\"library.BookCategory\">"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.className);
        Exit show = tavro.Command({"class", "show", "USER", c.className});
        ExpectEnded(show, 0);
        for (const char* part : c.parts) EXPECT_NE(show.out.find(part), std::string::npos) << part;
    }
}

TEST(ImportClasses, ServerClassesComeIntoANewModelThatSavesAndOpensWhole) {
    SKIP_WITHOUT_PROGRAMS_OR_SAMPLE();
    TempDir dir("e2e-import");
    TavroServer tavro(dir);
    {
        RoseHost source(dir, "source.sock");
        ExportLibrary(dir, tavro, source);
    }

    RoseHost rose(dir);
    ASSERT_TRUE(rose.Start(""));
    Exit exit = Cli(dir, {"import", "library.*"}, CliEnvironment(tavro, rose));
    ExpectEnded(exit, 0);
    EXPECT_EQ(CountOf(exit.out, "New Class Created"), std::size(kLibraryClasses)) << exit.out;

    Exit before = rose.Command({"show"});
    ExpectEnded(before, 0);
    for (const char* part : {"Book", "Writer", "BookCategory", "Library", "title", "pages"}) {
        EXPECT_NE(before.out.find(part), std::string::npos) << part << "\n" << before.out;
    }
    std::string saved = dir / "imported.mdl";
    ExpectEnded(rose.Command({"save", saved}), 0);
    ExpectEnded(rose.Command({"stop"}), 0);
    ASSERT_TRUE(rose.child()->Wait(30s).finished);

    RoseHost reopened(dir, "reopened.sock");
    ASSERT_TRUE(reopened.Start(saved));
    Exit after = reopened.Command({"show"});
    ExpectEnded(after, 0);
    EXPECT_EQ(after.out, before.out);
}

// The '%' classes of one kind, as the server's class query lists them.
std::size_t SpecialClassCount(const TavroServer& tavro, bool datatype) {
    auto store = tavro::OpenStore(tavro.dataDir());
    std::size_t count = 0;
    for (const tavro::SummaryRow& row : tavro::SummaryOf(*store, "USER")) {
        bool wanted = datatype ? row.datatype : row.system;
        if (wanted && !row.name.empty() && row.name.front() == '%') ++count;
    }
    return count;
}

TEST(AddTavroSpecialClasses, DatatypeAndSystemRunsFillTheSystemCategory) {
    SKIP_WITHOUT_PROGRAMS_OR_SAMPLE();
    TempDir dir("e2e-special");
    TavroServer tavro(dir);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(kLibrary));
    std::size_t datatypes = SpecialClassCount(tavro, true);
    std::size_t systems = SpecialClassCount(tavro, false);
    ASSERT_GT(datatypes, 0U);
    ASSERT_GT(systems, 0U);

    Exit first = Cli(dir, {"datatypes"}, CliEnvironment(tavro, rose));
    ExpectEnded(first, 0);
    EXPECT_EQ(CountOf(first.out, ": Done"), datatypes) << first.out;
    Exit shown = rose.Command({"show"});
    EXPECT_NE(shown.out.find("Tavro System Classes"), std::string::npos) << shown.out;

    // A second run finds every class already there.
    Exit again = Cli(dir, {"datatypes"}, CliEnvironment(tavro, rose));
    ExpectEnded(again, 0);
    EXPECT_EQ(CountOf(again.out, "Already Defined"), datatypes) << again.out;
    EXPECT_EQ(CountOf(again.out, ": Done"), 0U) << again.out;

    Exit system = Cli(dir, {"system"}, CliEnvironment(tavro, rose));
    ExpectEnded(system, 0);
    EXPECT_EQ(CountOf(system.out, ": Done") + CountOf(system.out, "Already Defined"), systems)
        << system.out;

    // The loaded classes survive a save and a reopening.
    std::string saved = dir / "with-system.mdl";
    ExpectEnded(rose.Command({"save", saved}), 0);
    RoseHost reopened(dir, "reopened.sock");
    ASSERT_TRUE(reopened.Start(saved));
    EXPECT_EQ(reopened.Command({"show"}).out, rose.Command({"show"}).out);
}

// The operator's side of tavro-host: classes put on the server from their XML and written back
// out, a second server of one data directory refused, and a class that a run left deleted
// listed with the command that brings it back, which does.
TEST(TavroHost, ListsClassesLeftDeletedWithTheCommandThatRestoresThem) {
    if (!e2e::MissingProgram().empty()) GTEST_SKIP() << "not built: " << e2e::MissingProgram();
    TempDir dir("e2e-operator");
    TavroServer tavro(dir);
    const std::string order =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Class name=\"Shop.Order\">\n"
        "  <Method name=\"Join\">\n    <FormalSpec>list:%List,sep:%String=\",\"</FormalSpec>\n"
        "  </Method>\n</Class>\n";
    e2e::WriteFile(dir / "order.xml", order);
    e2e::WriteFile(dir / "solo.xml", "<Class name=\"Solo\"/>");
    ExpectEnded(tavro.Command({"class", "load", "USER", dir / "order.xml"}), 0);
    Exit solo = tavro.Command({"class", "load", "USER", dir / "solo.xml"});
    ExpectEnded(solo, 1);
    EXPECT_EQ(solo.err, "tavro-host: class name 'Solo' has no package\n");
    ExpectEnded(tavro.Command({"class", "dump", "USER", dir / "dump"}), 0);
    std::string dumped = dir / "dump/Shop.Order.xml";
    EXPECT_EQ(e2e::ReadFile(dumped), tavro.Command({"class", "show", "USER", "Shop.Order"}).out);
    EXPECT_EQ(std::filesystem::status(dumped).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);

    ASSERT_TRUE(tavro.Start());
    Exit second =
        e2e::Run(dir, {"tavro-host", "serve", tavro.dataDir(), "--port", "0"}, {}, "", 30s);
    ExpectEnded(second, 1);
    EXPECT_NE(second.err.find(" is already served by another tavro-host (process "),
              std::string::npos)
        << second.err;

    ExpectEnded(tavro.Command({"class", "load", "USER", dir / "order.xml"}), 0);
    tavro::DeleteClass(*tavro::OpenStore(tavro.dataDir()), "USER", "Shop.Order",
                       tavro::Actor{"dev"});
    Exit listed = tavro.Command({"class", "list", "USER", "--deleted-since", "-1h"});
    ExpectEnded(listed, 0);
    std::string dataDir = std::filesystem::absolute(tavro.dataDir()).lexically_normal().string();
    std::string command = "tavro-host --data " + dataDir + " class restore USER Shop.Order 2";
    ASSERT_EQ(CountOf(listed.out, "\n"), 1U) << listed.out;
    EXPECT_EQ(listed.out.rfind("Shop.Order\tdeleted ", 0), 0U) << listed.out;
    EXPECT_EQ(listed.out.substr(listed.out.rfind('\t') + 1), command + "\n");
    ExpectEnded(tavro.Command({"class", "list", "USER", "--deleted-since", "2999-01-01"}), 0);
    ExpectEnded(tavro.Command({"class", "list", "USER", "--deleted-since", "2026-02-30"}), 1);

    std::vector<std::string> argv;
    for (std::size_t at = 0; at < command.size();) {
        std::size_t end = std::min(command.find(' ', at), command.size());
        argv.push_back(command.substr(at, end - at));
        at = end + 1;
    }
    ExpectEnded(e2e::Run(dir, argv), 0);
    const std::string formalSpec = "<FormalSpec>list:%List,sep:%String=\",\"</FormalSpec>";
    EXPECT_NE(tavro.Command({"class", "show", "USER", "Shop.Order"}).out.find(formalSpec),
              std::string::npos);

    // Without a version, restore brings back the newest one, which pruning keeps.
    tavro::DeleteClass(*tavro::OpenStore(tavro.dataDir()), "USER", "Shop.Order",
                       tavro::Actor{"dev"});
    ExpectEnded(tavro.Command({"history", "prune", "USER", "--keep", "1"}), 0);
    ExpectEnded(tavro.Command({"class", "restore", "USER", "Shop.Order"}), 0);
    EXPECT_NE(tavro.Command({"class", "show", "USER", "Shop.Order"}).out.find(formalSpec),
              std::string::npos);
    EXPECT_EQ(tavro.Command({"class", "list", "USER", "--deleted-since", "-1h"}).out, "");
    for (const char* group : {"class", "history"}) {
        Exit help = tavro.Command({group, "--help"});
        ExpectEnded(help, 0);
        EXPECT_NE(help.out.find(std::string("  ") + group + " "), std::string::npos);
    }
}

}  // namespace

// The dry run through the real programs: the trial session over TCP and the trial model over
// the socket keep nothing, and what they say is what the run then does.
TEST(DryRun, ThroughTheRealProgramsKeepsNothing) {
    SKIP_WITHOUT_PROGRAMS_OR_SAMPLE();
    TempDir dir("e2e-dry-run");
    TavroServer tavro(dir);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(kLibrary));
    auto env = CliEnvironment(tavro, rose);

    Exit dry = Cli(dir, {"export", "--all", "--dry-run"}, env);
    ExpectEnded(dry, 0);
    EXPECT_EQ(CountOf(dry.out, "would be created: library."), std::size(kLibraryClasses))
        << dry.out;
    EXPECT_EQ(tavro.Command({"class", "show", "USER", "library.Book"}).status, 1);

    ExpectEnded(Cli(dir, {"export", "--all"}, env), 0);
    Exit history = tavro.Command({"class", "history", "USER", "library.Book"});
    std::string shown = rose.Command({"show"}).out;
    dry = Cli(dir, {"export", "--all", "--dry-run"}, env);
    ExpectEnded(dry, 0);
    EXPECT_EQ(CountOf(dry.out, "would be replaced: library."), std::size(kLibraryClasses))
        << dry.out;
    EXPECT_EQ(tavro.Command({"class", "history", "USER", "library.Book"}).out, history.out);

    dry = Cli(dir, {"import", "--all", "--dry-run"}, env);
    ExpectEnded(dry, 0);
    EXPECT_EQ(CountOf(dry.out, "would be replaced: library."), std::size(kLibraryClasses))
        << dry.out;
    EXPECT_EQ(rose.Command({"show"}).out, shown);
    // The trial ended with the run: the model takes a real import again.
    ExpectEnded(Cli(dir, {"import", "--all"}, env), 0);
}
