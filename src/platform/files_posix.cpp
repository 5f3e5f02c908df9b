#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "platform/files_internal.h"

namespace platform::sys {
namespace {

int PosixOpen(const std::string& path, int& fd) {
    fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    return fd < 0 ? errno : 0;
}

int PosixWrite(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

int PosixClose(int fd) { return ::close(fd) == 0 ? 0 : errno; }

int PosixRename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace

FileOps DefaultFileOps() { return FileOps{PosixOpen, PosixWrite, PosixClose, PosixRename}; }

std::string ExecutableDirectory() {
    std::error_code error;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return "";
    return exe.parent_path().string();
}

std::string AnsiText(const std::string& text) { return text; }

}  // namespace platform::sys
