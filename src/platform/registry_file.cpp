#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/files.h"
#include "platform/registry_internal.h"
#include "strings/strings.h"

namespace platform::regfile {
namespace {

constexpr const char* kHeader = "REGEDIT4";
constexpr const char* kLineEnd = "\r\n";

std::vector<std::string> SplitPath(const std::string& path) {
    std::vector<std::string> parts;
    std::string::size_type start = 0;
    while (true) {
        auto end = path.find('\\', start);
        parts.push_back(path.substr(start, end - start));
        if (end == std::string::npos) return parts;
        start = end + 1;
    }
}

// Parents before children, siblings by name: the order in which regedit exports a tree.
bool TreeOrder(const Key& a, const Key& b) {
    auto pa = SplitPath(a.path);
    auto pb = SplitPath(b.path);
    auto n = std::min(pa.size(), pb.size());
    for (std::size_t i = 0; i < n; ++i) {
        int c = strings::CompareNoCase(pa[i], pb[i]);
        if (c != 0) return c < 0;
    }
    return pa.size() < pb.size();
}

// Reads a quoted text starting at `pos`; leaves `pos` after the closing quote.
bool ReadQuoted(const std::string& line, std::size_t& pos, std::string& text) {
    if (pos >= line.size() || line[pos] != '"') return false;
    text.clear();
    for (++pos; pos < line.size(); ++pos) {
        char c = line[pos];
        if (c == '"') {
            ++pos;
            return true;
        }
        if (c == '\\') {
            if (++pos == line.size()) return false;
            c = line[pos];
        }
        text += c;
    }
    return false;
}

// Data of another type than a string: "dword:0000002a", "hex(2):41,00,...".
bool IsTypedData(const std::string& data) {
    auto colon = data.find(':');
    if (colon == std::string::npos || colon == 0) return false;
    return std::all_of(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '(' || c == ')';
    });
}

bool ParseValueLine(const std::string& line, Value& value) {
    std::size_t pos = 0;
    if (line[0] == '@') {
        value.name.clear();
        pos = 1;
    } else if (!ReadQuoted(line, pos, value.name)) {
        return false;
    }
    if (pos >= line.size() || line[pos] != '=') return false;
    value.data = line.substr(pos + 1);
    if (value.data.empty()) return false;
    if (value.data[0] != '"') return IsTypedData(value.data);
    std::string text;
    pos = 0;
    return ReadQuoted(value.data, pos, text) && pos == value.data.size();
}

std::string EncodeQuoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

ParseResult Failure(int line, std::string message) { return ParseResult{false, line, message}; }

}  // namespace

bool SamePath(const std::string& a, const std::string& b) {
    return strings::CompareNoCase(a, b) == 0;
}

std::string EncodeString(const std::string& text) { return EncodeQuoted(text); }

bool DecodeString(const std::string& data, std::string& text) {
    std::size_t pos = 0;
    return ReadQuoted(data, pos, text) && pos == data.size();
}

Key* FindKey(Registry& registry, const std::string& path) {
    for (auto& key : registry.keys) {
        if (SamePath(key.path, path)) return &key;
    }
    return nullptr;
}

bool EnsureKey(Registry& registry, const std::string& path) {
    bool added = false;
    std::string prefix;
    for (const auto& part : SplitPath(path)) {
        prefix += prefix.empty() ? part : "\\" + part;
        if (FindKey(registry, prefix) != nullptr) continue;
        registry.keys.push_back(Key{prefix, {}});
        added = true;
    }
    return added;
}

