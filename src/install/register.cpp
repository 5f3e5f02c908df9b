#include <string>

#include "install/install.h"
#include "platform/registry.h"

namespace install {
namespace {

using platform::DWORD;
using platform::HKEY;

// A REG_SZ value: the text with its terminating NUL, the size counting the NUL.
void SetStringValue(HKEY key, const char* name, const std::string& text) {
    // The result is not examined: a value that cannot be written is simply missing.
    platform::RegSetValueExA(key, name, 0, platform::REG_SZ,
                             reinterpret_cast<const platform::BYTE*>(text.c_str()),
                             static_cast<DWORD>(text.size() + 1));
}

// Creates or opens `subKey` with every access; nullptr when that fails.
HKEY CreateKey(const std::string& subKey) {
    std::string keyClass(255, ' ');
    platform::SECURITY_ATTRIBUTES security{0, nullptr, 0};
    HKEY key = nullptr;
    DWORD disposition = 0;  // created or opened makes no difference here
    platform::LONG status = platform::RegCreateKeyExA(
        platform::HKEY_LOCAL_MACHINE, subKey.c_str(), 0, keyClass.data(),
        platform::REG_OPTION_NON_VOLATILE, platform::KEY_ALL_ACCESS, &security, &key, &disposition);
    return status == platform::ERROR_SUCCESS ? key : nullptr;
}

}  // namespace

std::string AddInKeyPath(const std::string& hostWord) {
    std::string base = hostWord == "MSVM" ? "SOFTWARE\\Microsoft\\Visual Modeler\\"
                                          : "SOFTWARE\\Rational Software\\Rose\\";
    return base + "AddIns\\Tavro";
}

void RegisterAddIn(const std::string& installDirectory, const std::string& hostWord) {
    std::string addInKey = AddInKeyPath(hostWord);

    if (HKEY key = CreateKey(addInKey); key != nullptr) {
        SetStringValue(key, "Active", "Yes");
        SetStringValue(key, "Company", kCompany);
        SetStringValue(key, "Copyright", kCopyright);
        SetStringValue(key, "InstallDir", installDirectory);
        SetStringValue(key, "LanguageAddIn", "No");
        SetStringValue(key, "MenuFile", kMenuFileName);
        SetStringValue(key, "PropertyFile", kPropertyFileName);
        SetStringValue(key, "Version", ProgramVersion);
        platform::RegCloseKey(key);
    }

    // "Debug" goes back to "0" on every installation, whatever it was set to since.
    if (HKEY key = CreateKey(addInKey + "\\CustomSettings"); key != nullptr) {
        SetStringValue(key, "Debug", "0");
        platform::RegCloseKey(key);
    }
}

}  // namespace install
