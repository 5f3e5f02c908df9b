#include "run/program.h"

#include "export/export.h"
#include "import/import.h"
#include "model/model.h"
#include "model/rose.h"
#include "platform/qt/connection_dialog.h"
#include "platform/qt/qt_ui.h"
#include "platform/rose_attach.h"
#include "platform/tavro_factory.h"
#include "run/run.h"
#include "server/server.h"
#include "window/qt/import_export_window.h"

namespace run {
namespace {

// The transfer window reaches the model, the server and the drivers through these.
window::RunOps TransferOps() {
    window::RunOps ops;
    ops.LoadRoseClassList = model::LoadRoseClassList;
    ops.LoadTavroClassList = server::LoadTavroClassList;
    ops.ConnectToServer = server::ConnectToServer;
    ops.ConnectToRose = rose::ConnectToRose;
    ops.ExportClasses = exporting::ExportClasses;
    ops.ImportClasses = importing::ImportClasses;
    return ops;
}

// frmImportExport lives until the process ends; its load step runs before it is shown so that
// the list loaders' connection prompts come before the window appears.
void ShowTransferWindow() {
    auto* form = new window::ImportExportWindow(TransferOps());
    form->Form_Load();
    form->show();
}

}  // namespace

void InstallProgram() {
    platform::qt::InstallQtUi();
    platform::qt::InstallQtConnectionDialog();
    platform::InstallTavroFactory();
    platform::InstallRoseAttach();
    Ops().showTransferWindow = ShowTransferWindow;
    Ops().addTavroSpecialClasses = importing::AddTavroSpecialClasses;
}

}  // namespace run
