// frmStartUp, the start-up window: the splash picture with the version and a progress line.
// It closes itself 2000 ms after it loads, or at a click on the picture.
#include <string>

#include "install/install.h"
#include "platform/win32/win32_ui.h"
#include "window/win32/window_ids.h"
#include "window/win32/window_win32.h"

namespace window::win32 {

static constexpr UINT_PTR kTimerId = 1;
static constexpr UINT kInterval = 2000;  // ms, timStartUp

static HWND frmStartUp = nullptr;
static bool modal = false;

// The text lines let the picture show through: their ground is the picture itself, aligned
// to where each line stands on it.
static HBRUSH PictureGround(HWND label, HDC dc) {
    static HBRUSH ground = CreatePatternBrush(SplashPicture());
    RECT place;
    GetWindowRect(label, &place);
    MapWindowPoints(nullptr, GetParent(label), reinterpret_cast<POINT*>(&place), 2);
    SetBrushOrgEx(dc, -place.left, -place.top, nullptr);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(242, 245, 250));
    return ground;
}

static void CloseStartUp(HWND dialog) {
    KillTimer(dialog, kTimerId);
    if (modal) {
        EndDialog(dialog, 0);
        return;
    }
    DestroyWindow(dialog);
}

static void LoadStartUp(HWND dialog) {
    frmStartUp = dialog;
    for (int id : {IDC_LBLVERSION, IDC_LBLSTARTUP}) {
        SendMessageW(GetDlgItem(dialog, id), WM_SETFONT, reinterpret_cast<WPARAM>(StartUpFont()),
                     FALSE);
    }
    const std::wstring version = L"Version " + platform::win32::Wide(install::ProgramVersion);
    SetDlgItemTextW(dialog, IDC_LBLVERSION, version.c_str());
    SetDlgItemTextW(dialog, IDC_LBLSTARTUP, L"");
    // The picture control takes the size of the 402 x 485 picture.
    HWND picture = GetDlgItem(dialog, IDC_PICSTARTUP);
    SendMessageW(picture, STM_SETIMAGE, IMAGE_BITMAP, reinterpret_cast<LPARAM>(SplashPicture()));
    SetWindowPos(picture, nullptr, 0, 0, 0, 0, SWP_NOZORDER | SWP_NOSIZE);

    // Exact places: the client area 6075 x 7335 twips, the lines at their twips.
    RECT frame{0, 0, Pixels(6075), Pixels(7335)};
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongPtrW(dialog, GWL_EXSTYLE)));
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    RECT screen;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    SetWindowPos(dialog, HWND_TOP, screen.left + (screen.right - screen.left - width) / 2,
                 screen.top + (screen.bottom - screen.top - height) / 2, width, height, 0);
    SetWindowPos(GetDlgItem(dialog, IDC_LBLVERSION), nullptr, Pixels(500), Pixels(6200),
                 Pixels(5090), Pixels(255), SWP_NOZORDER);
    SetWindowPos(GetDlgItem(dialog, IDC_LBLSTARTUP), nullptr, Pixels(500), Pixels(6500),
                 Pixels(5090), Pixels(255), SWP_NOZORDER);
    SetTimer(dialog, kTimerId, kInterval, nullptr);
}

static INT_PTR CALLBACK StartUpProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            LoadStartUp(dialog);
            return TRUE;
        case WM_CTLCOLORDLG:
            return reinterpret_cast<INT_PTR>(GetStockObject(BLACK_BRUSH));
        case WM_CTLCOLORSTATIC:
            return reinterpret_cast<INT_PTR>(
                PictureGround(reinterpret_cast<HWND>(lParam), reinterpret_cast<HDC>(wParam)));
        case WM_TIMER:
            CloseStartUp(dialog);
            return TRUE;
        case WM_COMMAND:
            // A click on the picture closes; the text lines keep their clicks; Enter and
            // Escape do nothing.
            if (LOWORD(wParam) == IDC_PICSTARTUP && HIWORD(wParam) == STN_CLICKED)
                CloseStartUp(dialog);
            return TRUE;
        case WM_DESTROY:
            if (frmStartUp == dialog) frmStartUp = nullptr;
            platform::win32::RemoveModelessDialog(dialog);
            // Shown without waiting it is the install's last window: its closing ends the
            // process.
            if (!modal) PostQuitMessage(0);
            return TRUE;
        default:
            return FALSE;
    }
}

void ShowStartUpModal() {
    if (frmStartUp != nullptr) DestroyWindow(frmStartUp);
    modal = true;
    DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_STARTUP), nullptr, StartUpProc,
                    0);
    modal = false;
}

void ShowStartUp() {
    if (frmStartUp != nullptr) DestroyWindow(frmStartUp);
    modal = false;
    HWND dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_STARTUP),
                                     nullptr, StartUpProc, 0);
    if (dialog == nullptr) return;
    platform::win32::AddModelessDialog(dialog);
    ShowWindow(dialog, SW_SHOW);
    UpdateWindow(dialog);
}

void SetStartUpProgress(const std::string& text) {
    if (frmStartUp == nullptr) return;
    SetDlgItemTextW(frmStartUp, IDC_LBLSTARTUP, platform::win32::Wide(text).c_str());
}

void StartStartUpTimer() {
    if (frmStartUp != nullptr) SetTimer(frmStartUp, kTimerId, kInterval, nullptr);
}

HWND StartUpWindow() { return frmStartUp; }

}  // namespace window::win32
