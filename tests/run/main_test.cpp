#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/platform.h"
#include "platform/registry.h"
#include "run/run.h"
#include "tests/support/support.h"
#include "window/window.h"

namespace {

namespace fs = std::filesystem;

TEST(CommandWord, ChoosesTheRunFromTheWholeLine) {
    struct Case {
        const char* line;
        run::RunKind kind;
        std::int16_t linkMode;
        const char* host;
    };
    using K = run::RunKind;
    const Case cases[] = {
        {"EXPORT", K::Export, 1, "Rose"},
        {"  eXpOrT   ", K::Export, 1, "Rose"},
        {"IMPORT", K::Import, 2, "Rose"},
        {"datatypes", K::Datatypes, 3, "Rose"},
        {" System", K::System, 4, "Rose"},
        {"INSTALL", K::SilentInstall, 0, "Rose"},
        {"EXPORT now", K::InteractiveInstall, 0, "Rose"},
        {"", K::InteractiveInstall, 0, "Rose"},
        {"    ", K::InteractiveInstall, 0, "Rose"},
        {"msvm", K::InteractiveInstall, 0, "MSVM"},
        {" MSVM ", K::InteractiveInstall, 0, "MSVM"},
        {"MSVM x", K::InteractiveInstall, 0, "Rose"},
        {"EXPORTS", K::InteractiveInstall, 0, "Rose"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("\"") + c.line + "\"");
        const std::string word = run::CommandWord(c.line);
        EXPECT_EQ(run::RunKindOf(word), c.kind);
        EXPECT_EQ(static_cast<int>(run::LinkModeOf(run::RunKindOf(word))), c.linkMode);
        EXPECT_EQ(run::HostWordFor(word), c.host);
    }
}

TEST(GetInstallDirectory, IsTheRunningProgramsDirectoryWithoutOneTrailingSeparator) {
    struct Case {
        const char* directory;
        const char* expected;
    };
    const Case cases[] = {
        {"/opt/corvansil", "/opt/corvansil"},
        {"/opt/corvansil/", "/opt/corvansil"},
        {"/", ""},
        {"/opt//", "/opt/"},
        {"/opt/My Tools", "/opt/My Tools"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.directory);
        EXPECT_EQ(run::InstallDirectoryFrom(c.directory), c.expected);
    }
    EXPECT_EQ(run::GetInstallDirectory(), fs::read_symlink("/proc/self/exe").parent_path());
}

using testsupport::ReadFile;

// Records what `Main` asks of the windows and the platform, answers the install prompt with
// `answer`, and puts the program in a fresh directory with its own registry file.
struct Scripted {
    explicit Scripted(platform::Answer answer) {
        setenv("CORVANSIL_REGISTRY", registry.c_str(), 1);
        savedExecutableDirectory = platform::ExecutableDirectoryOp();
        platform::ExecutableDirectoryOp() = [this] { return dir + "/"; };

        auto note = [this](std::string event) { events.push_back(std::move(event)); };
        run::RunOps& ops = run::Ops();
        ops.showStartUpModal = [note] { note("start-up modal"); };
        ops.showStartUp = [note] { note("start-up"); };
        ops.setStartUpProgress = [note](const std::string& text) { note("progress " + text); };
        ops.startStartUpTimer = [note] { note("timer on"); };
        ops.showTransferWindow = [note] {
            note("transfer window, mode " + std::to_string(static_cast<int>(window::LinkMode)));
        };
        ops.addTavroSpecialClasses = [note] {
            note("special classes");
            return true;
        };
        platform::UiOps& ui = platform::Ui();
        ui.messageBox = [note, answer](const platform::MessageBoxRequest& box) {
            bool okCancel = box.buttons == platform::Buttons::OkCancel;
            bool question = box.icon == platform::Icon::Question;
            note("box " + box.title + ": " + box.text + (okCancel ? " [OK Cancel]" : "") +
                 (question ? " ?" : ""));
            return answer;
        };
        ui.doEvents = [note] { note("events"); };
        ui.endProcess = [note](int status) {
            note("end " + std::to_string(status));
            throw platform::ProcessEnded{status};
        };
    }
    ~Scripted() {
        unsetenv("CORVANSIL_REGISTRY");
        run::ResetOps();
        platform::ResetUi();
        platform::ResetFiles();
        platform::ExecutableDirectoryOp() = savedExecutableDirectory;
    }
    void Run(const std::string& line) {
        try {
            run::Main(line);
        } catch (const platform::ProcessEnded&) {
        }
    }
    testsupport::TempDir temp{"corvansil-run"};
    std::string dir = temp.path();
    std::string registry = dir + "/registry.reg";
    std::vector<std::string> events;
    std::function<std::string()> savedExecutableDirectory;
};

TEST(Main, DispatchesEachKindOfRun) {
    using platform::Answer;
    struct Case {
        const char* line;
        Answer answer;
        std::vector<std::string> events;  // "<D>" stands for the install directory
        const char* host;                 // nullptr: nothing installed
    };
    const std::string prompt =
        "box Installation: Install Corvansil Version 1.0.0.1.0 in <D> [OK Cancel] ?";
    const std::vector<std::string> installed = {"start-up", "progress Installing ...",
                                                "events",   "progress Installation Complete",
                                                "timer on", "events"};
    auto then = [](std::vector<std::string> a, const std::vector<std::string>& b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    };
    const std::vector<std::string> modal = {"start-up modal"};
    // clang-format off
    const Case cases[] = {
        {"export", Answer::Cancel, then(modal, {"transfer window, mode 1"}), nullptr},
        {"IMPORT", Answer::Cancel, then(modal, {"transfer window, mode 2"}), nullptr},
        {"DataTypes", Answer::Cancel, then(modal, {"transfer window, mode 3", "special classes"}), nullptr},
        {"SYSTEM", Answer::Cancel, then(modal, {"transfer window, mode 4", "special classes"}), nullptr},
        {"INSTALL", Answer::Cancel, {"end 0"}, "Rose"},
        {"", Answer::Cancel, then(modal, {prompt, "end 0"}), nullptr},
        {"MSVM", Answer::Cancel, then(modal, {prompt, "end 0"}), nullptr},
        {"", Answer::Ok, then(then(modal, {prompt}), installed), "Rose"},
        {"export now", Answer::Ok, then(then(modal, {prompt}), installed), "Rose"},
        {"msvm", Answer::Ok, then(then(modal, {prompt}), installed), "MSVM"},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string("\"") + c.line + "\"");
        Scripted script(c.answer);
        script.Run(c.line);

        std::vector<std::string> expected;
        for (std::string event : c.events) {
            if (auto at = event.find("<D>"); at != std::string::npos)
                event.replace(at, 3, script.dir);
            expected.push_back(event);
        }
        EXPECT_EQ(script.events, expected);

        if (c.host == nullptr) {
            EXPECT_FALSE(fs::exists(script.registry));
            EXPECT_FALSE(fs::exists(script.dir + "/Corvansil.mnu"));
            EXPECT_FALSE(fs::exists(script.dir + "/Corvansil.pty"));
            continue;
        }
        std::string installDir;
        EXPECT_TRUE(
            platform::ReadRegistryValue(install::AddInKeyPath(c.host), "InstallDir", installDir));
        EXPECT_EQ(installDir, script.dir);
        EXPECT_EQ(platform::ListRegistrySubkeys("SOFTWARE").size(), 1u);
        EXPECT_EQ(ReadFile(script.dir + "/Corvansil.mnu"), install::MenuFileText(script.dir));
        EXPECT_EQ(ReadFile(script.dir + "/Corvansil.pty"), install::PropertyFileText());
    }
}

