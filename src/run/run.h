// Run control: the command word, the run modes, the start-up window and the entry routine.
#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <string>

#include "install/install.h"
#include "window/window.h"

namespace run {

inline constexpr const char* ProgramVersion = install::ProgramVersion;

enum class RunKind : std::uint8_t {
    Export,              // EXPORT
    Import,              // IMPORT
    Datatypes,           // DATATYPES
    System,              // SYSTEM
    SilentInstall,       // INSTALL
    InteractiveInstall,  // any other word, "" and MSVM included
};

// The whole argument text without leading and trailing blanks, upper-cased. Words after the
// first stay part of it, so "EXPORT now" is no command word.
std::string CommandWord(const std::string& commandLine);
// The run a command word asks for.
RunKind RunKindOf(const std::string& word);
// The run mode of a run kind; none for an installation.
window::RunMode LinkModeOf(RunKind kind);
// The host an interactive installation registers with: "MSVM" for the word MSVM, else "Rose".
std::string HostWordFor(const std::string& word);

// The directory that holds the running executable, without one trailing separator ('/' on
// Linux, so the root directory gives ""; '\' on Windows, so C:\ gives C:).
std::string GetInstallDirectory();
// The same rule applied to a directory path.
std::string InstallDirectoryFrom(const std::string& executableDirectory);

// The question asked before an interactive installation.
std::string InstallPrompt(const std::string& installDirectory);
inline constexpr const char* kInstallTitle = "Installation";
inline constexpr const char* kInstalling = "Installing ...";
inline constexpr const char* kInstallationComplete = "Installation Complete";

// What `Main` hands over to the windows. The defaults are the Qt start-up window and nothing
// else; the program installs the transfer window and the loading (run/program.h), and tests
// record the calls instead.
struct RunOps {
    std::function<void()> showStartUpModal;  // show frmStartUp and wait until it closes
    std::function<void()> showStartUp;       // show frmStartUp without waiting
    std::function<void(const std::string&)> setStartUpProgress;  // the caption of lblStartUp
    std::function<void()> startStartUpTimer;                     // switch timStartUp on
    std::function<void()> showTransferWindow;  // show frmImportExport without waiting
    std::function<bool()> addTavroSpecialClasses;
};
RunOps& Ops();
void ResetOps();

// The process entry: reads the command word of `commandLine` and starts its run. Returns once
// the run is dispatched; the silent installation and a cancelled prompt end the process.
// Errors of the installation steps (platform::FileError) pass to the caller.
void Main(const std::string& commandLine);

// What becomes of an error that no routine trapped: a message box with its text, then the
// process ends with status 1.
[[noreturn]] void EndWithUntrappedError(const std::exception& error);

// Whether a person can answer a message box: a display (DISPLAY or WAYLAND_DISPLAY) and no Qt
// platform that draws nowhere (QT_QPA_PLATFORM offscreen or minimal), where a box would wait
// for ever.
bool HasInteractiveDisplay();

// How a failed silent installation ends: its error on standard error, for the installer or
// script that started it, and with `showBox` also in the message box of any other untrapped
// error; then the process ends with status 1.
[[noreturn]] void EndSilentInstallWithError(const std::exception& error, bool showBox);

}  // namespace run
