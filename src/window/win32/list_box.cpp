// A class list over a list box: sorted entries with extended selection, where the list box
// itself reports the position a new entry has taken.
#include <vector>

#include "platform/win32/win32_ui.h"
#include "window/win32/window_win32_internal.h"

namespace window::win32 {

std::int16_t ListBoxList::AddItem(const std::string& text) {
    return static_cast<std::int16_t>(SendMessageW(
        box_, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(platform::win32::Wide(text).c_str())));
}

void ListBoxList::InsertItem(std::int16_t index, const std::string& text) {
    const int count = ListCount();
    const int at = index < 0 || index > count ? count : index;
    SendMessageW(box_, LB_INSERTSTRING, static_cast<WPARAM>(at),
                 reinterpret_cast<LPARAM>(platform::win32::Wide(text).c_str()));
}

void ListBoxList::RemoveItem(std::int16_t index) {
    SendMessageW(box_, LB_DELETESTRING, static_cast<WPARAM>(index), 0);
}

void ListBoxList::Clear() { SendMessageW(box_, LB_RESETCONTENT, 0, 0); }

std::int16_t ListBoxList::ListCount() const {
    return static_cast<std::int16_t>(SendMessageW(box_, LB_GETCOUNT, 0, 0));
}

std::string ListBoxList::List(std::int16_t index) const {
    // Past the end (or before the start) reads as "".
    const LRESULT length = SendMessageW(box_, LB_GETTEXTLEN, static_cast<WPARAM>(index), 0);
    if (length == LB_ERR) return "";
    std::vector<wchar_t> text(static_cast<std::size_t>(length) + 1, L'\0');
    SendMessageW(box_, LB_GETTEXT, static_cast<WPARAM>(index),
                 reinterpret_cast<LPARAM>(text.data()));
    return platform::win32::Narrow(std::wstring(text.data()));
}

bool ListBoxList::Selected(std::int16_t index) const {
    return SendMessageW(box_, LB_GETSEL, static_cast<WPARAM>(index), 0) > 0;
}

void ListBoxList::SetSelected(std::int16_t index, bool selected) {
    if (index < 0 || index >= ListCount()) return;
    SendMessageW(box_, LB_SETSEL, selected ? TRUE : FALSE, index);
}

NoRedraw::NoRedraw(HWND window) : window_(window) { SendMessageW(window_, WM_SETREDRAW, FALSE, 0); }

NoRedraw::~NoRedraw() {
    SendMessageW(window_, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(window_, nullptr, TRUE);
}

}  // namespace window::win32