TEST(Main, EndsAnInstallationWhoseFileCannotBeWritten) {
    Scripted script(platform::Answer::Ok);
    const std::string missing = script.dir + "/gone";
    platform::ExecutableDirectoryOp() = [missing] { return missing; };

    std::string error;
    try {
        run::Main("INSTALL");
    } catch (const platform::FileError& e) {
        error = e.what();
    }
    EXPECT_EQ(error, "cannot create " + missing + "/Corvansil.mnu: No such file or directory");
    std::string version;
    EXPECT_TRUE(platform::ReadRegistryValue(install::AddInKeyPath("Rose"), "Version", version));
    EXPECT_EQ(version, "1.0.0.1.0");

    // The program shows what no routine trapped, then ends; a silent installation also writes
    // it to standard error, and shows the box only where a person can answer it.
    struct Case {
        bool showBox;
        std::vector<std::string> events;
    };
    const Case cases[] = {
        {true, {"box Corvansil: " + error, "end 1"}},
        {false, {"end 1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.showBox ? "display" : "no display");
        script.events.clear();
        testing::internal::CaptureStderr();
        EXPECT_THROW(run::EndSilentInstallWithError(platform::FileError(error), c.showBox),
                     platform::ProcessEnded);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "corvansil: " + error + "\n");
        EXPECT_EQ(script.events, c.events);
    }
}

TEST(HasInteractiveDisplay, NeedsADisplayThatAPersonSees) {
    struct Case {
        const char* display;
        const char* wayland;
        const char* qpa;
        bool expected;
    };
    const Case cases[] = {
        {":0", nullptr, nullptr, true},
        {nullptr, "wayland-0", nullptr, true},
        {":0", nullptr, "xcb", true},
        {nullptr, nullptr, nullptr, false},
        {"", "", nullptr, false},
        {nullptr, nullptr, "xcb", false},
        // A box on these would wait for ever.
        {":0", nullptr, "offscreen", false},
        {":0", "wayland-0", "minimal", false},
        {":0", nullptr, "offscreen:fontengine=freetype", false},
    };
    auto saved = [](const char* name) {
        const char* value = std::getenv(name);
        return value == nullptr ? std::optional<std::string>() : std::string(value);
    };
    auto put = [](const char* name, const char* value) {
        if (value == nullptr) {
            unsetenv(name);
        } else {
            setenv(name, value, 1);
        }
    };
    const char* const names[] = {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"};
    std::vector<std::optional<std::string>> before;
    for (const char* name : names) before.push_back(saved(name));
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.display ? c.display : "-") + " " +
                     (c.wayland ? c.wayland : "-") + " " + (c.qpa ? c.qpa : "-"));
        put("DISPLAY", c.display);
        put("WAYLAND_DISPLAY", c.wayland);
        put("QT_QPA_PLATFORM", c.qpa);
        EXPECT_EQ(run::HasInteractiveDisplay(), c.expected);
    }
    for (std::size_t i = 0; i < std::size(names); ++i)
        put(names[i], before[i] ? before[i]->c_str() : nullptr);
}

}  // namespace
