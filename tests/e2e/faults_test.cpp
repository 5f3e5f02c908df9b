// Faults with the real programs: a server or modelling tool killed in the middle of a run,
// two runs into one server at once, a wrong password and a user without "Development". The
// command line must end by itself with the right status, never by a signal, and the server
// must hold every class whole or not at all.
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <sstream>

#include "tests/e2e/bulk.h"
#include "tests/e2e/programs.h"

namespace {

using e2e::ClassName;
using e2e::CliEnvironment;
using e2e::CountOf;
using e2e::Exit;
using e2e::Inspect;
using e2e::RoseHost;
using e2e::ServerState;
using e2e::StartCli;
using e2e::StoreClasses;
using e2e::TavroServer;
using e2e::TempDir;
using e2e::WriteModel;
using namespace std::chrono_literals;

#define SKIP_WITHOUT_PROGRAMS() \
    if (!e2e::MissingProgram().empty()) GTEST_SKIP() << "not built: " << e2e::MissingProgram()

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

void ExpectNoSignal(const Exit& exit) {
    EXPECT_TRUE(exit.finished) << "still running after the limit";
    EXPECT_FALSE(exit.signalled) << "ended by signal " << exit.status << "\nerr:\n" << exit.err;
}

TEST(ExportClasses, ServerKilledMidRunLeavesEveryClassWholeOrAbsent) {
    SKIP_WITHOUT_PROGRAMS();
    constexpr int kClasses = 300;
    TempDir dir("e2e-kill-tavro");
    TavroServer tavro(dir);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(WriteModel(dir, "Bulk", kClasses)));

    auto cli = StartCli(dir, {"export", "--all"}, CliEnvironment(tavro, rose));
    ASSERT_TRUE(cli->WaitForOutput(
        [](const std::string& out) { return CountOf(out, "New Class Created") >= 3; }, 60s))
        << cli->Out() << cli->Err();
    tavro.Kill();
    Exit exit = cli->Wait(120s);
    ExpectNoSignal(exit);
    EXPECT_EQ(exit.status, 1) << exit.err;

    // Every row reached an outcome; those after the kill failed and say why.
    std::size_t created = CountOf(exit.out, "New Class Created");
    std::size_t failed = 0;
    for (const std::string& line : Lines(exit.out)) {
        if (line.find(": Failed") == std::string::npos) continue;
        ++failed;
        // After any counts of members the dead server failed, the side that went away.
        EXPECT_NE(line.find(": Failed ("), std::string::npos) << "no description: " << line;
        EXPECT_NE(line.find("the Tavro server (tavro-host) "), std::string::npos)
            << "does not name the side that failed: " << line;
    }
    EXPECT_LT(created, static_cast<std::size_t>(kClasses)) << "the run ended before the kill";
    EXPECT_EQ(created + failed, static_cast<std::size_t>(kClasses)) << exit.out;
    EXPECT_NE(exit.out.find("Export complete"), std::string::npos);

    // After a restart every class is there whole or not at all, and every class reported
    // created is there.
    ASSERT_TRUE(tavro.Start());
    ServerState state = Inspect(tavro, "Bulk", kClasses);
    EXPECT_TRUE(state.broken.empty()) << "half-written: " << state.broken.front();
    EXPECT_GE(static_cast<std::size_t>(state.present), created);
    EXPECT_LE(static_cast<std::size_t>(state.present), created + 1);
    RecordProperty("created_before_kill", static_cast<int>(created));

    // The restarted server takes the rest.
    Exit rest = e2e::Cli(dir, {"export", "--all", "--keep-existing"}, CliEnvironment(tavro, rose));
    ExpectNoSignal(rest);
    EXPECT_EQ(rest.status, 0) << rest.out << rest.err;
    state = Inspect(tavro, "Bulk", kClasses);
    EXPECT_EQ(state.present, kClasses);
    EXPECT_TRUE(state.broken.empty());
}

TEST(ImportClasses, ModellingToolKilledMidRunIsReportedWithoutACrash) {
    SKIP_WITHOUT_PROGRAMS();
    constexpr int kClasses = 300;
    TempDir dir("e2e-kill-rose");
    TavroServer tavro(dir);
    StoreClasses(tavro, "Bulk", kClasses);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(""));

    std::string report = dir / "import.json";
    auto cli = StartCli(dir, {"import", "--all", "--report", report}, CliEnvironment(tavro, rose));
    ASSERT_TRUE(cli->WaitForOutput(
        [](const std::string& out) { return out.find("Importing") != std::string::npos; }, 60s))
        << cli->Out() << cli->Err();
    rose.Kill();
    Exit exit = cli->Wait(120s);
    ExpectNoSignal(exit);
    EXPECT_NE(exit.status, 0) << exit.out;
    EXPECT_LT(CountOf(exit.out, "New Class Created"), static_cast<std::size_t>(kClasses))
        << "the run ended before the kill";
    EXPECT_FALSE(exit.err.empty()) << "the failure is not reported\n" << exit.out;
    // The rows or the end of the run name the side that went away, and the report is written.
    EXPECT_NE((exit.out + exit.err).find("the modelling tool (rose-host)"), std::string::npos)
        << exit.out << exit.err;
    EXPECT_NE(e2e::ReadFile(report).find("\"exit_status\": " + std::to_string(exit.status)),
              std::string::npos)
        << e2e::ReadFile(report);
    RecordProperty("cli_stderr", exit.err.substr(0, 200));
}

