#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "cli/terminal.h"

namespace cli {

bool IsTerminal(int fd) { return ::isatty(fd) != 0; }

std::size_t TerminalWidth(int fd) {
    winsize size{};
    if (::ioctl(fd, TIOCGWINSZ, &size) == 0) return size.ws_col;
    return 0;
}

bool PrepareLiveOutput() { return true; }

std::string ReadLineUnechoed() {
    termios saved{};
    bool quiet = ::tcgetattr(STDIN_FILENO, &saved) == 0;
    if (quiet) {
        termios silent = saved;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &silent);
    }
    std::string line;
    std::getline(std::cin, line);
    if (quiet) ::tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    return line;
}

void SetEnvironment(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);
}

}  // namespace cli
