// The event log (one row per class a run handles: picture, class name, status text) in a
// report-style list view, and the status bar.
#include <stdexcept>
#include <string>

#include "platform/win32/win32_ui.h"
#include "window/win32/window_ids.h"
#include "window/win32/window_win32.h"

namespace window::win32 {

using platform::win32::Wide;

enum LogColumn { kColImage = 0, kColClass = 1, kColStatus = 2 };

void ImportExportWindow::InitLog() {
    // Keys of the columns, in order: LogColImage, LogColClass, LogColStatus.
    struct Column {
        const wchar_t* heading;
        int widthTwips;
    };
    static constexpr Column kColumns[] = {{L"", 500}, {L"Class", 3000}, {L"Status", 4000}};
    HWND log = Item(IDC_LVWLOG);
    for (int i = 0; i < 3; ++i) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        column.pszText = const_cast<wchar_t*>(kColumns[i].heading);
        column.cx = Pixels(kColumns[i].widthTwips);
        column.iSubItem = i;
        SendMessageW(log, LVM_INSERTCOLUMNW, static_cast<WPARAM>(i),
                     reinterpret_cast<LPARAM>(&column));
    }
}

static void SetCellText(HWND log, int row, int column, const std::string& text) {
    std::wstring wide = Wide(text);
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = wide.data();
    SendMessageW(log, LVM_SETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

static std::string CellText(HWND log, int row, int column) {
    wchar_t buffer[1024] = {};
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = buffer;
    item.cchTextMax = 1024;
    SendMessageW(log, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    return platform::win32::Narrow(buffer);
}

std::int16_t ImportExportWindow::AddLogMsg(const std::string& className, const std::string& msgText,
                                           const std::string& errorText, std::int16_t icon,
                                           bool displayNow) {
    HWND log = Item(IDC_LVWLOG);
    // A new row has no text and no picture; its picture number (0) is kept in its parameter.
    LVITEMW item{};
    item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_PARAM;
    item.iItem = LogRowCount();
    item.pszText = const_cast<wchar_t*>(L"");
    item.iImage = I_IMAGENONE;
    item.lParam = 0;
    SendMessageW(log, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    auto logId = static_cast<std::int16_t>(LogRowCount());
    UpdateLogMsg(logId, className, msgText, errorText, icon, displayNow);
    return logId;
}

void ImportExportWindow::UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                                      std::optional<std::string> msgText,
                                      const std::string& errorText, std::int16_t icon,
                                      bool displayNow) {
    HWND log = Item(IDC_LVWLOG);
    // A caller's mistake; it must not take the window down with it.
    if (logId < 1 || logId > LogRowCount())
        throw std::out_of_range("log row " + std::to_string(logId) + " does not exist");
    const int row = logId - 1;
    std::string status = msgText.value_or("");
    if (!errorText.empty()) status += " (" + errorText + ")";
    if (displayNow) SendMessageW(log, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
    if (className) SetCellText(log, row, kColClass, *className);
    if (icon > 0) {
        LVITEMW item{};
        item.mask = LVIF_IMAGE | LVIF_PARAM;
        item.iItem = row;
        item.iImage = icon - 1;
        item.lParam = icon;
        SendMessageW(log, LVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
    // Every update writes the status, so one that gives no text clears it.
    SetCellText(log, row, kColStatus, status);
    if (displayNow) SendMessageW(log, LVM_ENSUREVISIBLE, static_cast<WPARAM>(row), FALSE);
    // This is where a long run keeps the window painted and lets a press on the cancel
    // button through.
    DoEvents();
}

void ImportExportWindow::ClearLog() { SendMessageW(Item(IDC_LVWLOG), LVM_DELETEALLITEMS, 0, 0); }

void ImportExportWindow::StatusMessage(const std::string& messageText) {
    status_ = messageText;
    SendMessageW(Item(IDC_STATUSBAR), SB_SETTEXTW, 0,
                 reinterpret_cast<LPARAM>(Wide(messageText).c_str()));
}

int ImportExportWindow::LogRowCount() const {
    return static_cast<int>(SendMessageW(Item(IDC_LVWLOG), LVM_GETITEMCOUNT, 0, 0));
}

LogRow ImportExportWindow::LogRowAt(std::int16_t logId) const {
    if (logId < 1 || logId > LogRowCount()) return {};
    HWND log = Item(IDC_LVWLOG);
    LVITEMW item{};
    item.mask = LVIF_PARAM;
    item.iItem = logId - 1;
    SendMessageW(log, LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    return LogRow{static_cast<std::int16_t>(item.lParam), CellText(log, logId - 1, kColClass),
                  CellText(log, logId - 1, kColStatus)};
}

}  // namespace window::win32
