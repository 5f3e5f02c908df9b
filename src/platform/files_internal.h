// The system's side of files.cpp: one implementation per system (files_posix.cpp,
// files_win32.cpp).
#pragma once

#include <string>

#include "platform/files.h"

namespace platform::sys {

FileOps DefaultFileOps();
// The directory of the running executable; "" when the system cannot say.
std::string ExecutableDirectory();
std::string AnsiText(const std::string& text);

#ifdef _WIN32
// An errno value for a system error code, for FileOps and FileError.
int ErrnoOf(unsigned long systemError);
#endif

}  // namespace platform::sys
