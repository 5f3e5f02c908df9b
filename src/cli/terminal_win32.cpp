#include <io.h>
#include <windows.h>

#include <cstdlib>
#include <iostream>

#include "cli/terminal.h"

namespace cli {
namespace {

// The console behind a standard stream, or nullptr when the stream goes to a file or a pipe.
HANDLE ConsoleOf(int fd) {
    auto handle = reinterpret_cast<HANDLE>(::_get_osfhandle(fd));
    DWORD mode = 0;
    if (handle == INVALID_HANDLE_VALUE || !::GetConsoleMode(handle, &mode)) return nullptr;
    return handle;
}

}  // namespace

// _isatty is also true for the NUL device; only a console is a terminal here.
bool IsTerminal(int fd) { return ConsoleOf(fd) != nullptr; }

std::size_t TerminalWidth(int fd) {
    HANDLE console = ConsoleOf(fd);
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (console == nullptr || !::GetConsoleScreenBufferInfo(console, &info)) return 0;
    return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

// The console shows the log's UTF-8 text as such, and takes the erase sequence of the live
// line once it processes terminal sequences (Windows 10 and later).
bool PrepareLiveOutput() {
    HANDLE console = ConsoleOf(1);
    DWORD mode = 0;
    if (console == nullptr || !::GetConsoleMode(console, &mode)) return false;
    ::SetConsoleOutputCP(CP_UTF8);
    return ::SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::string ReadLineUnechoed() {
    HANDLE console = ConsoleOf(0);
    DWORD saved = 0;
    bool quiet = console != nullptr && ::GetConsoleMode(console, &saved);
    if (quiet) ::SetConsoleMode(console, saved & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    std::string line;
    std::getline(std::cin, line);
    if (quiet) ::SetConsoleMode(console, saved);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

// An empty value removes the variable (Windows keeps no empty ones); its readers take a
// missing variable as "".
void SetEnvironment(const char* name, const std::string& value) {
    ::_putenv_s(name, value.c_str());
}

}  // namespace cli
