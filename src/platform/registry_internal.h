// The REGEDIT4 file behind the registry functions: its in-memory form, reading, writing and
// locking. Shared by registry.cpp only.
#pragma once

#include <string>
#include <vector>

#include "platform/registry.h"

namespace platform::regfile {

struct Value {
    std::string name;  // "" is the key's default value, written "@"
    std::string data;  // what follows '=' in the file, kept as written: "\"Yes\"", dword:...
};

struct Key {
    std::string path;  // full path, root included: "HKEY_LOCAL_MACHINE\\SOFTWARE"
    std::vector<Value> values;
};

struct Registry {
    std::vector<Key> keys;
};

struct ParseResult {
    bool ok = true;
    int line = 0;  // 1-based line where reading stopped
    std::string message;
};

// Reads REGEDIT4 text. An empty text is an empty registry.
ParseResult ParseRegistry(const std::string& text, Registry& registry);
// Writes REGEDIT4 text with CR LF line ends, keys in tree order.
std::string FormatRegistry(const Registry& registry);

// A string value as it stands after '=' in the file, and back. `DecodeString` is false for a
// value that is not a string.
std::string EncodeString(const std::string& text);
bool DecodeString(const std::string& data, std::string& text);

bool SamePath(const std::string& a, const std::string& b);
Key* FindKey(Registry& registry, const std::string& path);
// Adds the key and its missing parents; true when anything was added.
bool EnsureKey(Registry& registry, const std::string& path);

// Holds the file's lock while it lives. `exclusive` for a read-modify-write.
class FileLock {
  public:
    FileLock(const std::string& registryPath, bool exclusive);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool Held() const { return fd_ >= 0; }

  private:
    int fd_ = -1;
};

// Loads the file (an absent file is an empty registry). ERROR_SUCCESS, ERROR_BADDB for a
// damaged file, or ERROR_ACCESS_DENIED when it exists but cannot be read.
LONG LoadRegistry(const std::string& path, Registry& registry);
// Replaces the file by the registry's text in one step; the old file stays whole on failure.
LONG SaveRegistry(const std::string& path, const Registry& registry);

}  // namespace platform::regfile
