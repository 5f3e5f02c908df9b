// Drives a running transfer window from outside, the way a person would: finds it by its
// caption, presses its buttons, answers its message boxes, and reads back the event log and
// the status bar. For tests of Corvansil.exe under Wine, where no person sits. Usage:
//   drive_window CAPTION ACTION...
// Actions, done in order:
//   select-all        press the button that moves every available class to the selected list
//   start             press the start button (the run goes on in the window's own process)
//   answer:BUTTON     wait for the next message box, print "box: TEXT", press BUTTON
//                     (ok, cancel, retry, yes, no)
//   wait-done         wait until the close button reads "Close" (the run has finished)
//   rows              print every log row as "MARK CLASS: STATUS" (MARK: FAILED, done, ...)
//   status            print "-- " and the status bar's text
//   close             press the close button (Cancel asks first: answer the box next)
//   wait-exit         wait until the program has ended
//   press:BUTTON      press BUTTON (ok, cancel, retry, yes, no) of the window itself, when
//                     the window found is a message box
//   pause:MS          wait MS milliseconds (for a person or a screenshot to see the window)
// Every wait gives up after 120 s with exit status 2; a missing window or control is status 1.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "platform/win32/win32_ui.h"
#include "window/win32/window_ids.h"

namespace {

using platform::win32::Narrow;
using platform::win32::Wide;

constexpr DWORD kPatience = 120000;  // ms

[[noreturn]] void GiveUp(int status, const std::string& why) {
    std::fprintf(stderr, "drive_window: %s\n", why.c_str());
    std::fflush(nullptr);
    ExitProcess(static_cast<UINT>(status));
}

std::string TextOf(HWND window) {
    wchar_t text[2048] = {};
    SendMessageTimeoutW(window, WM_GETTEXT, 2048, reinterpret_cast<LPARAM>(text), SMTO_BLOCK, 5000,
                        nullptr);
    return Narrow(text);
}

// Waits until `found` gives a window; gives up after the patience.
template <typename Find>
HWND WaitFor(Find found, const std::string& what) {
    const DWORD start = GetTickCount();
    for (;;) {
        if (HWND window = found(); window != nullptr) return window;
        if (GetTickCount() - start > kPatience) GiveUp(2, "no " + what + " within 120 s");
        Sleep(50);
    }
}

struct BoxSearch {
    DWORD process;
    HWND main;
    HWND box;
};

// A message box of the window's process: a visible dialog other than the window itself.
BOOL CALLBACK FindBox(HWND window, LPARAM param) {
    auto* search = reinterpret_cast<BoxSearch*>(param);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t className[32] = {};
    GetClassNameW(window, className, 32);
    if (process != search->process || window == search->main || !IsWindowVisible(window) ||
        std::wcscmp(className, L"#32770") != 0)
        return TRUE;
    search->box = window;
    return FALSE;
}

// The box's message: the longest text of its static controls.
BOOL CALLBACK LongestStatic(HWND window, LPARAM param) {
    auto* text = reinterpret_cast<std::string*>(param);
    wchar_t className[32] = {};
    GetClassNameW(window, className, 32);
    if (_wcsicmp(className, L"Static") != 0) return TRUE;
    std::string candidate = TextOf(window);
    if (candidate.size() > text->size()) *text = candidate;
    return TRUE;
}

int ButtonId(const std::string& name) {
    if (name == "ok") return IDOK;
    if (name == "cancel") return IDCANCEL;
    if (name == "retry") return IDRETRY;
    if (name == "yes") return IDYES;
    if (name == "no") return IDNO;
    GiveUp(1, "no button " + name);
}

void Answer(HWND main, DWORD process, const std::string& button) {
    HWND box = WaitFor(
        [&] {
            BoxSearch search{process, main, nullptr};
            EnumWindows(FindBox, reinterpret_cast<LPARAM>(&search));
            return search.box;
        },
        "message box");
    std::string text;
    EnumChildWindows(box, LongestStatic, reinterpret_cast<LPARAM>(&text));
    std::printf("box: %s\n", text.c_str());
    std::fflush(stdout);
    HWND control = GetDlgItem(box, ButtonId(button));
    if (control == nullptr) GiveUp(1, "the box has no " + button + " button");
    PostMessageW(control, BM_CLICK, 0, 0);
    WaitFor([&] { return IsWindow(box) && IsWindowVisible(box) ? nullptr : main; }, "box closing");
}

// Memory in the window's process for the list view to write a row's text into.
class RemoteBuffer {
  public:
    RemoteBuffer(DWORD process, std::size_t size) : size_(size) {
        process_ =
            OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process);
        if (process_ == nullptr) GiveUp(1, "cannot open the window's process");
        at_ = VirtualAllocEx(process_, nullptr, size, MEM_COMMIT, PAGE_READWRITE);
        if (at_ == nullptr) GiveUp(1, "cannot reach the window's memory");
    }
    ~RemoteBuffer() {
        VirtualFreeEx(process_, at_, 0, MEM_RELEASE);
        CloseHandle(process_);
    }
    RemoteBuffer(const RemoteBuffer&) = delete;
    RemoteBuffer& operator=(const RemoteBuffer&) = delete;

