// The three registry functions of the installation, with their Windows signatures. On Linux
// HKEY_LOCAL_MACHINE is kept in a REGEDIT4 text file, `$CORVANSIL_REGISTRY`, by default
// `${XDG_CONFIG_HOME:-$HOME/.config}/corvansil/registry.reg`; on Windows they are the system's
// own functions on the real registry (registry_win32.cpp), and the file does not exist.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

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
inline constexpr LONG ERROR_WRITE_FAULT = 29;
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
LONG RegSetValueExA(HKEY hKey, LPCSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                    DWORD cbData);
LONG RegCloseKey(HKEY hKey);

// How the file behaves on Linux, beyond the Windows contract:
// - keys are created with their missing parents; key paths and value names are compared
//   without regard to letter case and keep the spelling of their first creation;
// - every change is a read-modify-write of the whole file under an exclusive lock (a
//   ".lock" file beside it), written to a temporary file and renamed over the old one, so two
//   installations running at once lose nothing and a reader never sees half a file;
// - a file that is not a REGEDIT4 text is left untouched and every call that needs it fails
//   with ERROR_BADDB;
// - only REG_SZ values can be set; values of other types already in the file are kept as
//   they are.

#ifndef _WIN32
// The path of the file that holds HKEY_LOCAL_MACHINE.
std::string RegistryFilePath();
#endif
// Where the registry is, as our own diagnostics name it: "the registry file PATH
// ($CORVANSIL_REGISTRY)" on Linux, "the registry" on Windows.
std::string RegistryPlaceText();

// Reads the REG_SZ value `valueName` ("" for the default value) of the key `keyPath` under
// HKEY_LOCAL_MACHINE, for example "SOFTWARE\Rational Software\Rose\AddIns\Tavro". False
// when the key, the value or a readable file is missing, or the value is not a string.
bool ReadRegistryValue(const std::string& keyPath, const std::string& valueName, std::string& out);

// The names of the direct sub-keys of `keyPath` under HKEY_LOCAL_MACHINE, in the file's
// order (sorted); empty when there are none or the file cannot be read.
std::vector<std::string> ListRegistrySubkeys(const std::string& keyPath);

// Why the registry file cannot be read, for a warning: "" when it reads or does not exist
// (an absent file is an empty registry), otherwise the reason ("line 3: bad value line").
// Always "" on Windows.
std::string RegistryFileProblem();

}  // namespace platform
