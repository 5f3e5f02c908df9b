#include <exception>
#include <stdexcept>
#include <utility>

#include "platform/platform.h"
#include "platform/win32/win32_ui.h"
#include "window/win32/window_ids.h"
#include "window/win32/window_win32.h"

namespace window::win32 {

using platform::win32::Wide;

static const wchar_t* const kTipAvailable =
    L"This list contains the Rose class definitions available for export to Tavro";
static const wchar_t* const kTipSelected =
    L"This list contains the Rose class definitions selected for export to Tavro";

// Bold are the buttons with text and the labels; the lists, check boxes, log and status bar
// are regular.
static bool IsBold(int id) {
    switch (id) {
        case IDC_CMDEXPORTIMPORT:
        case IDC_CMDCLOSE:
        case IDC_LBLNAMESPACEORMODEL:
        case IDC_LBLAVAILABLECLASSESCAPTION:
        case IDC_LBLSELECTEDCLASSESCAPTION:
        case IDC_LBLLOG:
            return true;
        default:
            return false;
    }
}

ImportExportWindow::ImportExportWindow(RunOps ops)
    : ops_(std::move(ops)),
      availableIds_(NewPlainList(/*sorted=*/false)),
      selectedIds_(NewPlainList(/*sorted=*/false)) {
    INITCOMMONCONTROLSEX controls{sizeof(INITCOMMONCONTROLSEX),
                                  ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES | ICC_WIN95_CLASSES};
    InitCommonControlsEx(&controls);
    // WM_INITDIALOG runs inside this call and sets hwnd_.
    CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_IMPORTEXPORT), nullptr,
                       DialogProc, reinterpret_cast<LPARAM>(this));
    if (hwnd_ == nullptr) throw std::runtime_error("the transfer window could not be created");
    if (frmImportExport == nullptr) frmImportExport = this;
}

ImportExportWindow::~ImportExportWindow() {
    if (frmImportExport == this) frmImportExport = nullptr;
    platform::win32::RemoveModelessDialog(hwnd_);
    platform::win32::SetOwnerWindow(nullptr);
    DestroyWindow(hwnd_);
}

INT_PTR CALLBACK ImportExportWindow::DialogProc(HWND dialog, UINT message, WPARAM wParam,
                                                LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
        reinterpret_cast<ImportExportWindow*>(lParam)->InitDialog(dialog);
        return TRUE;
    }
    auto* self = reinterpret_cast<ImportExportWindow*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
    if (self == nullptr) return FALSE;
    // Errors must not cross the system's message dispatching; the user is told what it was.
    try {
        switch (message) {
            case WM_COMMAND:
                self->OnCommand(LOWORD(wParam), HIWORD(wParam));
                return TRUE;
            case WM_SIZE:
                self->OnSize(static_cast<UINT>(wParam), LOWORD(lParam), HIWORD(lParam));
                return TRUE;
            case WM_CLOSE:
                self->Form_Unload();
                return TRUE;
            default:
                return FALSE;
        }
    } catch (const std::exception& error) {
        platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    }
    return TRUE;
}

void ImportExportWindow::InitDialog(HWND dialog) {
    hwnd_ = dialog;
    places_ = DesignPlaces();
    hidden_ = {IDC_FRALOG};
    for (const auto& [id, place] : places_) {
        SendMessageW(Item(id), WM_SETFONT, reinterpret_cast<WPARAM>(WindowFont(IsBold(id))), FALSE);
    }
    const std::pair<int, Arrow> arrows[] = {{IDC_CMDSELECT, Arrow::Right},
                                            {IDC_CMDUNSELECT, Arrow::Left},
                                            {IDC_CMDSELECTALL, Arrow::RightAll},
                                            {IDC_CMDUNSELECTALL, Arrow::LeftAll}};
    for (const auto& [id, arrow] : arrows) {
        SendMessageW(Item(id), BM_SETIMAGE, IMAGE_ICON,
                     reinterpret_cast<LPARAM>(ArrowPicture(arrow)));
    }
    SendMessageW(Item(IDC_LVWLOG), LVM_SETIMAGELIST, LVSIL_SMALL,
                 reinterpret_cast<LPARAM>(LogPictures()));
    CheckDlgButton(hwnd_, IDC_CHKADDTODIAGRAM, BST_CHECKED);
    CheckDlgButton(hwnd_, IDC_CHKOVERRIDE, BST_CHECKED);
    available_ = std::make_unique<ListBoxList>(Item(IDC_LSTAVAILABLECLASSES));
    selected_ = std::make_unique<ListBoxList>(Item(IDC_LSTSELECTEDCLASSES));
    AddTooltips();
    // The frames lie under their controls, so that a label, which keeps clear of the controls
    // above it, gives way to the list it touches as a drawn label would.
    for (int frame : {IDC_FRAMAIN, IDC_FRALOG}) {
        SetWindowPos(Item(frame), HWND_BOTTOM, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    }

    // The client area it is created with; the size change lays the controls out for it.
    const auto style = static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_STYLE));
    const auto exStyle = static_cast<DWORD>(GetWindowLongPtrW(hwnd_, GWL_EXSTYLE));
    RECT frame{0, 0, Pixels(clientWidth_), Pixels(clientHeight_)};
    AdjustWindowRectEx(&frame, style, FALSE, exStyle);
    SetWindowPos(hwnd_, nullptr, 0, 0, frame.right - frame.left, frame.bottom - frame.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    OnSize(SIZE_RESTORED, Pixels(clientWidth_), Pixels(clientHeight_));

    platform::win32::AddModelessDialog(hwnd_);
    platform::win32::SetOwnerWindow(hwnd_);
}

