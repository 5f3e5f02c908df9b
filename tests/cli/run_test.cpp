// RunCommand against rose-host's and tavro-host's objects in process: the printed lines, the
// report, the dry run and the exit statuses.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "automation/rpc.h"
#include "cli_world.h"
#include "hosts/rose/host/host.h"
#include "platform/tavro_factory.h"
#include "tests/support/support.h"

namespace {

using cli_test::CliWorld;
using cli_test::LinesStartingWith;

const std::vector<std::string> kShopClasses = {
    "Shop.Address",         "Shop.Customer", "Shop.Order.Order", "Shop.Order.OrderLine",
    "Shop.Order.RushOrder", "Shop.Product",  "Shop.ProductGroup"};

std::vector<std::string> OutcomeLines(const std::string& outcome) {
    std::vector<std::string> lines;
    for (const std::string& name : kShopClasses) lines.push_back("done   " + name + ": " + outcome);
    return lines;
}

using testsupport::ReadFile;

std::string TempFile(const CliWorld& world, const char* name) {
    return (std::filesystem::path(world.dataDir) / name).string();
}

TEST(RunCommand, ExportsEveryShopClassThenReplacesOrKeepsThem) {
    CliWorld world;
    if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
    std::string report = TempFile(world, "export.json");

    EXPECT_EQ(world.Run({"export", "--all", "--report", report}), cli::kExitOk) << world.err;

    EXPECT_EQ(LinesStartingWith(world.out, "done"), OutcomeLines("New Class Created"));
    EXPECT_EQ(LinesStartingWith(world.out, "-- "),
              (std::vector<std::string>{"-- Connected to shop", "-- Starting Export",
                                        "-- Connected to Tavro", "-- Exporting ...",
                                        "-- Export complete"}));
    std::string json = ReadFile(report);
    EXPECT_NE(json.find("\"command\": \"export\""), std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"Shop.Customer\", \"outcome\": \"New Class Created\", "
                        "\"detail\": \"\", \"members\": [\n"
                        "      {\"name\": \"name\", \"kind\": \"property\", \"outcome\": "
                        "\"exported\"},"),
              std::string::npos);
    // The role at the order's end of "places" names a relationship of the customer.
    EXPECT_NE(json.find("{\"name\": \"orders\", \"kind\": \"relationship\", \"outcome\": "
                        "\"exported\"}"),
              std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"canOrder\", \"kind\": \"method\", \"outcome\": "
                        "\"exported\"}"),
              std::string::npos);
    EXPECT_NE(json.find("\"status\": \"Export complete\""), std::string::npos);

    // Classes the server has already: replaced, or kept when asked.
    EXPECT_EQ(world.Run({"export", "Shop.*"}), cli::kExitOk) << world.err;
    EXPECT_EQ(LinesStartingWith(world.out, "done"), OutcomeLines("Existing Class Replaced"));
    EXPECT_EQ(world.Run({"export", "Shop.*", "--keep-existing"}), cli::kExitOk) << world.err;
    EXPECT_EQ(LinesStartingWith(world.out, "done"), OutcomeLines("Existing Class Skipped"));
}