    void Write(const void* data, std::size_t size, std::size_t offset = 0) {
        WriteProcessMemory(process_, static_cast<char*>(at_) + offset, data, size, nullptr);
    }
    void Read(void* data, std::size_t size, std::size_t offset = 0) const {
        ReadProcessMemory(process_, static_cast<const char*>(at_) + offset, data, size, nullptr);
    }
    char* At(std::size_t offset = 0) const { return static_cast<char*>(at_) + offset; }

  private:
    HANDLE process_ = nullptr;
    void* at_ = nullptr;
    std::size_t size_;
};

constexpr std::size_t kTextChars = 1024;

std::string CellText(HWND log, RemoteBuffer& buffer, int row, int column) {
    LVITEMW item{};
    item.iSubItem = column;
    item.cchTextMax = static_cast<int>(kTextChars);
    item.pszText = reinterpret_cast<wchar_t*>(buffer.At(sizeof(LVITEMW)));
    buffer.Write(&item, sizeof(item));
    SendMessageW(log, LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(buffer.At()));
    std::vector<wchar_t> text(kTextChars + 1, L'\0');
    buffer.Read(text.data(), kTextChars * sizeof(wchar_t), sizeof(LVITEMW));
    return Narrow(text.data());
}

const char* MarkOf(int icon) {
    switch (icon) {
        case 1:
            return "FAILED";
        case 2:
            return "done  ";
        case 3:
            return "...   ";
        default:
            return "      ";
    }
}

void PrintRows(HWND main, DWORD process) {
    HWND log = GetDlgItem(main, IDC_LVWLOG);
    RemoteBuffer buffer(process, sizeof(LVITEMW) + (kTextChars + 1) * sizeof(wchar_t));
    const auto count = static_cast<int>(SendMessageW(log, LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < count; ++row) {
        LVITEMW item{};
        item.mask = LVIF_IMAGE;
        item.iItem = row;
        buffer.Write(&item, sizeof(item));
        SendMessageW(log, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(buffer.At()));
        buffer.Read(&item, sizeof(item));
        std::string line = MarkOf(item.iImage + 1);
        const std::string className = CellText(log, buffer, row, 1);
        const std::string status = CellText(log, buffer, row, 2);
        if (!className.empty()) line += " " + className + ":";
        if (!status.empty()) line += " " + status;
        std::printf("%s\n", line.c_str());
    }
}

HWND Control(HWND main, int id) {
    HWND control = GetDlgItem(main, id);
    if (control == nullptr) GiveUp(1, "the window has no control " + std::to_string(id));
    return control;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) GiveUp(1, "usage: drive_window CAPTION ACTION...");
    const std::wstring caption = Wide(argv[1]);
    HWND main = WaitFor(
        [&] {
            HWND window = FindWindowW(L"#32770", caption.c_str());
            return window != nullptr && IsWindowVisible(window) ? window : nullptr;
        },
        "window \"" + std::string(argv[1]) + "\"");
    DWORD process = 0;
    GetWindowThreadProcessId(main, &process);
    HANDLE program = OpenProcess(SYNCHRONIZE, FALSE, process);

    for (int i = 2; i < argc; ++i) {
        const std::string action = argv[i];
        if (action == "select-all") {
            SendMessageW(Control(main, IDC_CMDSELECTALL), BM_CLICK, 0, 0);
        } else if (action == "start") {
            // Posted: the run goes on inside the button's handler.
            PostMessageW(Control(main, IDC_CMDEXPORTIMPORT), BM_CLICK, 0, 0);
        } else if (action.rfind("answer:", 0) == 0) {
            Answer(main, process, action.substr(7));
        } else if (action == "wait-done") {
            HWND close = Control(main, IDC_CMDCLOSE);
            WaitFor([&] { return TextOf(close) == "Close" ? close : nullptr; }, "finished run");
        } else if (action == "rows") {
            PrintRows(main, process);
        } else if (action == "status") {
            std::printf("-- %s\n", TextOf(Control(main, IDC_STATUSBAR)).c_str());
        } else if (action == "close") {
            PostMessageW(Control(main, IDC_CMDCLOSE), BM_CLICK, 0, 0);
        } else if (action.rfind("press:", 0) == 0) {
            PostMessageW(Control(main, ButtonId(action.substr(6))), BM_CLICK, 0, 0);
        } else if (action.rfind("pause:", 0) == 0) {
            Sleep(static_cast<DWORD>(std::stoul(action.substr(6))));
        } else if (action == "wait-exit") {
            if (WaitForSingleObject(program, kPatience) != WAIT_OBJECT_0)
                GiveUp(2, "the program did not end");
        } else {
            GiveUp(1, "unknown action " + action);
        }
        std::fflush(stdout);
    }
    return 0;
}
