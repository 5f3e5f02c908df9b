// What corvansil-cli asks of the terminal and the environment beyond the standard library: one
// implementation per system (terminal_posix.cpp, terminal_win32.cpp).
#pragma once

#include <cstddef>
#include <string>

namespace cli {

// Whether the standard stream `fd` (0, 1 or 2) is a terminal, a console on Windows.
bool IsTerminal(int fd);
// The width of the terminal on `fd` in characters; 0 when it has none or does not say.
std::size_t TerminalWidth(int fd);
// Makes standard output, a terminal, take the live line's UTF-8 text and its erase sequence;
// false when it cannot, and the run prints without a live line.
bool PrepareLiveOutput();
// Reads one line of standard input, a terminal, without showing what is typed.
std::string ReadLineUnechoed();
// Sets a variable of this process's environment, where the connection dialog reads it.
void SetEnvironment(const char* name, const std::string& value);

}  // namespace cli
