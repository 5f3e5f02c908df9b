// Moving classes between the available and the selected list, with their hidden companion
// lists of class identifiers kept in step in export mode.
#include <exception>

#include "platform/platform.h"
#include "window/win32/window_ids.h"
#include "window/win32/window_win32.h"

namespace window::win32 {

// Moves the highlighted entries of `from` (all of them with `moveAll`) into `to`, where each
// takes its sorted place and is highlighted. In export mode the companion entry follows its
// class to the position the class has taken. The walk steps back after each removal so that
// the entry that moves up into the freed place is looked at as well.
static void MoveClasses(ClassList& from, ClassList& fromIds, ClassList& to, ClassList& toIds,
                        bool moveAll) {
    const bool withIds = LinkMode == RunMode::Export;
    for (std::int16_t i = 0; i < to.ListCount(); ++i) to.SetSelected(i, false);

    const std::int16_t count = from.ListCount();
    for (std::int16_t i = 0; i < count; ++i) {
        if (i == from.ListCount()) break;
        if (!moveAll && !from.Selected(i)) continue;
        const std::int16_t at = to.AddItem(from.List(i));
        to.SetSelected(at, true);
        if (withIds) toIds.InsertItem(at, fromIds.List(i));
        from.RemoveItem(i);
        if (withIds) fromIds.RemoveItem(i);
        --i;
    }
}

void ImportExportWindow::SelectClasses(bool moveAll) {
    {
        NoRedraw availablePaused(Item(IDC_LSTAVAILABLECLASSES));
        NoRedraw selectedPaused(Item(IDC_LSTSELECTEDCLASSES));
        MoveClasses(*available_, *availableIds_, *selected_, *selectedIds_, moveAll);
    }
    UpdateSelectionButtons();
}

void ImportExportWindow::UnselectClasses(bool moveAll) {
    {
        NoRedraw availablePaused(Item(IDC_LSTAVAILABLECLASSES));
        NoRedraw selectedPaused(Item(IDC_LSTSELECTEDCLASSES));
        MoveClasses(*selected_, *selectedIds_, *available_, *availableIds_, moveAll);
    }
    UpdateSelectionButtons();
}

static bool AnyHighlighted(const ClassList& list) {
    for (std::int16_t i = 0; i < list.ListCount(); ++i) {
        if (list.Selected(i)) return true;
    }
    return false;
}

void ImportExportWindow::UpdateSelectionButtons() {
    EnableWindow(Item(IDC_CMDSELECTALL), available_->ListCount() > 0);
    EnableWindow(Item(IDC_CMDUNSELECTALL), selected_->ListCount() > 0);
    EnableWindow(Item(IDC_CMDEXPORTIMPORT), selected_->ListCount() > 0);
    EnableWindow(Item(IDC_CMDSELECT), AnyHighlighted(*available_));
    EnableWindow(Item(IDC_CMDUNSELECT), AnyHighlighted(*selected_));
}

// The include options widen or narrow the server's class list: the available list is
// fetched again; the selected list stays as the user made it.
void ImportExportWindow::chkInclude_Click() {
    try {
        ReloadTavroClassList();
    } catch (const std::exception& error) {
        platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    }
    UpdateSelectionButtons();
}

}  // namespace window::win32
