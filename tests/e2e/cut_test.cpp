// An export with the override set, cut off while it replaces classes: by Ctrl-C of
// corvansil-cli or by the death of either host. A class whose old definition was deleted and
// whose new one was not saved is missing on the server; the run must name every such class,
// on standard error and in its report, with the command that brings it back, and end with
// status 1 by itself. The named commands must indeed restore every class.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>
#include <thread>

#include "tests/e2e/bulk.h"
#include "tests/e2e/programs.h"

namespace {

using e2e::ClassName;
using e2e::Exit;
using namespace std::chrono_literals;

constexpr int kClasses = 30;

enum class Cut : std::uint8_t { InterruptCli, KillTavro, KillRose };

const char* CutName(Cut cut) {
    switch (cut) {
        case Cut::InterruptCli:
            return "SIGINT of corvansil-cli";
        case Cut::KillTavro:
            return "kill -9 of tavro-host";
        case Cut::KillRose:
            return "kill -9 of rose-host";
    }
    return "";
}

struct CutOutcome {
    Exit exit;
    std::string report;
    std::vector<std::string> missing;   // absent from the server after the cut
    std::vector<std::string> unnamed;   // missing, yet not named with its restore command
    std::vector<std::string> needless;  // named, yet still there
    e2e::ServerState restored;          // after running every named restore command
};

bool Named(const CutOutcome& outcome, const std::string& name) {
    std::string restore = "tavro-host class restore USER " + name;
    return outcome.exit.err.find(name + ": restore it with: " + restore + "\n") !=
               std::string::npos &&
           outcome.report.find("{\"name\": \"" + name + "\", \"restore\": \"" + restore + "\"}") !=
               std::string::npos;
}

// Exports the generated classes over the same classes on the server, cuts the run once
// `waitForCut` returns, and looks at what the server holds, before and after the restores
// the run named.
CutOutcome CutExport(Cut cut, const std::function<void(e2e::Child&)>& waitForCut) {
    e2e::TempDir dir("e2e-cut");
    e2e::TavroServer tavro(dir);
    e2e::StoreClasses(tavro, "Bulk", kClasses);
    e2e::RoseHost rose(dir);
    if (!tavro.Start()) throw std::runtime_error("tavro-host did not start");
    if (!rose.Start(e2e::WriteModel(dir, "Bulk", kClasses))) {
        throw std::runtime_error("rose-host did not start");
    }
    std::string report = dir / "export.json";
    auto cli = e2e::StartCli(dir, {"export", "--all", "--report", report},
                             e2e::CliEnvironment(tavro, rose));
    waitForCut(*cli);
    switch (cut) {
        case Cut::InterruptCli:
            cli->Signal(SIGINT);
            break;
        case Cut::KillTavro:
            tavro.Kill();
            break;
        case Cut::KillRose:
            rose.Kill();
            break;
    }
    CutOutcome outcome;
    outcome.exit = cli->Wait(120s);
    outcome.report = e2e::ReadFile(report);
    if (cut == Cut::KillTavro && !tavro.Start()) {
        throw std::runtime_error("tavro-host did not start again");
    }
    outcome.missing = e2e::Inspect(tavro, "Bulk", kClasses).absent;
    for (const std::string& name : outcome.missing) {
        if (!Named(outcome, name)) outcome.unnamed.push_back(name);
    }
    for (int i = 1; i <= kClasses; ++i) {
        std::string name = ClassName("Bulk", i);
        if (!Named(outcome, name)) continue;
        if (std::find(outcome.missing.begin(), outcome.missing.end(), name) ==
            outcome.missing.end()) {
            outcome.needless.push_back(name);
        }
        tavro.Command({"class", "restore", "USER", name});
    }
    outcome.restored = e2e::Inspect(tavro, "Bulk", kClasses);
    return outcome;
}

void WaitForReplaced(e2e::Child& cli, std::size_t count) {
    cli.WaitForOutput(
        [count](const std::string& out) {
            return e2e::CountOf(out, "Existing Class Replaced") >= count;
        },
        60s);
}

TEST(ExportClasses, CutOffMidRunNamesEveryClassItLeftDeleted) {
    if (!e2e::MissingProgram().empty()) GTEST_SKIP() << "not built: " << e2e::MissingProgram();
    struct Case {
        Cut cut;
        const char* says;  // in the rows or the diagnostics
    };
    const Case cases[] = {
        {Cut::InterruptCli, "corvansil-cli: stopped by SIGINT: nothing further was written\n"},
        {Cut::KillTavro, "the Tavro server (tavro-host) closed the connection"},
        {Cut::KillRose, "the modelling tool (rose-host) closed the connection"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(CutName(c.cut));
        CutOutcome outcome = CutExport(c.cut, [](e2e::Child& cli) { WaitForReplaced(cli, 3); });
        const Exit& exit = outcome.exit;
        EXPECT_TRUE(exit.finished && !exit.signalled) << exit.err;
        EXPECT_EQ(exit.status, 1) << exit.out << exit.err;
        EXPECT_NE((exit.out + exit.err).find(c.says), std::string::npos) << exit.out << exit.err;
        EXPECT_NE(outcome.report.find("\"exit_status\": 1"), std::string::npos) << outcome.report;
        EXPECT_LE(outcome.missing.size(), 1U);
        EXPECT_TRUE(outcome.unnamed.empty()) << "not named: " << outcome.unnamed.front();
        EXPECT_EQ(outcome.restored.present, kClasses);
        EXPECT_TRUE(outcome.restored.broken.empty()) << outcome.restored.broken.front();
    }
}

// Not run by default: CORVANSIL_CUTS exports (20 unless set), each cut at a random moment by
// one of the three causes in turn. Prints one line per run and the totals. Run with
// `build/dev/tests/e2e/e2e_programs_test --gtest_also_run_disabled_tests
// --gtest_filter='*RandomCuts*'`.
TEST(ExportClasses, DISABLED_RandomCutsNameEveryClassTheyLeftDeleted) {
    if (!e2e::MissingProgram().empty()) GTEST_SKIP() << "not built: " << e2e::MissingProgram();
    const char* runsText = std::getenv("CORVANSIL_CUTS");
    int runs = runsText ? std::atoi(runsText) : 20;
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> delayMs(0, 1500);
    std::size_t missing = 0;
    std::size_t unnamed = 0;
    std::size_t needless = 0;
    for (int run = 0; run < runs; ++run) {
        Cut cut = static_cast<Cut>(run % 3);
        int delay = delayMs(random);
        CutOutcome outcome = CutExport(cut, [delay](e2e::Child& cli) {
            cli.WaitForOutput(
                [](const std::string& out) { return out.find("Exporting") != std::string::npos; },
                60s);
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        });
        missing += outcome.missing.size();
        unnamed += outcome.unnamed.size();
        needless += outcome.needless.size();
        std::cout << "run " << run + 1 << ": " << CutName(cut) << " after " << delay
                  << " ms: status " << outcome.exit.status
                  << (outcome.exit.signalled ? " (signalled)" : "") << ", replaced "
                  << e2e::CountOf(outcome.exit.out, "Existing Class Replaced") << ", missing "
                  << outcome.missing.size() << ", named "
                  << outcome.missing.size() - outcome.unnamed.size() << ", named but present "
                  << outcome.needless.size() << ", whole after the restores "
                  << outcome.restored.present - static_cast<int>(outcome.restored.broken.size())
                  << "/" << kClasses << "\n";
        EXPECT_TRUE(outcome.exit.finished && !outcome.exit.signalled) << outcome.exit.err;
        EXPECT_TRUE(outcome.unnamed.empty());
        EXPECT_EQ(outcome.restored.present, kClasses);
    }
    std::cout << "total: " << runs << " runs, " << missing << " classes missing, "
              << missing - unnamed << " of them named with their restore command, " << needless
              << " named but present\n";
}

}  // namespace
