// The three registry functions of the installation, with their Windows signatures. On this
// platform HKEY_LOCAL_MACHINE is kept in a REGEDIT4 text file, `$CORVANSIL_REGISTRY`, by
// default `${XDG_CONFIG_HOME:-$HOME/.config}/corvansil/registry.reg`.
#pragma once

#include <cstdint>

namespace platform {

using LONG = std::int32_t;
using DWORD = std::uint32_t;
using BYTE = std::uint8_t;
using REGSAM = DWORD;
using LPCSTR = const char*;
using LPSTR = char*;
using LPDWORD = DWORD*;

struct RegistryKey;
using HKEY = RegistryKey*;
using PHKEY = HKEY*;

struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    void* lpSecurityDescriptor;
    std::int32_t bInheritHandle;
};

// The predefined root key. Only this root is kept.
extern const HKEY HKEY_LOCAL_MACHINE;

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_BADDB = 1009;  // the registry file is damaged
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr REGSAM KEY_ALL_ACCESS = 0x3F;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

LONG RegCreateKeyExA(HKEY hKey, LPCSTR lpSubKey, DWORD Reserved, LPSTR lpClass, DWORD dwOptions,
                     REGSAM samDesired, const SECURITY_ATTRIBUTES* lpSecurityAttributes,
                     PHKEY phkResult, LPDWORD lpdwDisposition);
LONG RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType,
                    const BYTE* lpData, DWORD cbData);
LONG RegCloseKey(HKEY hKey);

}  // namespace platform
