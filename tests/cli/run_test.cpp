// RunCommand against rose-host's and tavro-host's objects in process: the printed lines, the
// report, the dry run and the exit statuses.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "cli_world.h"
#include "hosts/rose/host/host.h"

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

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

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

TEST(RunCommand, AFailedClassGivesExitStatusOne) {
    CliWorld world;
    if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
    // "Final" is a Boolean keyword of the server; "yes" is no Boolean text.
    rosehost::SetToolProperty(*world.FindClass("Product"), "Tavro", "Final", "yes");

    EXPECT_EQ(world.Run({"export", "Shop.Product", "Shop.Customer"}), cli::kExitFailed);

    EXPECT_EQ(LinesStartingWith(world.out, "FAILED"),
              std::vector<std::string>{"FAILED Shop.Product: Failed (Type mismatch)"});
    EXPECT_EQ(LinesStartingWith(world.out, "done"),
              std::vector<std::string>{"done   Shop.Customer: New Class Created"});
}

TEST(RunCommand, DryRunExportChangesNothingAndSaysWhatWouldHappen) {
    CliWorld world;
    if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
    ASSERT_EQ(world.Run({"export", "Shop.Product", "Shop.Customer"}), cli::kExitOk) << world.err;
    tavro::ClassDef before;
    ASSERT_TRUE(world.Load("Shop.Product", before));
    // Since the export: one attribute more, one fewer, one of another type.
    auto product = world.FindClass("Product");
    rosehost::CreateAttribute(*world.model, *product, "weight", "Integer", "");
    product->attributes.erase(product->attributes.begin());  // "name"
    for (auto& attribute : product->attributes) {
        if (attribute->name == "stock") attribute->type = "String";
    }
    std::string report = TempFile(world, "dry.json");

    EXPECT_EQ(world.Run({"export", "Shop.Product", "Shop.Customer", "Shop.Order.Order",
                         "--keep-existing", "--dry-run", "--report", report}),
              cli::kExitOk)
        << world.err;

    EXPECT_EQ(LinesStartingWith(world.out, "would"),
              (std::vector<std::string>{"would be skipped: Shop.Customer",
                                        "would be created: Shop.Order.Order",
                                        "would be skipped: Shop.Product"}));
    EXPECT_NE(world.out.find("would be skipped: Shop.Product\n"
                             "    changed property stock (%Integer -> %String)\n"
                             "    added property weight\n"
                             "    dropped property name\n"),
              std::string::npos)
        << world.out;
    EXPECT_NE(world.out.find("-- dry run: nothing was changed"), std::string::npos);
    tavro::ClassDef after;
    ASSERT_TRUE(world.Load("Shop.Product", after));
    EXPECT_EQ(after.properties.size(), before.properties.size());
    EXPECT_FALSE(world.Load("Shop.Order.Order", after));
    std::string json = ReadFile(report);
    EXPECT_NE(json.find("{\"name\": \"Shop.Order.Order\", \"outcome\": \"created\""),
              std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"price\", \"kind\": \"property\", \"outcome\": "
                        "\"unchanged\"}"),
              std::string::npos);
}

TEST(RunCommand, ImportsTheExportedClassesIntoANewModelOrOnlySaysWhatWouldChange) {
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

    // A dry run against a changed model leaves it alone.
    world.FindClass("OrderLine")->attributes.clear();
    std::string shown = rosehost::ShowModel(*world.model);
    EXPECT_EQ(world.Run({"import", "Shop.Order.Order*", "--dry-run"}), cli::kExitOk) << world.err;
    EXPECT_EQ(LinesStartingWith(world.out, "would"),
              (std::vector<std::string>{"would be replaced: Shop.Order.Order",
                                        "would be replaced: Shop.Order.OrderLine"}));
    EXPECT_NE(world.out.find("would be replaced: Shop.Order.OrderLine\n"
                             "    added property quantity\n"
                             "    added property price\n"),
              std::string::npos)
        << world.out;
    EXPECT_EQ(rosehost::ShowModel(*world.model), shown);
}

TEST(RunCommand, ExitStatusTwoNamesWhatIsWrong) {
    struct Case {
        std::vector<std::string> args;
        bool roseRunning;
        bool serverGiven;
        const char* message;
    };
    const std::string kNoRose = "corvansil-cli: cannot reach rose-host at /nonexistent/rose.sock\n";
    const Case cases[] = {
        {{"export", "--all"}, false, true, kNoRose.c_str()},
        {{"import", "--all"}, false, true, kNoRose.c_str()},
        {{"export", "--all", "--password-file", "/dev/null"},
         true,
         true,
         "corvansil-cli: cannot reach the Tavro server at 127.0.0.1:48100:USER\n"},
        {{"export", "--all", "--password-file", "/nonexistent"},
         true,
         true,
         "corvansil-cli: cannot read the password file /nonexistent\n"},
        {{"export", "Shop.Product", "Web.*"},
         true,
         true,
         "corvansil-cli: no class of the model matches 'Web.*'\n"},
        {{"system"},
         true,
         false,
         "corvansil-cli: no Tavro server given: use --server HOST:PORT:NAMESPACE or set "
         "TAVRO_CONNECTION\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        CliWorld world;
        if (!world.ServeShop()) GTEST_SKIP() << "examples/shop.mdl cannot be read";
        if (!c.roseRunning) world.StopRose();
        if (!c.serverGiven) ::unsetenv("TAVRO_CONNECTION");
        EXPECT_EQ(world.Run(c.args), cli::kExitUnreachable);
        EXPECT_EQ(world.err, c.message);
        tavro::ClassDef def;
        EXPECT_FALSE(world.Load("Shop.Product", def));
    }
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