void ImportExportWindow::AddTooltips() {
    tooltips_ = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hwnd_,
                                nullptr, GetModuleHandleW(nullptr), nullptr);
    const std::pair<int, const wchar_t*> tips[] = {
        {IDC_CMDEXPORTIMPORT,
         L"Press this button to start exporting the classes in the selected list"},
        {IDC_CMDCLOSE, L"Press this button to close this window"},
        {IDC_LBLNAMESPACEORMODEL, kTipAvailable},
        {IDC_LBLAVAILABLECLASSESCAPTION, kTipAvailable},
        {IDC_LBLSELECTEDCLASSESCAPTION, kTipSelected},
        {IDC_LSTAVAILABLECLASSES, kTipAvailable},
        {IDC_LSTSELECTEDCLASSES, kTipSelected},
        {IDC_CMDSELECT,
         L"Press this button to move the highlighted class in the available list to the "
         L"selected list"},
        {IDC_CMDUNSELECT,
         L"Press this button to move the highlighted class in the selected list to the "
         L"available list"},
        {IDC_CMDSELECTALL,
         L"Press this button to move all classes from the available list to the selected list"},
        {IDC_CMDUNSELECTALL,
         L"Press this button to move all classes from the selected list to the available list"},
        {IDC_LBLLOG, kTipSelected},
    };
    for (const auto& [id, text] : tips) {
        TOOLINFOW tool{};
        tool.cbSize = sizeof(tool);
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.hwnd = hwnd_;
        tool.uId = reinterpret_cast<UINT_PTR>(Item(id));
        tool.lpszText = const_cast<wchar_t*>(text);
        SendMessageW(tooltips_, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    }
    SendMessageW(tooltips_, TTM_SETMAXTIPWIDTH, 0, 400);
}

void ImportExportWindow::OnCommand(int id, int code) {
    switch (id) {
        case IDC_CMDSELECT:
            if (code == BN_CLICKED) cmdSelect_Click();
            return;
        case IDC_CMDUNSELECT:
            if (code == BN_CLICKED) cmdUnselect_Click();
            return;
        case IDC_CMDSELECTALL:
            if (code == BN_CLICKED) cmdSelectAll_Click();
            return;
        case IDC_CMDUNSELECTALL:
            if (code == BN_CLICKED) cmdUnselectAll_Click();
            return;
        case IDC_LSTAVAILABLECLASSES:
            if (code == LBN_SELCHANGE) UpdateSelectionButtons();
            if (code == LBN_DBLCLK) cmdSelect_Click();
            return;
        case IDC_LSTSELECTEDCLASSES:
            if (code == LBN_SELCHANGE) UpdateSelectionButtons();
            if (code == LBN_DBLCLK) cmdUnselect_Click();
            return;
        case IDC_CHKINCLUDEDATATYPE:
        case IDC_CHKINCLUDESYSTEM:
            if (code == BN_CLICKED) chkInclude_Click();
            return;
        case IDC_CMDEXPORTIMPORT:
            if (code == BN_CLICKED) cmdExportImport_Click();
            return;
        case IDC_CMDCLOSE:
            if (code == BN_CLICKED) cmdClose_Click();
            return;
        default:
            // Enter and Escape (IDOK, IDCANCEL) do nothing: only the buttons end or start.
            return;
    }
}

void ImportExportWindow::OnSize(UINT kind, int width, int height) {
    const bool minimized = kind == SIZE_MINIMIZED;
    // A minimized window reports no client area; the bottom buttons keep the last one.
    if (!minimized) {
        clientWidth_ = width * kTwipsPerPixel;
        clientHeight_ = height * kTwipsPerPixel;
    }
    LayOut(places_, clientWidth_, clientHeight_, minimized);
    ApplyPlaces();
}

