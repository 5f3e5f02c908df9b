// Moving classes between the available and the selected list, with their hidden companion
// lists of class identifiers kept in step in export mode.
#include <QPushButton>
#include <exception>

#include "platform/platform.h"
#include "window/qt/import_export_window.h"
#include "window/qt/window_qt_internal.h"

namespace window {

// Moves the highlighted entries of `from` (all of them with `moveAll`) into `to`, where each
// takes its sorted place and is highlighted. In export mode the companion entry follows its
// class to the position the class has taken. The walk steps back after each removal so that
// the entry that moves up into the freed place is looked at as well.
static void MoveClasses(SortedListModel& from, ClassList& fromIds, SortedListModel& to,
                        ClassList& toIds, bool moveAll) {
    ListBatch batch(from, to);
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
    MoveClasses(*available_, *availableIds_, *selected_, *selectedIds_, moveAll);
    UpdateSelectionButtons();
}

void ImportExportWindow::UnselectClasses(bool moveAll) {
    MoveClasses(*selected_, *selectedIds_, *available_, *availableIds_, moveAll);
    UpdateSelectionButtons();
}

static bool AnyHighlighted(const ClassList& list) {
    for (std::int16_t i = 0; i < list.ListCount(); ++i) {
        if (list.Selected(i)) return true;
    }
    return false;
}

void ImportExportWindow::UpdateSelectionButtons() {
    cmdSelectAll_->setEnabled(available_->ListCount() > 0);
    cmdUnselectAll_->setEnabled(selected_->ListCount() > 0);
    cmdExportImport_->setEnabled(selected_->ListCount() > 0);
    cmdSelect_->setEnabled(AnyHighlighted(*available_));
    cmdUnselect_->setEnabled(AnyHighlighted(*selected_));
}

void ImportExportWindow::cmdSelect_Click() { SelectClasses(/*moveAll=*/false); }
void ImportExportWindow::cmdSelectAll_Click() { SelectClasses(/*moveAll=*/true); }
void ImportExportWindow::cmdUnselect_Click() { UnselectClasses(/*moveAll=*/false); }
void ImportExportWindow::cmdUnselectAll_Click() { UnselectClasses(/*moveAll=*/true); }
void ImportExportWindow::lstAvailableClasses_Click() { UpdateSelectionButtons(); }
void ImportExportWindow::lstSelectedClasses_Click() { UpdateSelectionButtons(); }
void ImportExportWindow::lstAvailableClasses_DblClick() { SelectClasses(/*moveAll=*/false); }
void ImportExportWindow::lstSelectedClasses_DblClick() { UnselectClasses(/*moveAll=*/false); }

// The include options widen or narrow the server's class list: the available list is
// fetched again; the selected list stays as the user made it.
void ImportExportWindow::chkIncludeDatatype_Click() {
    try {
        ReloadTavroClassList();
    } catch (const std::exception& error) {
        platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    }
    UpdateSelectionButtons();
}

void ImportExportWindow::chkIncludeSystem_Click() { chkIncludeDatatype_Click(); }

}  // namespace window