// A class that failed, or one written without the parts only its XML holds, is a run that did
// not do all it was asked: exit status 1. The row of the latter reads as the class's outcome
// always does; standard error and the report name the class and why.
TEST(RunCommand, AFailedClassOrALostClassXmlGivesExitStatusOne) {
    struct Case {
        const char* name;
        const char* tool;
        const char* property;
        const char* value;
        std::vector<std::string> failed;
        std::vector<std::string> done;
        bool xmlLost;
    };
    const Case cases[] = {
        // "Final" is a Boolean keyword of the server; "yes" is no Boolean text.
        {"a failed class",
         "Tavro",
         "Final",
         "yes",
         {"FAILED Shop.Product: Failed (Type mismatch)"},
         {"done   Shop.Customer: New Class Created"},
         false},
        // The server cannot read the XML the model keeps for the class.
        {"a class XML not stored",
         "TavroHidden",
         "TavroClassXml",
         "<Class name=\"Shop.Product\">",
         {},
         {"done   Shop.Customer: New Class Created", "done   Shop.Product: New Class Created"},
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CliWorld world;
        if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
        auto product = world.FindClass("Product");
        if (c.xmlLost) rosehost::SetToolProperty(*product, "TavroHidden", "XmlDefined", "True");
        rosehost::SetToolProperty(*product, c.tool, c.property, c.value);
        std::string report = TempFile(world, "run.json");

        EXPECT_EQ(world.Run({"export", "Shop.Product", "Shop.Customer", "--report", report}),
                  cli::kExitFailed);

        EXPECT_EQ(LinesStartingWith(world.out, "FAILED"), c.failed);
        EXPECT_EQ(LinesStartingWith(world.out, "done"), c.done);
        std::string json = ReadFile(report);
        if (!c.xmlLost) {
            EXPECT_EQ(json.find("hidden_parts_not_kept"), std::string::npos);
            continue;
        }
        // The message box the window shows has the server's error only.
        std::vector<std::string> lines = LinesStartingWith(world.err, "corvansil-cli: ");
        ASSERT_EQ(lines.size(), 2U) << world.err;
        std::string error = lines[0].substr(std::string("corvansil-cli: ").size());
        EXPECT_FALSE(error.empty());
        EXPECT_EQ(lines[1],
                  "corvansil-cli: the class XML of Shop.Product was not stored, so the parts only "
                  "it holds (storage, queries, indices, code) were not kept: " +
                      error);
        EXPECT_NE(json.find("{\"name\": \"Shop.Product\", \"outcome\": \"New Class Created\", "
                            "\"detail\": \"\", \"hidden_parts_not_kept\": "),
                  std::string::npos)
            << json;
        EXPECT_NE(json.find("\"exit_status\": 1"), std::string::npos);
    }
}

// Each member of an exported class as the export took it: written, passed over (a role that
// holds no value, a member whose name a later one of its kind took over) or refused, with why.
TEST(RunCommand, ReportsWhatTheExportDidWithEachMember) {
    CliWorld world;
    auto shop = rosehost::CreateCategory(*world.model, world.model->top, "Shop");
    auto item = rosehost::CreateClass(*world.model, shop, "Item");
    rosehost::CreateAttribute(*world.model, *item, "code", "String", "");
    auto twin = rosehost::CreateAttribute(*world.model, *item, "code", "String", "");
    rosehost::SetToolProperty(*twin, "Tavro", "Calculated", "yes");
    rosehost::CreateOperation(*world.model, *item, "total", "Integer");
    rosehost::CreateOperation(*world.model, *item, "total", "Currency");
    auto association =
        rosehost::CreateAssociation(*world.model, *item, "", "Logical View::Shop::Item");
    association->roles[1]->name = "parts";
    association->roles[1]->multiplicity = "0";
    std::string report = TempFile(world, "members.json");

    EXPECT_EQ(world.Run({"export", "Shop.Item", "--report", report}), cli::kExitOk) << world.err;

    EXPECT_NE(ReadFile(report).find(
                  "\"members\": [\n"
                  "      {\"name\": \"code\", \"kind\": \"property\", \"outcome\": \"exported\"},\n"
                  "      {\"name\": \"code\", \"kind\": \"property\", \"outcome\": \"failed\", "
                  "\"reason\": \"Type mismatch\"},\n"
                  "      {\"name\": \"total\", \"kind\": \"method\", \"outcome\": \"skipped\", "
                  "\"reason\": \"a later method of the same name replaced it\"},\n"
                  "      {\"name\": \"total\", \"kind\": \"method\", \"outcome\": \"exported\"},\n"
                  "      {\"name\": \"parts\", \"kind\": \"relationship\", \"outcome\": "
                  "\"skipped\", \"reason\": \"the multiplicity \\\"0\\\" holds no value\"}\n"
                  "    ]}"),
              std::string::npos)
        << ReadFile(report);
}

TEST(RunCommand, ImportsTheExportedClassesIntoANewModel) {
    CliWorld world;
    if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
    ASSERT_EQ(world.Run({"export", "--all"}), cli::kExitOk) << world.err;
    world.ServeEmptyModel();
    std::string report = TempFile(world, "import.json");

    EXPECT_EQ(world.Run({"import", "--all", "--report", report}), cli::kExitOk) << world.err;

    std::vector<std::string> expected = OutcomeLines("New Class Initialized");
    for (const std::string& line : OutcomeLines("New Class Created")) expected.push_back(line);
    // A model made in process has no current class diagram to draw the new classes on.
    expected.push_back("done   Rose Diagrams Updated");
    EXPECT_EQ(LinesStartingWith(world.out, "done"), expected);
    ASSERT_NE(world.FindClass("RushOrder"), nullptr);
    EXPECT_EQ(world.FindClass("Customer")->operations.size(), 2U);
    std::string json = ReadFile(report);
    EXPECT_NE(json.find("{\"name\": \"birthDate\", \"kind\": \"property\", \"outcome\": "
                        "\"imported\"}"),
              std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"canOrder\", \"kind\": \"method\", \"outcome\": "
                        "\"imported\"}"),
              std::string::npos);
}

