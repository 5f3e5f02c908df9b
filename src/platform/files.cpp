#include "platform/files.h"

#include <cstring>

#include "platform/files_internal.h"

namespace platform {
namespace {

[[noreturn]] void RaiseFileError(const char* verb, const std::string& path, int error) {
    throw FileError(std::string("cannot ") + verb + " " + path + ": " + std::strerror(error));
}

}  // namespace

FileOps& Files() {
    static FileOps ops = sys::DefaultFileOps();
    return ops;
}

void ResetFiles() { Files() = sys::DefaultFileOps(); }

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
    static std::function<std::string()> op = sys::ExecutableDirectory;
    return op;
}

std::string ExecutableDirectory() { return ExecutableDirectoryOp()(); }

std::string AnsiText(const std::string& text) { return sys::AnsiText(text); }

}  // namespace platform
