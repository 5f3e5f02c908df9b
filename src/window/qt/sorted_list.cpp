#include <QItemSelectionModel>
#include <QListView>
#include <algorithm>
#include <cctype>

#include "strings/strings.h"
#include "window/qt/window_qt_internal.h"

namespace window {

SortedListModel::SortedListModel(QObject* parent) : QAbstractListModel(parent) {}

void SortedListModel::Attach(QListView* view) {
    view_ = view;
    view->setModel(this);
    connect(view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this](const QItemSelection& selected, const QItemSelection& deselected) {
                TakeViewSelection(selected, deselected);
            });
}

void SortedListModel::BeginBatch() {
    beginResetModel();
    batch_ = true;
}

void SortedListModel::EndBatch() {
    quiet_ = true;
    batch_ = false;
    endResetModel();
    quiet_ = false;
    ShowHighlights();
}

int SortedListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(items_.size());
}

QVariant SortedListModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid()) return {};
    auto row = static_cast<std::size_t>(index.row());
    if (row >= items_.size()) return {};
    return QString::fromStdString(items_[row].text);
}

std::int16_t SortedListModel::AddItem(const std::string& text) {
    // After any equal entries, so entries of the same name keep the order they came in.
    auto pos = std::upper_bound(
        items_.begin(), items_.end(), text,
        [](const std::string& t, const Item& item) { return strings::LessNoCase(t, item.text); });
    auto at = static_cast<std::size_t>(pos - items_.begin());
    InsertAt(at, text);
    return static_cast<std::int16_t>(at);
}

void SortedListModel::InsertItem(std::int16_t index, const std::string& text) {
    auto at = std::min(static_cast<std::size_t>(std::max<std::int16_t>(index, 0)), items_.size());
    InsertAt(at, text);
}

void SortedListModel::InsertAt(std::size_t at, const std::string& text) {
    auto row = static_cast<int>(at);
    if (batch_) {
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), Item{text, false});
        return;
    }
    quiet_ = true;
    beginInsertRows(QModelIndex(), row, row);
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), Item{text, false});
    endInsertRows();
    quiet_ = false;
}

void SortedListModel::RemoveItem(std::int16_t index) {
    if (!InRange(index)) return;
    if (batch_) {
        items_.erase(items_.begin() + index);
        return;
    }
    quiet_ = true;
    beginRemoveRows(QModelIndex(), index, index);
    items_.erase(items_.begin() + index);
    endRemoveRows();
    quiet_ = false;
}

void SortedListModel::Clear() {
    if (batch_) {
        items_.clear();
        return;
    }
    quiet_ = true;
    beginResetModel();
    items_.clear();
    endResetModel();
    quiet_ = false;
}

std::int16_t SortedListModel::ListCount() const { return static_cast<std::int16_t>(items_.size()); }

std::string SortedListModel::List(std::int16_t index) const {
    return InRange(index) ? items_[static_cast<std::size_t>(index)].text : std::string();
}

bool SortedListModel::Selected(std::int16_t index) const {
    return InRange(index) && items_[static_cast<std::size_t>(index)].selected;
}

void SortedListModel::SetSelected(std::int16_t index, bool selected) {
    if (!InRange(index)) return;
    items_[static_cast<std::size_t>(index)].selected = selected;
    if (batch_ || view_ == nullptr) return;
    quiet_ = true;
    view_->selectionModel()->select(
        this->index(index), selected ? QItemSelectionModel::Select : QItemSelectionModel::Deselect);
    quiet_ = false;
}

bool SortedListModel::InRange(std::int16_t index) const {
    return index >= 0 && static_cast<std::size_t>(index) < items_.size();
}

// Hands the view every highlighted run of entries as one range: one call, however many
// entries a move has highlighted.
void SortedListModel::ShowHighlights() {
    if (view_ == nullptr) return;
    QItemSelection selection;
    std::size_t i = 0;
    while (i < items_.size()) {
        if (!items_[i].selected) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end + 1 < items_.size() && items_[end + 1].selected) ++end;
        selection.select(index(static_cast<int>(i)), index(static_cast<int>(end)));
        i = end + 1;
    }
    quiet_ = true;
    view_->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    quiet_ = false;
}

void SortedListModel::TakeViewSelection(const QItemSelection& selected,
                                        const QItemSelection& deselected) {
    if (quiet_ || batch_) return;
    auto mark = [this](const QItemSelection& ranges, bool value) {
        for (const QItemSelectionRange& range : ranges) {
            for (int row = range.top(); row <= range.bottom(); ++row) {
                if (row >= 0 && static_cast<std::size_t>(row) < items_.size())
                    items_[static_cast<std::size_t>(row)].selected = value;
            }
        }
    };
    mark(deselected, false);
    mark(selected, true);
}

}  // namespace window