// The Tavro server a row of ExitStatusTwoNamesWhatIsWrong connects to.
enum class Server : std::uint8_t {
    InProcess,  // tavro-host's objects in this process
    Closed,     // a loopback port nothing listens on
    Busy,       // a server that turns every connection away
};

std::string Substituted(std::string text, const std::string& port) {
    for (std::size_t at = text.find("{port}"); at != std::string::npos; at = text.find("{port}"))
        text.replace(at, 6, port);
    return text;
}

std::string PortOf(const std::string& address) { return address.substr(address.rfind(':') + 1); }

TEST(RunCommand, ExitStatusTwoNamesWhatIsWrong) {
    struct Case {
        std::vector<std::string> args;  // "{port}" is the port of a Closed or Busy server
        bool roseRunning;
        bool serverGiven;
        const char* message;
        Server server = Server::InProcess;
        bool withDefaults = true;
    };
    const std::string kNoRose = "corvansil-cli: cannot reach rose-host at /nonexistent/rose.sock\n";
    const std::string kNoDefaults =
        "corvansil-cli: the modelling tool has not loaded the add-in's model property defaults "
        "(the class keyword DdlAllowed of Shop.Product reads \"\", not its default \"False\"), "
        "so every class would fail \"Type mismatch\": the model property file Corvansil.pty "
        "beside the corvansil executable or the registry file /nonexistent/registry.reg "
        "($CORVANSIL_REGISTRY) that names it is missing or damaged; run corvansil INSTALL, then "
        "restart the modelling tool\n";
    const Case cases[] = {
        {{"export", "--all"}, false, true, kNoRose.c_str()},
        {{"import", "--all"}, false, true, kNoRose.c_str()},
        // The server does not say whether the user or the password was wrong.
        {{"export", "--all", "--password-file", "/dev/null"},
         true,
         true,
         "corvansil-cli: the Tavro server at 127.0.0.1:48100 refused the login of user 'dev' to "
         "namespace 'USER': access denied: wrong user name or password\n"},
        {{"import", "--all", "--user", "nobody"},
         true,
         true,
         "corvansil-cli: the Tavro server at 127.0.0.1:48100 refused the login of user 'nobody' "
         "to namespace 'USER': access denied: wrong user name or password\n"},
        {{"export", "--all", "--server", "127.0.0.1:48100:NOPE"},
         true,
         true,
         "corvansil-cli: the Tavro server at 127.0.0.1:48100 refused the login of user 'dev' to "
         "namespace 'NOPE': access denied: no namespace NOPE\n"},
        {{"export", "--all", "--user", "viewer"},
         true,
         true,
         "corvansil-cli: No 'Development' Security Permission\n"
         "corvansil-cli: the user 'viewer' may not change classes on the Tavro server at "
         "127.0.0.1:48100:USER\n"},
        {{"export", "--all", "--server", "127.0.0.1:USER"},
         true,
         true,
         "corvansil-cli: the Tavro server address '127.0.0.1:USER' is not HOST:PORT:NAMESPACE\n"},
        {{"export", "--all", "--server", "127.0.0.1:{port}:USER"},
         true,
         true,
         "corvansil-cli: the Tavro server (tavro-host) does not answer at tcp:127.0.0.1:{port}: "
         "Connection refused\n",
         Server::Closed},
        {{"export", "--all", "--server", "127.0.0.1:{port}:USER"},
         true,
         true,
         "corvansil-cli: the Tavro server (tavro-host) refused the connection: too many "
         "connections\n",
         Server::Busy},
        {{"export", "--all", "--password-file", "/nonexistent"},
         true,
         true,
         "corvansil-cli: cannot read the password file /nonexistent\n"},
        {{"export", "Shop.Product", "Web.*"},
         true,
         true,
         "corvansil-cli: no class of the model matches 'Web.*'\n"},
        // Listed only with the options that list system and datatype classes.
        {{"import", "--include-datatype", "%Library.String"},
         true,
         true,
         "corvansil-cli: no listed class of the server matches '%Library.String': "
         "%Library.String is a system class and a datatype class; add --include-system to list "
         "it\n"},
        {{"import", "%Library.Persistent", "Web.*"},
         true,
         true,
         "corvansil-cli: no listed class of the server matches '%Library.Persistent': "
         "%Library.Persistent is a system class; add --include-system to list it\n"
         "corvansil-cli: no class of the server matches 'Web.*'\n"},
        {{"import", "--include-system", "%Library.*Int"},
         true,
         true,
         "corvansil-cli: no listed class of the server matches '%Library.*Int': 3 classes of "
         "the server match it, system or datatype classes; add --include-datatype to list "
         "them\n"},
        {{"system"},
         true,
         false,
         "corvansil-cli: no Tavro server given: use --server HOST:PORT:NAMESPACE or set "
         "TAVRO_CONNECTION\n"},
        // Refused before the server is touched, not after it was changed.
        {{"export", "--all", "--report", "/nonexistent/export.json"},
         true,
         true,
         "corvansil-cli: cannot write the report to /nonexistent/export.json: No such file or "
         "directory\n"},
        {{"export", "Shop.Product"}, true, true, kNoDefaults.c_str(), Server::InProcess, false},
        {{"export", "Shop.Product", "--dry-run"},
         true,
         true,
         kNoDefaults.c_str(),
         Server::InProcess,
         false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        CliWorld world;
        if (!world.ServeShop(c.withDefaults)) GTEST_SKIP() << "examples/shop.mdl cannot be read";
        if (!c.roseRunning) world.StopRose();
        if (!c.serverGiven) ::unsetenv("TAVRO_CONNECTION");
        std::string port;
        std::unique_ptr<automation::rpc::Server> busy;
        if (c.server == Server::Closed) {
            // A port that was free a moment ago: nothing listens there now.
            automation::rpc::Server gone(
                [](const automation::rpc::ConnectionInfo&) { return automation::ObjectRef(); });
            gone.Listen("tcp:127.0.0.1:0");
            port = PortOf(gone.Address());
        }
        if (c.server == Server::Busy) {
            busy = std::make_unique<automation::rpc::Server>(
                [](const automation::rpc::ConnectionInfo&) -> automation::ObjectRef {
                    throw automation::AutomationError("too many connections");
                });
            busy->Listen("tcp:127.0.0.1:0");
            busy->Start();
            port = PortOf(busy->Address());
        }
        // Both use the transport a real server is reached by.
        if (c.server != Server::InProcess) platform::ResetTavro();
        std::vector<std::string> args;
        for (const std::string& arg : c.args) args.push_back(Substituted(arg, port));

        EXPECT_EQ(world.Run(args), cli::kExitUnreachable);
        EXPECT_EQ(world.err, Substituted(c.message, port));
        tavro::ClassDef def;
        EXPECT_FALSE(world.Load("Shop.Product", def));
    }
}

TEST(RunCommand, WritesTheReportOfARunThatStoppedByRenamingANewFileOverTheOld) {
    CliWorld world;
    if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
    std::string report = TempFile(world, "run.json");
    std::ofstream(report) << "the report of an earlier run";
    world.StopRose();

    EXPECT_EQ(world.Run({"export", "--all", "--report", report}), cli::kExitUnreachable);

    EXPECT_EQ(ReadFile(report),
              "{\n  \"command\": \"export\",\n  \"classes\": [],\n  \"status\": \"\",\n"
              "  \"exit_status\": 2,\n"
              "  \"error\": \"cannot reach rose-host at /nonexistent/rose.sock\",\n"
              "  \"deleted_not_saved\": []\n}\n");
    std::size_t besideIt = 0;
    for (const auto& entry : std::filesystem::directory_iterator(world.dataDir)) {
        if (entry.path().filename().string().rfind("run.json", 0) == 0) ++besideIt;
    }
    EXPECT_EQ(besideIt, 1U) << "a temporary file was left beside the report";
}

TEST(RunCommand, LoadsSystemClassesOnceAndThenFindsThemThere) {
    CliWorld world;
    ASSERT_EQ(world.Run({"system"}), cli::kExitOk) << world.err;
    std::vector<std::string> first = LinesStartingWith(world.out, "done");
    ASSERT_FALSE(first.empty());
    EXPECT_NE(first[0].find(": Done"), std::string::npos) << first[0];
    EXPECT_NE(world.out.find("-- Done\n"), std::string::npos);

    ASSERT_EQ(world.Run({"system"}), cli::kExitOk) << world.err;
    std::vector<std::string> second = LinesStartingWith(world.out, "done");
    ASSERT_EQ(second.size(), first.size());
    for (const std::string& line : second) {
        EXPECT_NE(line.find(": Already Defined"), std::string::npos) << line;
    }
}

}  // namespace
