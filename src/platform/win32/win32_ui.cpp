#include "platform/win32/win32_ui.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace platform::win32 {
namespace {

HWND owner = nullptr;

std::vector<HWND>& ModelessDialogs() {
    static std::vector<HWND> dialogs;
    return dialogs;
}

UINT Win32Icon(Icon icon) {
    switch (icon) {
        case Icon::None:
            return 0;
        case Icon::Question:
            return MB_ICONQUESTION;
        case Icon::Information:
            return MB_ICONINFORMATION;
        case Icon::Exclamation:
            return MB_ICONEXCLAMATION;
        case Icon::Critical:
            return MB_ICONERROR;
    }
    return 0;
}

UINT Win32Buttons(Buttons buttons) {
    switch (buttons) {
        case Buttons::Ok:
            return MB_OK;
        case Buttons::OkCancel:
            return MB_OKCANCEL;
        case Buttons::RetryCancel:
            return MB_RETRYCANCEL;
        case Buttons::YesNo:
            return MB_YESNO;
    }
    return MB_OK;
}

// A box that could not be shown at all (0) counts as its escape answer, as does closing it.
Answer AnswerOf(int button) {
    switch (button) {
        case IDOK:
            return Answer::Ok;
        case IDRETRY:
            return Answer::Retry;
        case IDYES:
            return Answer::Yes;
        case IDNO:
            return Answer::No;
        default:
            return Answer::Cancel;
    }
}

bool IsModelessDialogMessage(MSG& msg) {
    for (HWND dialog : ModelessDialogs()) {
        if (IsWindow(dialog) && IsDialogMessageW(dialog, &msg)) return true;
    }
    return false;
}

void Dispatch(MSG& msg) {
    if (IsModelessDialogMessage(msg)) return;
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
}

}  // namespace

std::wstring Wide(const std::string& utf8) {
    if (utf8.empty()) return {};
    const int size = static_cast<int>(utf8.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, result.data(), length);
    return result;
}

std::string Narrow(const std::wstring& utf16) {
    if (utf16.empty()) return {};
    const int size = static_cast<int>(utf16.size());
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, result.data(), length, nullptr, nullptr);
    return result;
}

void SetOwnerWindow(HWND window) { owner = window; }

void AddModelessDialog(HWND dialog) { ModelessDialogs().push_back(dialog); }

void RemoveModelessDialog(HWND dialog) {
    auto& dialogs = ModelessDialogs();
    dialogs.erase(std::remove(dialogs.begin(), dialogs.end(), dialog), dialogs.end());
}

Answer ShowWin32MessageBox(const MessageBoxRequest& request) {
    HWND parent = owner != nullptr && IsWindowVisible(owner) ? owner : nullptr;
    // Without an owner the box must still come to the front: the program may have no window
    // of its own yet (the install prompt).
    UINT style = Win32Buttons(request.buttons) | Win32Icon(request.icon) |
                 (parent == nullptr ? MB_TASKMODAL | MB_SETFOREGROUND : MB_APPLMODAL);
    return AnswerOf(
        MessageBoxW(parent, Wide(request.text).c_str(), Wide(request.title).c_str(), style));
}

void DispatchPending() {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
        if (msg.message == WM_QUIT) {
            PostQuitMessage(static_cast<int>(msg.wParam));
            return;
        }
        Dispatch(msg);
    }
}

int RunMessageLoop() {
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) Dispatch(msg);
    return static_cast<int>(msg.wParam);
}

void InstallWin32Ui() {
    UiOps& ops = Ui();
    ops.messageBox = ShowWin32MessageBox;
    ops.doEvents = DispatchPending;
    ops.endProcess = [](int status) {
        std::fflush(nullptr);
        ExitProcess(static_cast<UINT>(status));
    };
}

}  // namespace platform::win32