ParseResult ParseRegistry(const std::string& text, Registry& registry) {
    registry.keys.clear();
    std::istringstream in(text);
    std::string line;
    int lineNo = 0;
    bool sawHeader = false;
    Key* current = nullptr;
    while (std::getline(in, line)) {
        ++lineNo;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        // A value of another type may go on over several lines, each but the last ending in '\'.
        while (!line.empty() && line.back() == '\\' && current != nullptr && line[0] != '[') {
            std::string next;
            if (!std::getline(in, next)) return Failure(lineNo, "value continues past the end");
            ++lineNo;
            if (!next.empty() && next.back() == '\r') next.pop_back();
            line.pop_back();
            auto first = next.find_first_not_of(' ');
            if (first != std::string::npos) line += next.substr(first);
        }
        if (line.empty() || line[0] == ';') continue;
        if (!sawHeader) {
            if (line != kHeader) return Failure(lineNo, "not a REGEDIT4 file");
            sawHeader = true;
            continue;
        }
        if (line[0] == '[') {
            if (line.size() < 3 || line.back() != ']' || line[1] == '-' || line[1] == '\\')
                return Failure(lineNo, "bad key line");
            std::string path = line.substr(1, line.size() - 2);
            if (path.find("\\\\") != std::string::npos || path.back() == '\\')
                return Failure(lineNo, "bad key path");
            EnsureKey(registry, path);
            current = FindKey(registry, path);
            continue;
        }
        Value value;
        if (current == nullptr || !ParseValueLine(line, value))
            return Failure(lineNo, "bad value line");
        auto same = std::find_if(current->values.begin(), current->values.end(),
                                 [&](const Value& v) { return SamePath(v.name, value.name); });
        if (same != current->values.end()) {
            same->data = value.data;
        } else {
            current->values.push_back(value);
        }
    }
    if (!sawHeader && lineNo > 0 && text.find_first_not_of(" \r\n") != std::string::npos)
        return Failure(1, "not a REGEDIT4 file");
    return ParseResult{};
}

std::string FormatRegistry(const Registry& registry) {
    std::vector<Key> keys = registry.keys;
    std::stable_sort(keys.begin(), keys.end(), TreeOrder);
    std::string out = std::string(kHeader) + kLineEnd;
    for (const auto& key : keys) {
        // A root holds nothing of its own; its sub-keys name it.
        if (key.values.empty() && key.path.find('\\') == std::string::npos) continue;
        out += kLineEnd;
        out += "[" + key.path + "]" + kLineEnd;
        for (const auto& value : key.values) {
            out += value.name.empty() ? std::string("@") : EncodeQuoted(value.name);
            out += "=" + value.data + kLineEnd;
        }
    }
    return out + kLineEnd;
}

FileLock::FileLock(const std::string& registryPath, bool exclusive) {
    std::string lockPath = registryPath + ".lock";
    int flags = O_RDWR | O_CLOEXEC | (exclusive ? O_CREAT : 0);
    fd_ = ::open(lockPath.c_str(), flags, 0644);
    if (fd_ < 0) return;
    while (::flock(fd_, exclusive ? LOCK_EX : LOCK_SH) != 0) {
        if (errno == EINTR) continue;
        ::close(fd_);
        fd_ = -1;
        return;
    }
}

FileLock::~FileLock() {
    if (fd_ >= 0) ::close(fd_);  // closing releases the lock
}

LONG LoadRegistry(const std::string& path, Registry& registry) {
    registry.keys.clear();
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return ERROR_SUCCESS;
    std::ifstream in(path, std::ios::binary);
    if (!in) return ERROR_ACCESS_DENIED;
    std::ostringstream text;
    text << in.rdbuf();
    return ParseRegistry(text.str(), registry).ok ? ERROR_SUCCESS : ERROR_BADDB;
}

LONG SaveRegistry(const std::string& path, const Registry& registry) {
    std::string text = FormatRegistry(registry);
    std::string temp = path + ".tmp" + std::to_string(::getpid());
    try {
        OutputFile file(temp);
        file.Write(text);
        file.Close();
    } catch (const FileError&) {
        ::unlink(temp.c_str());
        return ERROR_WRITE_FAULT;
    }
    int error = Files().rename(temp, path);
    if (error == 0) return ERROR_SUCCESS;
    ::unlink(temp.c_str());
    return error == EACCES || error == EPERM || error == EROFS ? ERROR_ACCESS_DENIED
                                                               : ERROR_WRITE_FAULT;
}

}  // namespace platform::regfile
