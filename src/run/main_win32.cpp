// Corvansil.exe: the Windows entry. The command line is the text after the program's own name,
// as the system hands it over; the entry routine reads the command word out of it.
#include <windows.h>

#include <cstdio>
#include <string>

#include "run/run.h"

namespace {

std::string Utf8(const std::wstring& text) {
    if (text.empty()) return "";
    int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                     nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          size, nullptr, nullptr);
    return narrow;
}

// The program's name ends at the closing quote when it starts with one, else at the first blank
// or tab; one blank or tab after it belongs to the separation, the rest to the arguments.
std::string ArgumentText() {
    std::wstring line = ::GetCommandLineW();
    std::size_t end = 0;
    if (!line.empty() && line[0] == L'"') {
        end = line.find(L'"', 1);
        end = end == std::wstring::npos ? line.size() : end + 1;
    } else {
        end = line.find_first_of(L" \t");
        if (end == std::wstring::npos) end = line.size();
    }
    if (end < line.size()) ++end;
    return Utf8(line.substr(end));
}

}  // namespace

int main() {
    std::string commandLine = ArgumentText();
    if (run::CommandWord(commandLine) == "--VERSION") {
        std::printf("corvansil %s\n", run::ProgramVersion);
        return 0;
    }
    if (run::RunKindOf(run::CommandWord(commandLine)) != run::RunKind::SilentInstall) {
        // The windows of this build are not written yet: only the silent installation runs.
        std::fprintf(stderr, "corvansil: only INSTALL runs in this build\n");
        return 2;
    }
    try {
        run::Main(commandLine);
    } catch (const std::exception& error) {
        run::EndSilentInstallWithError(error, /*showBox=*/false);
    }
    return 0;
}