TEST(ExportClasses, TwoRunsIntoOneServerAtOnceBothComplete) {
    SKIP_WITHOUT_PROGRAMS();
    constexpr int kClasses = 100;
    TempDir dir("e2e-two-exports");
    TavroServer tavro(dir);
    RoseHost alpha(dir, "alpha.sock");
    RoseHost beta(dir, "beta.sock");
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(alpha.Start(WriteModel(dir, "Alpha", kClasses)));
    ASSERT_TRUE(beta.Start(WriteModel(dir, "Beta", kClasses)));

    auto first = StartCli(dir, {"export", "--all"}, CliEnvironment(tavro, alpha));
    auto second = StartCli(dir, {"export", "--all"}, CliEnvironment(tavro, beta));
    Exit exits[] = {first->Wait(120s), second->Wait(120s)};
    for (const Exit& exit : exits) {
        ExpectNoSignal(exit);
        EXPECT_EQ(exit.status, 0) << exit.out << exit.err;
        EXPECT_EQ(CountOf(exit.out, "New Class Created"), static_cast<std::size_t>(kClasses));
    }
    for (const char* category : {"Alpha", "Beta"}) {
        SCOPED_TRACE(category);
        ServerState state = Inspect(tavro, category, kClasses);
        EXPECT_EQ(state.present, kClasses);
        EXPECT_TRUE(state.broken.empty());
    }
}

TEST(ConnectToServer, WrongPasswordEndsTheRunNamingTheServer) {
    SKIP_WITHOUT_PROGRAMS();
    TempDir dir("e2e-password");
    TavroServer tavro(dir);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(WriteModel(dir, "Shop", 2)));

    Exit exit =
        e2e::Cli(dir, {"export", "--all"}, CliEnvironment(tavro, rose, "dev", "not-the-password"));
    ExpectNoSignal(exit);
    EXPECT_EQ(exit.status, 2);
    // The server and the login it refused are named; its own reason follows.
    std::string address = tavro.Connection().substr(0, tavro.Connection().rfind(':'));
    EXPECT_EQ(exit.err.rfind("corvansil-cli: the Tavro server at " + address +
                                 " refused the login of user 'dev' to namespace 'USER': ",
                             0),
              0U)
        << exit.err;
    EXPECT_EQ(Inspect(tavro, "Shop", 2).present, 0);
}

TEST(ExportClass, UserWithoutDevelopmentIsRefusedByTheServer) {
    SKIP_WITHOUT_PROGRAMS();
    TempDir dir("e2e-viewer");
    TavroServer tavro(dir, /*withViewer=*/true);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(WriteModel(dir, "Shop", 2)));

    Exit exit = e2e::Cli(dir, {"export", "--all"}, CliEnvironment(tavro, rose, "viewer"));
    ExpectNoSignal(exit);
    // The add-in asks for the permission when it connects and stops before the first class.
    EXPECT_EQ(exit.status, 2);
    EXPECT_NE(exit.err.find("No 'Development' Security Permission"), std::string::npos)
        << exit.out << exit.err;
    EXPECT_EQ(Inspect(tavro, "Shop", 2).present, 0);
}

// The permission taken away while a run is under way: the server itself refuses the classes
// that follow, and each of those rows says so.
TEST(ExportClass, PermissionRevokedMidRunIsRefusedByTheServer) {
    SKIP_WITHOUT_PROGRAMS();
    constexpr int kClasses = 300;
    TempDir dir("e2e-revoke");
    TavroServer tavro(dir, /*withViewer=*/true);
    ASSERT_EQ(tavro.Command({"user", "grant", "viewer", "Development"}).status, 0);
    RoseHost rose(dir);
    ASSERT_TRUE(tavro.Start());
    ASSERT_TRUE(rose.Start(WriteModel(dir, "Bulk", kClasses)));

    auto cli = StartCli(dir, {"export", "--all"}, CliEnvironment(tavro, rose, "viewer"));
    ASSERT_TRUE(cli->WaitForOutput(
        [](const std::string& out) { return CountOf(out, "New Class Created") >= 3; }, 60s))
        << cli->Out() << cli->Err();
    ASSERT_EQ(tavro.Command({"user", "revoke", "viewer", "Development"}).status, 0);
    Exit exit = cli->Wait(120s);
    ExpectNoSignal(exit);
    EXPECT_EQ(exit.status, 1) << exit.err;

    std::size_t created = CountOf(exit.out, "New Class Created");
    std::size_t refused = CountOf(exit.out, "lacks the 'Development' permission");
    EXPECT_LT(created, static_cast<std::size_t>(kClasses)) << "the run ended before the revoke";
    EXPECT_GT(refused, 0U) << exit.out;
    EXPECT_EQ(created + refused, static_cast<std::size_t>(kClasses)) << exit.out;
    ServerState state = Inspect(tavro, "Bulk", kClasses);
    EXPECT_EQ(static_cast<std::size_t>(state.present), created);
    EXPECT_TRUE(state.broken.empty());
}

}  // namespace
