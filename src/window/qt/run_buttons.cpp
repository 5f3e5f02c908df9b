// The start button, which turns the window from selection into a run, and the cancel/close
// button. There is no cancel flag: a confirmed cancel ends the process wherever the run is.
#include <QGroupBox>
#include <QPushButton>
#include <exception>

#include "automation/automation.h"
#include "platform/platform.h"
#include "window/qt/import_export_window.h"

namespace window {

static bool ConnectServer(const RunOps& ops, std::string& serverNamespace) {
    return ops.ConnectToServer && ops.ConnectToServer(serverNamespace);
}

static bool ConnectRose(const RunOps& ops) { return ops.ConnectToRose && ops.ConnectToRose(); }

// Asks until the connection is there; Cancel ends the process at once.
template <typename Connect>
static void ConnectOrEnd(Connect connect, const char* failureText) {
    while (!connect()) {
        auto answer = platform::MessageBox(failureText, platform::Buttons::RetryCancel);
        if (answer != platform::Answer::Retry) platform::EndProcess(0);
    }
}

void ImportExportWindow::RunTransfer() {
    if (LinkMode == RunMode::Export) {
        StatusMessage("Starting Export");
        // The namespace is the handler's own: the export driver reaches the server through
        // the connection itself.
        std::string serverNamespace;
        ConnectOrEnd([&] { return ConnectServer(ops_, serverNamespace); },
                     "Unable to connect to Tavro");
        StatusMessage("Connected to Tavro");
        StatusMessage("Exporting ...");
        ClearLog();
        if (ops_.ExportClasses) ops_.ExportClasses();
        return;
    }
    if (LinkMode == RunMode::Import) {
        StatusMessage("Starting Import");
        ConnectOrEnd([&] { return ConnectRose(ops_); }, "Unable to connect to Rational Rose");
        StatusMessage("Connected to Rose");
        StatusMessage("Importing ...");
        ClearLog();
        if (ops_.ImportClasses) ops_.ImportClasses();
    }
}

void ImportExportWindow::cmdExportImport_Click() {
    // From here on the close button is the only control the user can act on, so no second
    // run and no change of the selection can start while this one goes on.
    fraMain_->hide();
    fraLog_->show();
    cmdExportImport_->hide();
    // An error that the drivers do not trap ends the run; the user is told what it was and
    // the rows written so far stay in the log.
    try {
        RunTransfer();
    } catch (const automation::AutomationError& error) {
        platform::MessageBox(error.Description(), platform::Buttons::Ok, platform::Icon::Critical);
    } catch (const std::exception& error) {
        platform::MessageBox(error.what(), platform::Buttons::Ok, platform::Icon::Critical);
    }
    SetCloseCaption("Close");
}

void ImportExportWindow::cmdClose_Click() {
    if (CloseCaption() != "Cancel") platform::EndProcess(0);
    auto answer =
        platform::MessageBox("Are you sure you want to cancel?", platform::Buttons::YesNo);
    if (answer == platform::Answer::Yes) platform::EndProcess(0);
}

void ImportExportWindow::Form_Unload() { platform::EndProcess(0); }

}  // namespace window
