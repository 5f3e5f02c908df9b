#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <climits>

#include "platform/files_internal.h"

namespace platform {
namespace {

std::string Narrow(UINT codePage, const std::wstring& text) {
    if (text.empty()) return "";
    int size = ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()),
                                     nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                          size, nullptr, nullptr);
    return narrow;
}

// Not inherited by programs the add-in starts; written as bytes, without CR LF translation,
// so that the files' CR LF line ends are the text's own.
int WindowsOpen(const std::string& path, int& fd) {
    fd = ::_wopen(WideText(path).c_str(),
                  _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    return fd < 0 ? errno : 0;
}

int WindowsWrite(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        unsigned chunk = size > INT_MAX ? INT_MAX : static_cast<unsigned>(size);
        int written = ::_write(fd, data, chunk);
        if (written < 0) return errno;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

int WindowsClose(int fd) { return ::_close(fd) == 0 ? 0 : errno; }

// One step that replaces an existing target, and returns only once the move is on the disk.
int WindowsRename(const std::string& from, const std::string& to) {
    if (::MoveFileExW(WideText(from).c_str(), WideText(to).c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return 0;
    return sys::ErrnoOf(::GetLastError());
}

std::wstring ModuleFileName() {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        DWORD size = ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
        if (size == 0) return L"";
        if (size < path.size()) {
            path.resize(size);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

}  // namespace

std::wstring WideText(const std::string& text) {
    if (text.empty()) return L"";
    int size =
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                          size);
    return wide;
}

std::string Utf8Text(const std::wstring& text) { return Narrow(CP_UTF8, text); }

namespace sys {

FileOps DefaultFileOps() { return FileOps{WindowsOpen, WindowsWrite, WindowsClose, WindowsRename}; }

std::string ExecutableDirectory() {
    std::wstring path = ModuleFileName();
    std::size_t slash = path.find_last_of(L"\\/");
    if (slash == std::wstring::npos) return "";
    // A drive's root keeps its backslash ("C:\"), as the system names that directory.
    bool driveRoot = slash == 2 && path[1] == L':';
    return Utf8Text(path.substr(0, driveRoot ? slash + 1 : slash));
}

std::string AnsiText(const std::string& text) { return Narrow(CP_ACP, WideText(text)); }

int ErrnoOf(unsigned long systemError) {
    switch (systemError) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return ENOENT;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
        case ERROR_LOCK_VIOLATION:
            return EACCES;
        case ERROR_DISK_FULL:
        case ERROR_HANDLE_DISK_FULL:
            return ENOSPC;
        default:
            return EIO;
    }
}

}  // namespace sys
}  // namespace platform
