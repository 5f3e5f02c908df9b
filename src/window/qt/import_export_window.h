// The transfer window `frmImportExport` in Qt Widgets: the class lists with their arrow
// buttons and options, the event log, the status bar and the start and close buttons. It is
// one implementation of window::TransferWindow; it knows neither the model nor the server,
// and reaches the loaders, connectors and drivers only through the `RunOps` it is given.
#pragma once

#include <QWidget>
#include <functional>
#include <memory>
#include <string>

#include "window/plain_window.h"
#include "window/run_ops.h"
#include "window/window.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QListView;
class QPushButton;
class QStatusBar;
class QTreeWidget;

namespace window {

class SortedListModel;

class ImportExportWindow final : public QWidget, public TransferWindow {
  public:
    // Becomes the process's `frmImportExport` while it lives.
    explicit ImportExportWindow(RunOps ops, QWidget* parent = nullptr);
    ~ImportExportWindow() override;

    // What drivers and loaders use.
    ClassList& lstAvailableClasses() override;
    ClassList& lstSelectedClasses() override;
    ClassList& lstAvailableClassIDs() override { return *availableIds_; }
    ClassList& lstSelectedClassIDs() override { return *selectedIds_; }
    std::int16_t CheckValue(CheckBox box) const override;
    void SetNamespaceOrModelCaption(const std::string& caption) override;
    void InitLog() override;
    std::int16_t AddLogMsg(const std::string& className, const std::string& msgText,
                           const std::string& errorText, std::int16_t icon,
                           bool displayNow) override;
    void UpdateLogMsg(std::int16_t logId, std::optional<std::string> className,
                      std::optional<std::string> msgText, const std::string& errorText = "",
                      std::int16_t icon = 0, bool displayNow = false) override;
    void ClearLog() override;
    void StatusMessage(const std::string& messageText) override;
    void SetCloseCaption(const std::string& caption) override;
    void DoEvents() override;

    // The load step by `LinkMode`. Runs once: the first showing calls it unless the program
    // has already done so (calling it first lets the program see the loaders' errors).
    void Form_Load();
    // The layout rules for the current client size; `LayOut` takes the size in twips.
    void Form_Resize();
    void LayOut(double width, double height, bool minimized);

    // The handlers, callable directly so that a test can watch the process end.
    void cmdSelect_Click();
    void cmdUnselect_Click();
    void cmdSelectAll_Click();
    void cmdUnselectAll_Click();
    void lstAvailableClasses_Click();
    void lstSelectedClasses_Click();
    void lstAvailableClasses_DblClick();
    void lstSelectedClasses_DblClick();
    void chkIncludeDatatype_Click();
    void chkIncludeSystem_Click();
    void cmdExportImport_Click();
    void cmdClose_Click();
    // The title bar's close: ends the process like a confirmed cancel, so that no run goes
    // on without its window.
    void Form_Unload();

    // Read-back for the program's front ends and for tests.
    std::string CloseCaption() const;
    std::string StatusText() const;
    int LogRowCount() const;
    LogRow LogRowAt(std::int16_t logId) const;

  protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    void CreateControls();
    void ConnectHandlers();
    void SelectClasses(bool moveAll);
    void UnselectClasses(bool moveAll);
    void UpdateSelectionButtons();
    void ReloadTavroClassList();
    void RunTransfer();

    RunOps ops_;
    bool loaded_ = false;

    QGroupBox* fraMain_ = nullptr;
    QGroupBox* fraLog_ = nullptr;
    QPushButton* cmdExportImport_ = nullptr;
    QPushButton* cmdClose_ = nullptr;
    QStatusBar* statusBar_ = nullptr;
    QLabel* statusText_ = nullptr;
    QLabel* lblNamespaceOrModel_ = nullptr;
    QListView* lstAvailableView_ = nullptr;
    QListView* lstSelectedView_ = nullptr;
    QPushButton* cmdSelect_ = nullptr;
    QPushButton* cmdUnselect_ = nullptr;
    QPushButton* cmdSelectAll_ = nullptr;
    QPushButton* cmdUnselectAll_ = nullptr;
    QCheckBox* chkIncludeDatatype_ = nullptr;
    QCheckBox* chkIncludeSystem_ = nullptr;
    QCheckBox* chkAddToDiagram_ = nullptr;
    QCheckBox* chkOverride_ = nullptr;
    QLabel* lblAvailableClassesCaption_ = nullptr;
    QLabel* lblSelectedClassesCaption_ = nullptr;
    QLabel* lblLog_ = nullptr;
    QTreeWidget* lvwLog_ = nullptr;

    SortedListModel* available_ = nullptr;
    SortedListModel* selected_ = nullptr;
    std::unique_ptr<ClassList> availableIds_;
    std::unique_ptr<ClassList> selectedIds_;
};

}  // namespace window