void ImportExportWindow::ApplyPlaces() {
    for (const auto& [id, place] : places_) {
        int left = Pixels(place.left);
        int top = Pixels(place.top);
        if (int frame = FrameOf(id); frame != 0) {
            left += Pixels(places_[frame].left);
            top += Pixels(places_[frame].top);
        }
        SetWindowPos(Item(id), nullptr, left, top, Pixels(place.width), Pixels(place.height),
                     SWP_NOZORDER | SWP_NOACTIVATE);
    }
    InvalidateRect(hwnd_, nullptr, TRUE);
}

void ImportExportWindow::SetVisible(int id, bool visible) {
    if (visible) {
        hidden_.erase(id);
    } else {
        hidden_.insert(id);
    }
    const int frame = FrameOf(id);
    const bool shown = visible && (frame == 0 || hidden_.count(frame) == 0);
    ShowWindow(Item(id), shown ? SW_SHOWNA : SW_HIDE);
}

void ImportExportWindow::ShowFrame(int frame, bool visible) {
    SetVisible(frame, visible);
    for (const auto& [id, place] : places_) {
        if (FrameOf(id) != frame) continue;
        ShowWindow(Item(id), visible && hidden_.count(id) == 0 ? SW_SHOWNA : SW_HIDE);
    }
}

std::int16_t ImportExportWindow::CheckValue(CheckBox box) const {
    int id = IDC_CHKOVERRIDE;
    switch (box) {
        case CheckBox::Override:
            id = IDC_CHKOVERRIDE;
            break;
        case CheckBox::AddToDiagram:
            id = IDC_CHKADDTODIAGRAM;
            break;
        case CheckBox::IncludeDatatype:
            id = IDC_CHKINCLUDEDATATYPE;
            break;
        case CheckBox::IncludeSystem:
            id = IDC_CHKINCLUDESYSTEM;
            break;
    }
    return IsDlgButtonChecked(hwnd_, id) == BST_CHECKED ? 1 : 0;
}

void ImportExportWindow::SetNamespaceOrModelCaption(const std::string& caption) {
    SetDlgItemTextW(hwnd_, IDC_LBLNAMESPACEORMODEL, Wide(caption).c_str());
}

void ImportExportWindow::SetCloseCaption(const std::string& caption) {
    SetDlgItemTextW(hwnd_, IDC_CMDCLOSE, Wide(caption).c_str());
}

std::string ImportExportWindow::CloseCaption() const {
    wchar_t text[64] = {};
    GetDlgItemTextW(hwnd_, IDC_CMDCLOSE, text, 64);
    return platform::win32::Narrow(text);
}

void ImportExportWindow::DoEvents() { platform::DoEvents(); }

void ImportExportWindow::Show() {
    ShowWindow(hwnd_, SW_SHOW);
    UpdateWindow(hwnd_);
    SetForegroundWindow(hwnd_);
}

void ImportExportWindow::Form_Load() {
    if (loaded_) return;
    loaded_ = true;
    InitLog();
    switch (LinkMode) {
        case RunMode::Export: {
            SetDlgItemTextW(hwnd_, IDC_CMDEXPORTIMPORT, L"Export");
            SetWindowTextW(hwnd_, L"Export Classes from Rose to Tavro");
            SetVisible(IDC_CHKINCLUDEDATATYPE, false);
            SetVisible(IDC_CHKINCLUDESYSTEM, false);
            SetVisible(IDC_CHKADDTODIAGRAM, false);
            {
                NoRedraw availablePaused(Item(IDC_LSTAVAILABLECLASSES));
                NoRedraw selectedPaused(Item(IDC_LSTSELECTEDCLASSES));
                if (ops_.LoadRoseClassList)
                    ops_.LoadRoseClassList(*available_, *selected_, *availableIds_, *selectedIds_);
            }
            UpdateSelectionButtons();
            return;
        }
        case RunMode::Import:
            SetDlgItemTextW(hwnd_, IDC_CMDEXPORTIMPORT, L"Import");
            SetWindowTextW(hwnd_, L"Import Classes from Tavro to Rose");
            ReloadTavroClassList();
            UpdateSelectionButtons();
            return;
        case RunMode::Datatypes:
        case RunMode::System:
            SetWindowTextW(hwnd_, LinkMode == RunMode::Datatypes
                                      ? L"Import Datatype Classes from Tavro to Rose"
                                      : L"Import System Classes from Tavro to Rose");
            ShowFrame(IDC_FRAMAIN, false);
            ShowFrame(IDC_FRALOG, true);
            SetVisible(IDC_CMDEXPORTIMPORT, false);
            return;
        default:
            return;
    }
}

// The available list is rebuilt from the server with its painting paused, so that a long
// class list is shown once rather than entry by entry.
void ImportExportWindow::ReloadTavroClassList() {
    NoRedraw paused(Item(IDC_LSTAVAILABLECLASSES));
    if (ops_.LoadTavroClassList) ops_.LoadTavroClassList();
}

}  // namespace window::win32
