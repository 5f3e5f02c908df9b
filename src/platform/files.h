// Writing files and finding the running executable. Writers go through a table of operations
// (`FileOps`: open, write, close, rename) so that tests can fail the Nth call and check that
// nothing is left half-done where that matters.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

// The separator between a directory and a name in the system's paths.
#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
#else
inline constexpr char kPathSeparator = '/';
#endif

// Each operation returns 0 on success or an errno value. Paths are UTF-8.
struct FileOps {
    // Opens `path` for writing: created when absent, emptied when present.
    std::function<int(const std::string& path, int& fd)> open;
    // Writes the whole buffer.
    std::function<int(int fd, const char* data, std::size_t size)> write;
    std::function<int(int fd)> close;
    // Replaces `to` by `from` in one step.
    std::function<int(const std::string& from, const std::string& to)> rename;
};

// The table in force; replace members to install a test's version.
FileOps& Files();
// Puts the system's operations back.
void ResetFiles();

// A failure to create, write or close a file; `what()` is the message the run ends with.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A file opened for output through `Files()`. Every routine raises `FileError` on failure; what
// was written before a failure stays in the file.
class OutputFile {
  public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view text);
    void Close();

  private:
    std::string path_;
    int fd_ = -1;
};

// The directory that holds the running executable, as the system reports it: on Linux the
// target of /proc/self/exe without its last component ("/" for the root directory), on Windows
// the module's own path without its file name ("C:\\" for a drive's root).
std::string ExecutableDirectory();
// The operation behind `ExecutableDirectory`; tests replace it.
std::function<std::string()>& ExecutableDirectoryOp();

// `text` (UTF-8) in the system's ANSI code page, as the installed files and the registry hold
// it. On Linux that code page is UTF-8 and the text is returned as it is; on Windows a
// character the code page lacks becomes the code page's default character.
std::string AnsiText(const std::string& text);

#ifdef _WIN32
// UTF-8 and the UTF-16 of the system's wide functions.
std::wstring WideText(const std::string& text);
std::string Utf8Text(const std::wstring& text);
#endif

}  // namespace platform
