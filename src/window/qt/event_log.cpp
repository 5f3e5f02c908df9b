// The event log (one row per class a run handles: picture, class name, status text) and the
// status bar.
#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <stdexcept>
#include <string>

#include "window/qt/import_export_window.h"
#include "window/qt/window_qt_internal.h"

namespace window {

// A row keeps its picture number here, since the picture itself cannot be compared.
static constexpr int kIconRole = Qt::UserRole;
// The column's key, kept on the heading.
static constexpr int kKeyRole = Qt::UserRole + 1;

void ImportExportWindow::InitLog() {
    struct Column {
        const char* key;
        const char* heading;
        int widthTwips;
    };
    static constexpr Column kColumns[] = {
        {"LogColImage", "", 500},
        {"LogColClass", "Class", 3000},
        {"LogColStatus", "Status", 4000},
    };
    lvwLog_->setColumnCount(3);
    auto* header = new QTreeWidgetItem;
    for (int i = 0; i < 3; ++i) {
        header->setText(i, kColumns[i].heading);
        header->setData(i, kKeyRole, QString(kColumns[i].key));
    }
    lvwLog_->setHeaderItem(header);
    lvwLog_->header()->setStretchLastSection(false);
    for (int i = 0; i < 3; ++i)
        lvwLog_->setColumnWidth(i, qRound(kColumns[i].widthTwips / kTwipsPerPixel));
}

std::int16_t ImportExportWindow::AddLogMsg(const std::string& className, const std::string& msgText,
                                           const std::string& errorText, std::int16_t icon,
                                           bool displayNow) {
    lvwLog_->addTopLevelItem(new QTreeWidgetItem);
    auto logId = static_cast<std::int16_t>(lvwLog_->topLevelItemCount());
    UpdateLogMsg(logId, className, msgText, errorText, icon, displayNow);
    return logId;
}

void ImportExportWindow::UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                                      std::optional<std::string> msgText,
                                      const std::string& errorText, std::int16_t icon,
                                      bool displayNow) {
    QTreeWidgetItem* row = lvwLog_->topLevelItem(logId - 1);
    // A caller's mistake; it must not take the window down with it.
    if (row == nullptr)
        throw std::out_of_range("log row " + std::to_string(logId) + " does not exist");
    std::string status = msgText.value_or("");
    if (!errorText.empty()) status += " (" + errorText + ")";
    if (displayNow) lvwLog_->scrollToItem(row);
    if (className) row->setText(1, QString::fromStdString(*className));
    if (icon > 0) {
        row->setIcon(0, QIcon(LogPicture(icon)));
        row->setData(0, kIconRole, static_cast<int>(icon));
    }
    // Every update writes the status, so one that gives no text clears it.
    row->setText(2, QString::fromStdString(status));
    if (displayNow) lvwLog_->scrollToItem(row);
    // This is where a long run keeps the window painted and lets a press on the cancel
    // button through.
    DoEvents();
}

void ImportExportWindow::ClearLog() { lvwLog_->clear(); }

void ImportExportWindow::StatusMessage(const std::string& messageText) {
    statusText_->setText(QString::fromStdString(messageText));
}

std::string ImportExportWindow::StatusText() const { return statusText_->text().toStdString(); }

int ImportExportWindow::LogRowCount() const { return lvwLog_->topLevelItemCount(); }

LogRow ImportExportWindow::LogRowAt(std::int16_t logId) const {
    const QTreeWidgetItem* row = lvwLog_->topLevelItem(logId - 1);
    if (row == nullptr) return {};
    return LogRow{static_cast<std::int16_t>(row->data(0, kIconRole).toInt()),
                  row->text(1).toStdString(), row->text(2).toStdString()};
}

}  // namespace window
