// The transfer window `frmImportExport` and the start-up window `frmStartUp` as native Win32
// dialogs from the program's resource script. The transfer window is one implementation of
// window::TransferWindow; it knows neither the model nor the server, and reaches the loaders,
// connectors and drivers only through the `RunOps` it is given.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/win32/win32_api.h"
#include "window/plain_window.h"
#include "window/run_ops.h"
#include "window/win32/window_win32_internal.h"
#include "window/window.h"

namespace window::win32 {

class ImportExportWindow final : public TransferWindow {
  public:
    // Creates the dialog hidden; it becomes the process's `frmImportExport` while it lives.
    explicit ImportExportWindow(RunOps ops);
    ~ImportExportWindow() override;
    ImportExportWindow(const ImportExportWindow&) = delete;
    ImportExportWindow& operator=(const ImportExportWindow&) = delete;

    ClassList& lstAvailableClasses() override { return *available_; }
    ClassList& lstSelectedClasses() override { return *selected_; }
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

    // The load step by `LinkMode`; runs once.
    void Form_Load();
    // Shows the window without waiting.
    void Show();
    HWND Handle() const { return hwnd_; }

    // The handlers.
    void cmdSelect_Click() { SelectClasses(/*moveAll=*/false); }
    void cmdUnselect_Click() { UnselectClasses(/*moveAll=*/false); }
    void cmdSelectAll_Click() { SelectClasses(/*moveAll=*/true); }
    void cmdUnselectAll_Click() { UnselectClasses(/*moveAll=*/true); }
    void chkInclude_Click();
    void cmdExportImport_Click();
    void cmdClose_Click();
    // The title bar's close: ends the process like a confirmed cancel, so that no run goes
    // on without its window.
    void Form_Unload();

    // Read-back for tests.
    std::string CloseCaption() const;
    std::string StatusText() const { return status_; }
    int LogRowCount() const;
    LogRow LogRowAt(std::int16_t logId) const;
    const Places& CurrentPlaces() const { return places_; }

  private:
    static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    void InitDialog(HWND dialog);
    void OnCommand(int id, int code);
    void OnSize(UINT kind, int width, int height);
    void AddTooltips();
    HWND Item(int id) const { return GetDlgItem(hwnd_, id); }
    // Places every control at its twips; a control in a frame relative to the frame.
    void ApplyPlaces();
    // Shows or hides a control; one inside a frame shows only while its frame does.
    void SetVisible(int id, bool visible);
    void ShowFrame(int frame, bool visible);
    void SelectClasses(bool moveAll);
    void UnselectClasses(bool moveAll);
    void UpdateSelectionButtons();
    void ReloadTavroClassList();
    void RunTransfer();

    RunOps ops_;
    HWND hwnd_ = nullptr;
    HWND tooltips_ = nullptr;
    bool loaded_ = false;
    Places places_;
    double clientWidth_ = 8895;
    double clientHeight_ = 8085;
    std::set<int> hidden_;  // controls hidden on their own, whatever their frame shows
    std::string status_;
    std::unique_ptr<ClassList> available_, selected_, availableIds_, selectedIds_;
};

// The start-up window. Each showing loads it afresh: version line set, progress line empty,
// timer counting 2000 ms; it closes at the tick or at a click on the picture.
void ShowStartUpModal();
void ShowStartUp();
void SetStartUpProgress(const std::string& text);
void StartStartUpTimer();
// The window while it is loaded, else nullptr.
HWND StartUpWindow();

}  // namespace window::win32
