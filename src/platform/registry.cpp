#include "platform/registry.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>

#include "platform/registry_internal.h"

namespace platform {

// A handle names a key by its full path; the key's data lives in the file only, so a handle
// stays valid whatever other handles or processes do meanwhile.
struct RegistryKey {
    std::string path;
};

namespace {

RegistryKey localMachine{"HKEY_LOCAL_MACHINE"};

bool IsValidSubKey(std::string_view subKey) {
    if (subKey.front() == '\\' || subKey.back() == '\\') return false;
    return subKey.find("\\\\") == std::string_view::npos;
}

std::string ChildPath(const std::string& parent, const std::string& subKey) {
    return subKey.empty() ? parent : parent + "\\" + subKey;
}

bool CreateDirectoryFor(const std::string& file) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), error);
    return !error;
}

// Loads the file under its exclusive lock, lets `change` alter it and saves it when `change`
// says it did.
template <typename Change>
LONG ChangeRegistry(Change change) {
    std::string path = RegistryFilePath();
    if (!CreateDirectoryFor(path)) return ERROR_ACCESS_DENIED;
    regfile::FileLock lock(path, /*exclusive=*/true);
    if (!lock.Held()) return ERROR_ACCESS_DENIED;
    regfile::Registry registry;
    LONG status = regfile::LoadRegistry(path, registry);
    if (status != ERROR_SUCCESS) return status;
    if (!change(registry)) return ERROR_SUCCESS;
    return regfile::SaveRegistry(path, registry);
}

bool ReadRegistry(regfile::Registry& registry) {
    std::string path = RegistryFilePath();
    regfile::FileLock lock(path, /*exclusive=*/false);
    return regfile::LoadRegistry(path, registry) == ERROR_SUCCESS;
}

}  // namespace

const HKEY HKEY_LOCAL_MACHINE = &localMachine;

std::string RegistryFilePath() {
    if (const char* file = std::getenv("CORVANSIL_REGISTRY"); file != nullptr && *file != '\0')
        return file;
    std::string config;
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg != '\0') {
        config = xdg;
    } else {
        const char* home = std::getenv("HOME");
        config = std::string(home != nullptr ? home : "") + "/.config";
    }
    return config + "/corvansil/registry.reg";
}

std::string RegistryPlaceText() {
    return "the registry file " + RegistryFilePath() + " ($CORVANSIL_REGISTRY)";
}

LONG RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR /*lpClass*/,
                     DWORD /*dwOptions*/, REGSAM /*samDesired*/,
                     const SECURITY_ATTRIBUTES* /*lpSecurityAttributes*/, PHKEY phkResult,
                     LPDWORD lpdwDisposition) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    if (Reserved != 0 || phkResult == nullptr) return ERROR_INVALID_PARAMETER;
    std::string subKey = lpSubKey != nullptr ? lpSubKey : "";
    if (!subKey.empty() && !IsValidSubKey(subKey)) return ERROR_INVALID_PARAMETER;

    std::string path = ChildPath(hKey->path, subKey);
    bool created = false;
    LONG status = ChangeRegistry([&](regfile::Registry& registry) {
        created = regfile::EnsureKey(registry, path);
        return created;
    });
    if (status != ERROR_SUCCESS) return status;
    *phkResult = new RegistryKey{path};
    if (lpdwDisposition != nullptr)
        *lpdwDisposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    return ERROR_SUCCESS;
}

LONG RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                    DWORD cbData) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    if (Reserved != 0 || dwType != REG_SZ) return ERROR_INVALID_PARAMETER;
    if (lpData == nullptr && cbData != 0) return ERROR_INVALID_PARAMETER;

    // The size counts the terminating NUL; the text ends at the first NUL either way.
    std::string text(reinterpret_cast<const char*>(lpData), cbData);
    text = text.substr(0, text.find('\0'));
    regfile::Value value{lpValueName != nullptr ? lpValueName : "", regfile::EncodeString(text)};

    return ChangeRegistry([&](regfile::Registry& registry) {
        // A key removed by someone else since it was opened comes back with the value.
        regfile::EnsureKey(registry, hKey->path);
        regfile::Key* key = regfile::FindKey(registry, hKey->path);
        for (auto& existing : key->values) {
            if (!regfile::SamePath(existing.name, value.name)) continue;
            if (existing.data == value.data) return false;
            existing.data = value.data;
            return true;
        }
        key->values.push_back(value);
        return true;
    });
}

LONG RegCloseKey(HKEY hKey) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    if (hKey == HKEY_LOCAL_MACHINE) return ERROR_SUCCESS;
    delete hKey;
    return ERROR_SUCCESS;
}

bool ReadRegistryValue(const std::string& keyPath, const std::string& valueName, std::string& out) {
    regfile::Registry registry;
    if (!ReadRegistry(registry)) return false;
    regfile::Key* key = regfile::FindKey(registry, ChildPath(localMachine.path, keyPath));
    if (key == nullptr) return false;
    for (const auto& value : key->values) {
        if (regfile::SamePath(value.name, valueName)) return regfile::DecodeString(value.data, out);
    }
    return false;
}

std::vector<std::string> ListRegistrySubkeys(const std::string& keyPath) {
    std::vector<std::string> names;
    regfile::Registry registry;
    if (!ReadRegistry(registry)) return names;
    std::string prefix = ChildPath(localMachine.path, keyPath) + "\\";
    // Parse order is file order, and the file keeps keys in tree order.
    for (const auto& key : registry.keys) {
        if (key.path.size() <= prefix.size()) continue;
        if (!regfile::SamePath(key.path.substr(0, prefix.size()), prefix)) continue;
        std::string rest = key.path.substr(prefix.size());
        if (rest.find('\\') != std::string::npos) continue;
        names.push_back(rest);
    }
    return names;
}

std::string RegistryFileProblem() {
    std::string path = RegistryFilePath();
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return "";
    if (!std::filesystem::is_regular_file(path, error)) return "not a regular file";
    std::ifstream in(path, std::ios::binary);
    if (!in) return "it cannot be opened for reading";
    std::ostringstream text;
    text << in.rdbuf();
    regfile::Registry registry;
    regfile::ParseResult parsed = regfile::ParseRegistry(text.str(), registry);
    if (parsed.ok) return "";
    return "line " + std::to_string(parsed.line) + ": " + parsed.message;
}

}  // namespace platform
