#include "run/run.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "install/install.h"
#include "platform/files.h"
#include "platform/platform.h"
#include "run/startup.h"
#include "window/window.h"

namespace run {
namespace {

struct WordRun {
    const char* word;
    RunKind kind;
};

// Compared in this order; the first equal word wins.
constexpr WordRun kCommandWords[] = {
    {"EXPORT", RunKind::Export},         {"IMPORT", RunKind::Import},
    {"DATATYPES", RunKind::Datatypes},   {"SYSTEM", RunKind::System},
    {"INSTALL", RunKind::SilentInstall},
};

void InstallSteps(const std::string& installDirectory, const std::string& hostWord) {
    install::RegisterAddIn(installDirectory, hostWord);
    install::WriteMenuFile(installDirectory);
    install::WritePropertyFile(installDirectory);
}

void InstallInteractively(const std::string& word) {
    std::string installDirectory = GetInstallDirectory();
    platform::Answer answer =
        platform::MessageBox(InstallPrompt(installDirectory), platform::Buttons::OkCancel,
                             platform::Icon::Question, kInstallTitle);
    if (answer != platform::Answer::Ok) platform::EndProcess(0);

    Ops().showStartUp();
    Ops().setStartUpProgress(kInstalling);
    platform::DoEvents();  // so that the start-up window paints before the work

    InstallSteps(installDirectory, HostWordFor(word));

    Ops().setStartUpProgress(kInstallationComplete);
    // The window closes at its next tick; it is then the last window and the process ends.
    Ops().startStartUpTimer();
    platform::DoEvents();
}

void OpenTransferWindow(RunKind kind) {
    window::LinkMode = LinkModeOf(kind);
    Ops().showTransferWindow();
    // The loading runs at once with the window showing its log; its result is not needed.
    if (kind == RunKind::Datatypes || kind == RunKind::System) Ops().addTavroSpecialClasses();
}

RunOps DefaultOps() {
    RunOps ops;
    ops.showStartUpModal = ShowStartUpModal;
    ops.showStartUp = ShowStartUp;
    ops.setStartUpProgress = SetStartUpProgress;
    ops.startStartUpTimer = StartStartUpTimer;
    // The program installs the transfer window and the loading (run/program.h).
    ops.showTransferWindow = [] {};
    ops.addTavroSpecialClasses = [] { return false; };
    return ops;
}

}  // namespace

std::string CommandWord(const std::string& commandLine) {
    auto first = commandLine.find_first_not_of(' ');
    if (first == std::string::npos) return "";
    auto last = commandLine.find_last_not_of(' ');
    std::string word = commandLine.substr(first, last - first + 1);
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return word;
}

RunKind RunKindOf(const std::string& word) {
    for (const auto& entry : kCommandWords) {
        if (word == entry.word) return entry.kind;
    }
    return RunKind::InteractiveInstall;
}

window::RunMode LinkModeOf(RunKind kind) {
    switch (kind) {
        case RunKind::Export:
            return window::RunMode::Export;
        case RunKind::Import:
            return window::RunMode::Import;
        case RunKind::Datatypes:
            return window::RunMode::Datatypes;
        case RunKind::System:
            return window::RunMode::System;
        case RunKind::SilentInstall:
        case RunKind::InteractiveInstall:
            return window::RunMode::None;
    }
    return window::RunMode::None;
}

std::string HostWordFor(const std::string& word) { return word == "MSVM" ? "MSVM" : "Rose"; }

std::string InstallDirectoryFrom(const std::string& executableDirectory) {
    if (!executableDirectory.empty() && executableDirectory.back() == platform::kPathSeparator)
        return executableDirectory.substr(0, executableDirectory.size() - 1);
    return executableDirectory;
}

std::string GetInstallDirectory() { return InstallDirectoryFrom(platform::ExecutableDirectory()); }

std::string InstallPrompt(const std::string& installDirectory) {
    return std::string("Install Corvansil Version ") + ProgramVersion + " in " + installDirectory;
}

RunOps& Ops() {
    static RunOps ops = DefaultOps();
    return ops;
}

void ResetOps() { Ops() = DefaultOps(); }

void Main(const std::string& commandLine) {
    std::string word = CommandWord(commandLine);
    RunKind kind = RunKindOf(word);
    window::LinkMode = window::RunMode::None;

    // Every run but the silent installation starts with the start-up window, showing only the
    // version.
    if (kind != RunKind::SilentInstall) Ops().showStartUpModal();

    switch (kind) {
        case RunKind::Export:
        case RunKind::Import:
        case RunKind::Datatypes:
        case RunKind::System:
            OpenTransferWindow(kind);
            return;
        case RunKind::SilentInstall:
            InstallSteps(GetInstallDirectory(), "Rose");
            platform::EndProcess(0);
        case RunKind::InteractiveInstall:
            InstallInteractively(word);
            return;
    }
}

void EndWithUntrappedError(const std::exception& error) {
    platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    platform::EndProcess(1);
}

bool HasInteractiveDisplay() {
    auto set = [](const char* name) {
        const char* value = std::getenv(name);
        return value != nullptr && *value != '\0';
    };
    if (!set("DISPLAY") && !set("WAYLAND_DISPLAY")) return false;
    const char* qpa = std::getenv("QT_QPA_PLATFORM");
    if (qpa == nullptr) return true;
    const std::string platformName = std::string(qpa).substr(0, std::string(qpa).find(':'));
    return platformName != "offscreen" && platformName != "minimal";
}

void EndSilentInstallWithError(const std::exception& error, bool showBox) {
    std::fprintf(stderr, "corvansil: %s\n", error.what());
    std::fflush(stderr);
    if (showBox) EndWithUntrappedError(error);
    platform::EndProcess(1);
}

}  // namespace run
