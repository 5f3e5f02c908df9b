// Helpers shared by the files of the Qt transfer window; not part of what the folder offers.
#pragma once

#include <QAbstractListModel>
#include <QIcon>
#include <QItemSelection>
#include <QPixmap>
#include <string>
#include <vector>

#include "window/window.h"

class QListView;
class QWidget;

namespace window {

// Twips per pixel: all positions of the window are kept in twips and shown at this scale.
inline constexpr double kTwipsPerPixel = 15.0;

// Places `widget` at a rectangle given in twips and keeps the twips in the widget's
// "twips" property, so that the layout can be read back exactly. Negative sizes become 0.
void SetTwips(QWidget* widget, double left, double top, double width, double height);
void SetTwipsLeft(QWidget* widget, double left);
void SetTwipsTop(QWidget* widget, double top);
void SetTwipsSize(QWidget* widget, double width, double height);

// The pictures of the four arrow buttons (32 x 32) and of the event log (16 x 16).
enum class Arrow : std::uint8_t { Right, Left, RightAll, LeftAll };
QPixmap ArrowPicture(Arrow arrow);
// `icon` 1 red cross, 2 blue check mark, 3 green triangle.
QPixmap LogPicture(std::int16_t icon);

// A visible class list: entries kept in case-insensitive order, each with its highlight.
// The highlight lives here and the view's selection mirrors it, so that a batch of moves
// can change both lists without the view following every single entry.
class SortedListModel final : public QAbstractListModel, public ClassList {
  public:
    explicit SortedListModel(QObject* parent);

    // Shows the list in `view`, whose selection then follows the highlights and back.
    void Attach(QListView* view);

    // Between `BeginBatch` and `EndBatch` the view is told nothing; `EndBatch` shows the
    // final content and highlights at once. Batches do not nest.
    void BeginBatch();
    void EndBatch();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    std::int16_t AddItem(const std::string& text) override;
    void InsertItem(std::int16_t index, const std::string& text) override;
    void RemoveItem(std::int16_t index) override;
    void Clear() override;
    std::int16_t ListCount() const override;
    std::string List(std::int16_t index) const override;
    bool Selected(std::int16_t index) const override;
    void SetSelected(std::int16_t index, bool selected) override;

  private:
    struct Item {
        std::string text;
        bool selected;
    };
    void InsertAt(std::size_t at, const std::string& text);
    bool InRange(std::int16_t index) const;
    void ShowHighlights();
    void TakeViewSelection(const QItemSelection& selected, const QItemSelection& deselected);

    std::vector<Item> items_;
    QListView* view_ = nullptr;
    bool batch_ = false;
    // Set while this model itself changes the view's selection or its rows, so that the
    // selection signals this causes are not taken for the user's highlighting.
    bool quiet_ = false;
};

// Keeps a list's batch open for the lifetime of the guard, also when a loader throws.
class ListBatch {
  public:
    ListBatch(SortedListModel& a, SortedListModel& b) : a_(a), b_(b) {
        a_.BeginBatch();
        b_.BeginBatch();
    }
    ~ListBatch() {
        a_.EndBatch();
        b_.EndBatch();
    }
    ListBatch(const ListBatch&) = delete;
    ListBatch& operator=(const ListBatch&) = delete;

  private:
    SortedListModel& a_;
    SortedListModel& b_;
};

}  // namespace window
