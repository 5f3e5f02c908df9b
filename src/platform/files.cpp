#include "platform/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace platform {
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

FileOps DefaultFileOps() { return FileOps{PosixOpen, PosixWrite, PosixClose, PosixRename}; }

std::string ProcSelfExeDirectory() {
    std::error_code error;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return "";
    return exe.parent_path().string();
}

[[noreturn]] void RaiseFileError(const char* verb, const std::string& path, int error) {
    throw FileError(std::string("cannot ") + verb + " " + path + ": " + std::strerror(error));
}

}  // namespace

FileOps& Files() {
    static FileOps ops = DefaultFileOps();
    return ops;
}

void ResetFiles() { Files() = DefaultFileOps(); }

OutputFile::OutputFile(const std::string& path) : path_(path) {
    int error = Files().open(path_, fd_);
    if (error != 0) {
        fd_ = -1;
        RaiseFileError("create", path_, error);
    }
}

OutputFile::~OutputFile() {
    // Only reached open when a write failed; that failure is the one reported.
    if (fd_ >= 0) Files().close(fd_);
}

void OutputFile::Write(std::string_view text) {
    int error = Files().write(fd_, text.data(), text.size());
    if (error != 0) RaiseFileError("write", path_, error);
}

void OutputFile::Close() {
    int fd = fd_;
    fd_ = -1;
    int error = Files().close(fd);
    if (error != 0) RaiseFileError("close", path_, error);
}

std::function<std::string()>& ExecutableDirectoryOp() {
    static std::function<std::string()> op = ProcSelfExeDirectory;
    return op;
}

std::string ExecutableDirectory() { return ExecutableDirectoryOp()(); }

}  // namespace platform
