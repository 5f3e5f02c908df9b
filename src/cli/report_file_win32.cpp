// The report's file: written beside its place and moved over it in one step.
#include <windows.h>

#include <algorithm>
#include <string>

#include "cli/cli.h"
#include "platform/files.h"

namespace cli {
namespace {

// The system's text for its last error, without the line end and final period it carries.
std::string LastErrorText() {
    DWORD error = ::GetLastError();
    wchar_t* buffer = nullptr;
    DWORD size = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::wstring text = size > 0 ? std::wstring(buffer, size) : L"";
    ::LocalFree(buffer);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L' ' ||
                             text.back() == L'.'))
        text.pop_back();
    if (text.empty()) return "system error " + std::to_string(error);
    return platform::Utf8Text(text);
}

bool IsDirectory(const std::string& path) {
    DWORD attributes = ::GetFileAttributesW(platform::WideText(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// A new file beside `path` that no one else can open while it is open here (no sharing), under
// a name of its own; INVALID_HANDLE_VALUE and `why` on failure.
HANDLE CreateBeside(const std::string& path, std::string& temp, std::string& why) {
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        unsigned long long seed =
            ::GetTickCount64() ^ (::GetCurrentProcessId() * 7919ULL) ^ (++counter * 104729ULL);
        char suffix[8] = {'.'};
        for (int i = 1; i < 7; ++i, seed /= 36)
            suffix[i] = "0123456789abcdefghijklmnopqrstuvwxyz"[seed % 36];
        temp = path + suffix;
        HANDLE file = ::CreateFileW(platform::WideText(temp).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) return file;
        if (::GetLastError() != ERROR_FILE_EXISTS) break;
    }
    why = LastErrorText();
    return INVALID_HANDLE_VALUE;
}

bool WriteAll(HANDLE file, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(text.size() - done, 1U << 30));
        DWORD written = 0;
        if (!::WriteFile(file, text.data() + done, chunk, &written, nullptr) || written == 0)
            return false;
        done += written;
    }
    return true;
}

}  // namespace

bool CheckReportPath(const std::string& path, std::string& why) {
    if (IsDirectory(path)) {
        why = "it is a directory";
        return false;
    }
    std::string temp;
    HANDLE file = CreateBeside(path, temp, why);
    if (file == INVALID_HANDLE_VALUE) return false;
    ::CloseHandle(file);
    ::DeleteFileW(platform::WideText(temp).c_str());
    return true;
}

bool WriteReportFile(const std::string& path, const std::string& text, std::string& why) {
    if (IsDirectory(path)) {
        why = "it is a directory";
        return false;
    }
    std::string temp;
    HANDLE file = CreateBeside(path, temp, why);
    if (file == INVALID_HANDLE_VALUE) return false;
    bool ok = WriteAll(file, text) && ::FlushFileBuffers(file);
    if (!ok) why = LastErrorText();
    if (!::CloseHandle(file) && ok) {
        ok = false;
        why = LastErrorText();
    }
    // The report in place is the old one or the new one, never half of one, also after a
    // crash: the move replaces it in one step and is on the disk when it returns.
    if (ok && !::MoveFileExW(platform::WideText(temp).c_str(), platform::WideText(path).c_str(),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        ok = false;
        why = LastErrorText();
    }
    if (!ok) ::DeleteFileW(platform::WideText(temp).c_str());
    return ok;
}

}  // namespace cli
