// The three registry functions on the system's own registry. The add-in's handles wrap the
// system's; HKEY_LOCAL_MACHINE stands for the system's root of that name.
#include "platform/registry.h"

namespace platform {

struct RegistryKey {
    void* handle;  // the system's HKEY; nullptr for the predefined root
};

namespace {
RegistryKey localMachine{nullptr};
}  // namespace

const HKEY HKEY_LOCAL_MACHINE = &localMachine;

}  // namespace platform

// From here on the system's names are macros that would take the place of the add-in's own
// (HKEY_LOCAL_MACHINE, ERROR_SUCCESS, REG_SZ ...): the code below names the system's types
// with `::` and the root only through MachineRoot().
#include <windows.h>

#include "platform/files.h"

namespace {

::HKEY MachineRoot() { return HKEY_LOCAL_MACHINE; }

::HKEY SystemKey(platform::HKEY key) {
    return key->handle == nullptr ? MachineRoot() : static_cast<::HKEY>(key->handle);
}

// The key `keyPath` under HKEY_LOCAL_MACHINE opened for reading; nullptr when it cannot be.
::HKEY OpenForReading(const std::string& keyPath) {
    ::HKEY key = nullptr;
    std::wstring path = platform::WideText(keyPath);
    if (::RegOpenKeyExW(MachineRoot(), path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return nullptr;
    return key;
}

}  // namespace

namespace platform {

LONG RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR lpClass, DWORD dwOptions,
                     REGSAM samDesired, const SECURITY_ATTRIBUTES* lpSecurityAttributes,
                     PHKEY phkResult, LPDWORD lpdwDisposition) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    if (phkResult == nullptr) return ERROR_INVALID_PARAMETER;
    ::SECURITY_ATTRIBUTES security{};
    if (lpSecurityAttributes != nullptr) {
        security.nLength = lpSecurityAttributes->nLength;
        security.lpSecurityDescriptor = lpSecurityAttributes->lpSecurityDescriptor;
        security.bInheritHandle = lpSecurityAttributes->bInheritHandle;
    }
    ::HKEY result = nullptr;
    ::DWORD disposition = 0;
    LONG status = ::RegCreateKeyExA(
        SystemKey(hKey), lpSubKey, Reserved, lpClass, dwOptions, samDesired,
        lpSecurityAttributes != nullptr ? &security : nullptr, &result, &disposition);
    if (status != ERROR_SUCCESS) return status;
    *phkResult = new RegistryKey{result};
    if (lpdwDisposition != nullptr) *lpdwDisposition = disposition;
    return ERROR_SUCCESS;
}

LONG RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                    DWORD cbData) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    return ::RegSetValueExA(SystemKey(hKey), lpValueName, Reserved, dwType, lpData, cbData);
}

LONG RegCloseKey(HKEY hKey) {
    if (hKey == nullptr) return ERROR_INVALID_HANDLE;
    if (hKey->handle == nullptr) return ERROR_SUCCESS;
    LONG status = ::RegCloseKey(static_cast<::HKEY>(hKey->handle));
    delete hKey;
    return status;
}

bool ReadRegistryValue(const std::string& keyPath, const std::string& valueName, std::string& out) {
    ::HKEY key = OpenForReading(keyPath);
    if (key == nullptr) return false;
    std::wstring name = WideText(valueName);
    ::DWORD type = 0;
    ::DWORD size = 0;
    bool ok =
        ::RegQueryValueExW(key, name.c_str(), nullptr, &type, nullptr, &size) == ERROR_SUCCESS &&
        type == REG_SZ;
    std::wstring data(size / sizeof(wchar_t) + 1, L'\0');
    size = static_cast<::DWORD>(data.size() * sizeof(wchar_t));
    ok = ok && ::RegQueryValueExW(key, name.c_str(), nullptr, &type,
                                  reinterpret_cast<::BYTE*>(data.data()), &size) == ERROR_SUCCESS;
    ::RegCloseKey(key);
    if (!ok) return false;
    // The stored size counts the terminating NUL; the text ends at the first NUL either way.
    out = Utf8Text(data.substr(0, data.find(L'\0')));
    return true;
}

std::vector<std::string> ListRegistrySubkeys(const std::string& keyPath) {
    std::vector<std::string> names;
    ::HKEY key = OpenForReading(keyPath);
    if (key == nullptr) return names;
    // Key names are at most 255 characters.
    wchar_t name[256];
    for (::DWORD i = 0;; ++i) {
        ::DWORD length = 256;
        if (::RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        names.push_back(Utf8Text(std::wstring(name, length)));
    }
    ::RegCloseKey(key);
    return names;
}

std::string RegistryPlaceText() { return "the registry"; }

std::string RegistryFileProblem() { return ""; }

}  // namespace platform
