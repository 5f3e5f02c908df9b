// A transfer window without a display: lists in memory, the log as rows of text, the status
// bar as one text. The console front end builds on it, and tests read what the drivers wrote.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "window/window.h"

namespace window {

struct LogRow {
    std::int16_t icon = 0;
    std::string className;
    std::string status;
};

class PlainWindow : public TransferWindow {
  public:
    PlainWindow();

    ClassList& lstAvailableClasses() override { return *available_; }
    ClassList& lstSelectedClasses() override { return *selected_; }
    ClassList& lstAvailableClassIDs() override { return *availableIds_; }
    ClassList& lstSelectedClassIDs() override { return *selectedIds_; }

    std::int16_t CheckValue(CheckBox box) const override;
    void SetCheckValue(CheckBox box, std::int16_t value);
    void SetNamespaceOrModelCaption(const std::string& caption) override { caption_ = caption; }
    const std::string& NamespaceOrModelCaption() const { return caption_; }

    void InitLog() override {}
    std::int16_t AddLogMsg(const std::string& className, const std::string& msgText,
                           const std::string& errorText, std::int16_t icon,
                           bool displayNow) override;
    void UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                      std::optional<std::string> msgText, const std::string& errorText = "",
                      std::int16_t icon = 0, bool displayNow = false) override;
    void ClearLog() override { rows_.clear(); }
    void StatusMessage(const std::string& messageText) override;

    void SetCloseCaption(const std::string& caption) override { closeCaption_ = caption; }
    void DoEvents() override;

    const std::vector<LogRow>& Rows() const { return rows_; }
    const std::string& Status() const { return status_; }
    // Every status text in the order it was shown.
    const std::vector<std::string>& StatusHistory() const { return statusHistory_; }
    const std::string& CloseCaption() const { return closeCaption_; }

    // Called after every change of a log row or the status (the console prints from here).
    virtual void RowChanged(std::int16_t /*logId*/) {}
    virtual void StatusChanged() {}

  private:
    std::unique_ptr<ClassList> available_, selected_, availableIds_, selectedIds_;
    std::int16_t checks_[4] = {1, 1, 0,
                               0};  // Override, AddToDiagram, IncludeDatatype, IncludeSystem
    std::string caption_;
    std::vector<LogRow> rows_;
    std::string status_;
    std::vector<std::string> statusHistory_;
    std::string closeCaption_ = "Cancel";
};

}  // namespace window
