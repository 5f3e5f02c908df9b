#include "hosts/com/com_host.h"

#include <windows.h>

#include "automation/automation.h"
#include "platform/files.h"

namespace comhost {
namespace {

void SetDefault(const std::string& key, const std::string& value) {
    HKEY handle = nullptr;
    std::wstring wideKey = platform::WideText(key);
    LONG rc = ::RegCreateKeyExW(HKEY_CLASSES_ROOT, wideKey.c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                nullptr, &handle, nullptr);
    if (rc != ERROR_SUCCESS) throw automation::AutomationError("cannot create HKCR\\" + key);
    std::wstring wide = platform::WideText(value);
    rc = ::RegSetValueExW(handle, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.c_str()),
                          static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(handle);
    if (rc != ERROR_SUCCESS) throw automation::AutomationError("cannot write HKCR\\" + key);
}

}  // namespace

std::string ModulePath() {
    wchar_t path[MAX_PATH];
    DWORD size = ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    int bytes = ::WideCharToMultiByte(CP_UTF8, 0, path, static_cast<int>(size), nullptr, 0, nullptr,
                                      nullptr);
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, path, static_cast<int>(size), narrow.data(), bytes, nullptr,
                          nullptr);
    return narrow;
}

void RegisterClassName(const std::string& progId, const std::string& clsid,
                       const std::string& serverPath) {
    SetDefault(progId + "\\CLSID", clsid);
    SetDefault("CLSID\\" + clsid + "\\ProgID", progId);
    if (!serverPath.empty()) {
        SetDefault("CLSID\\" + clsid + "\\LocalServer32", "\"" + serverPath + "\"");
    }
}

void Serve(const std::function<bool()>& done, std::chrono::milliseconds tick) {
    auto next = std::chrono::steady_clock::now() + tick;
    for (;;) {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&message);
            ::DispatchMessageW(&message);
        }
        auto now = std::chrono::steady_clock::now();
        if (now >= next) {
            if (done()) return;
            next = now + tick;
        }
        auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - now).count();
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(wait < 0 ? 0 : wait),
                                    QS_ALLINPUT);
    }
}

}  // namespace comhost
