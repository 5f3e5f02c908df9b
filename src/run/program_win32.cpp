// The program's own operations on Windows: the Win32 transfer window and message boxes, and
// the attachment to the modelling tool and the server's factory through COM.
#include "export/export.h"
#include "import/import.h"
#include "model/model.h"
#include "model/rose.h"
#include "platform/rose_attach.h"
#include "platform/tavro_factory.h"
#include "platform/win32/win32_ui.h"
#include "run/program.h"
#include "run/run.h"
#include "server/server.h"
#include "window/win32/window_win32.h"

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
    auto* form = new window::win32::ImportExportWindow(TransferOps());
    form->Form_Load();
    form->Show();
}

}  // namespace

void InstallProgram() {
    platform::win32::InstallWin32Ui();
    platform::InstallTavroFactory();
    platform::InstallRoseAttach();
    Ops().showTransferWindow = ShowTransferWindow;
    Ops().addTavroSpecialClasses = importing::AddTavroSpecialClasses;
}

}  // namespace run
