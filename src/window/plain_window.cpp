#include "window/plain_window.h"

#include <algorithm>
#include <cctype>

#include "platform/platform.h"
#include "strings/strings.h"

namespace window {

RunMode LinkMode = RunMode::None;
TransferWindow* frmImportExport = nullptr;

bool OverrideChecked() {
    return frmImportExport != nullptr && frmImportExport->CheckValue(CheckBox::Override) == 1;
}

namespace {

class PlainList : public ClassList {
  public:
    explicit PlainList(bool sorted) : sorted_(sorted) {}

    std::int16_t AddItem(const std::string& text) override {
        auto pos = items_.end();
        if (sorted_) {
            pos = std::upper_bound(items_.begin(), items_.end(), text,
                                   [](const std::string& t, const Item& item) {
                                       return strings::LessNoCase(t, item.text);
                                   });
        }
        pos = items_.insert(pos, Item{text, false});
        return static_cast<std::int16_t>(pos - items_.begin());
    }
    void InsertItem(std::int16_t index, const std::string& text) override {
        size_t at = std::min(static_cast<size_t>(std::max<std::int16_t>(index, 0)), items_.size());
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(at), Item{text, false});
    }
    void RemoveItem(std::int16_t index) override {
        if (InRange(index)) items_.erase(items_.begin() + index);
    }
    void Clear() override { items_.clear(); }
    std::int16_t ListCount() const override { return static_cast<std::int16_t>(items_.size()); }
    std::string List(std::int16_t index) const override {
        return InRange(index) ? items_[static_cast<size_t>(index)].text : std::string();
    }
    bool Selected(std::int16_t index) const override {
        return InRange(index) && items_[static_cast<size_t>(index)].selected;
    }
    void SetSelected(std::int16_t index, bool selected) override {
        if (InRange(index)) items_[static_cast<size_t>(index)].selected = selected;
    }

  private:
    struct Item {
        std::string text;
        bool selected;
    };
    bool InRange(std::int16_t index) const {
        return index >= 0 && static_cast<size_t>(index) < items_.size();
    }
    bool sorted_;
    std::vector<Item> items_;
};

}  // namespace

std::unique_ptr<ClassList> NewPlainList(bool sorted) { return std::make_unique<PlainList>(sorted); }

PlainWindow::PlainWindow()
    : available_(NewPlainList(/*sorted=*/true)),
      selected_(NewPlainList(/*sorted=*/true)),
      availableIds_(NewPlainList(/*sorted=*/false)),
      selectedIds_(NewPlainList(/*sorted=*/false)) {}

std::int16_t PlainWindow::CheckValue(CheckBox box) const { return checks_[static_cast<int>(box)]; }

void PlainWindow::SetCheckValue(CheckBox box, std::int16_t value) {
    checks_[static_cast<int>(box)] = value;
}

std::int16_t PlainWindow::AddLogMsg(const std::string& className, const std::string& msgText,
                                    const std::string& errorText, std::int16_t icon,
                                    bool displayNow) {
    rows_.push_back(LogRow{});
    auto logId = static_cast<std::int16_t>(rows_.size());
    UpdateLogMsg(logId, className, msgText, errorText, icon, displayNow);
    return logId;
}

void PlainWindow::UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                               std::optional<std::string> msgText, const std::string& errorText,
                               std::int16_t icon, bool /*displayNow*/) {
    LogRow& row = rows_.at(static_cast<size_t>(logId - 1));
    std::string status = msgText.value_or("");
    if (!errorText.empty()) status += " (" + errorText + ")";
    if (className) row.className = *className;
    if (icon > 0) row.icon = icon;
    row.status = status;
    RowChanged(logId);
    DoEvents();
}

void PlainWindow::StatusMessage(const std::string& messageText) {
    status_ = messageText;
    statusHistory_.push_back(messageText);
    StatusChanged();
}

void PlainWindow::DoEvents() { platform::DoEvents(); }

}  // namespace window
