// The `corvansil.exe` entry: the command line as the system hands it over (all after the
// program's own name), COM for the attachments, the Win32 windows, then the entry routine.
// The process lives in its message loop while one of its windows is open.
#include <cstdio>
#include <exception>
#include <string>

#include "platform/platform.h"
#include "platform/win32/win32_ui.h"
#include "run/program.h"
#include "run/run.h"
#include "window/win32/window_win32.h"
#include "window/window.h"

// objbase.h after the program's own headers: they bring windows.h in its own way.
#include <objbase.h>

namespace {

// The text after the program's name: the name ends at its closing quote when it starts with
// one, else at the first blank or tab; one blank or tab after it is the separation, the rest
// belongs to the arguments.
std::string ArgumentText(const wchar_t* commandLine) {
    const wchar_t* p = commandLine;
    if (*p == L'"') {
        ++p;
        while (*p != L'\0' && *p != L'"') ++p;
        if (*p == L'"') ++p;
    } else {
        while (*p != L'\0' && *p != L' ' && *p != L'\t') ++p;
    }
    if (*p == L' ' || *p == L'\t') ++p;
    return platform::win32::Narrow(p);
}

}  // namespace

int main() {
    const std::string commandLine = ArgumentText(GetCommandLineW());
    // Answered before any window: not a command word of the modelling tool's menu.
    if (run::CommandWord(commandLine) == "--VERSION") {
        std::printf("corvansil %s\n", run::ProgramVersion);
        return 0;
    }
    // One apartment on the one user-interface thread: the modelling tool and the server's
    // factory are called from here only.
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    run::InstallProgram();

    const bool silent =
        run::RunKindOf(run::CommandWord(commandLine)) == run::RunKind::SilentInstall;
    try {
        run::Main(commandLine);
    } catch (const std::exception& error) {
        // A failed silent installation tells the installer on standard error and by its exit
        // status; it shows no window.
        if (silent) run::EndSilentInstallWithError(error, /*showBox=*/false);
        run::EndWithUntrappedError(error);
    }
    if (window::frmImportExport == nullptr && window::win32::StartUpWindow() == nullptr) return 0;
    return platform::win32::RunMessageLoop();
}
