// Opens the Win32 transfer window in one run mode with stand-in loaders, connectors and
// drivers, so that a person can look at it (screenshots under Xvfb). Usage:
//   window_demo export|import|datatypes|run|startup [seconds]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/win32/win32_ui.h"
#include "window/win32/window_win32.h"

namespace {

const char* const kModelClasses[] = {"User.Person",     "User.Address",    "Shop.Order.Line",
                                     "Shop.Order",      "User.company",    "Shop.Customer",
                                     "Billing.Invoice", "Billing.Payment", "User.employee"};

window::RunOps DemoOps() {
    window::RunOps ops;
    ops.LoadRoseClassList = [](window::ClassList& avail, window::ClassList& sel,
                               window::ClassList& availIds, window::ClassList& selIds) {
        int key = 1;
        for (const char* name : kModelClasses) {
            const bool onDiagram = std::strncmp(name, "Billing.", 8) == 0;
            window::ClassList& list = onDiagram ? sel : avail;
            window::ClassList& ids = onDiagram ? selIds : availIds;
            ids.InsertItem(list.AddItem(name), "key" + std::to_string(key++));
        }
        window::frmImportExport->SetNamespaceOrModelCaption("Rose Model: shop");
        window::frmImportExport->StatusMessage("Connected to shop");
    };
    ops.LoadTavroClassList = [] {
        window::TransferWindow& form = *window::frmImportExport;
        form.SetNamespaceOrModelCaption("Tavro Namespace: USER");
        form.StatusMessage("Connected to USER");
        form.lstAvailableClasses().Clear();
        for (const char* name : kModelClasses) form.lstAvailableClasses().AddItem(name);
    };
    ops.ConnectToServer = [](std::string&) { return true; };
    ops.ConnectToRose = [] { return true; };
    ops.ExportClasses = [] {
        window::TransferWindow& form = *window::frmImportExport;
        window::ClassList& selected = form.lstSelectedClasses();
        for (std::int16_t i = 0; i < selected.ListCount(); ++i) {
            auto row = form.AddLogMsg(selected.List(i), "", "", 0, false);
            form.UpdateLogMsg(row, std::nullopt, "Processing ...", "", 3, true);
            if (i == 1) {
                form.UpdateLogMsg(row, std::nullopt, "Failed", "class not found", 1, true);
            } else if (i + 1 < selected.ListCount()) {
                form.UpdateLogMsg(row, std::nullopt, "New Class Created", "", 2, true);
            }
        }
        form.StatusMessage("Export complete");
    };
    return ops;
}

}  // namespace

int main(int argc, char** argv) {
    platform::win32::InstallWin32Ui();
    const std::string mode = argc > 1 ? argv[1] : "export";
    const int seconds = argc > 2 ? std::atoi(argv[2]) : 5;
    if (mode == "startup") {
        window::win32::ShowStartUp();
        window::win32::SetStartUpProgress("Installing ...");
        SetTimer(nullptr, 0, static_cast<UINT>(seconds * 1000), nullptr);
        MSG msg;
        while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
            if (msg.message == WM_TIMER && msg.hwnd == nullptr) break;
            DispatchMessageW(&msg);
        }
        return 0;
    }
    window::LinkMode = mode == "import"      ? window::RunMode::Import
                       : mode == "datatypes" ? window::RunMode::Datatypes
                                             : window::RunMode::Export;

    window::win32::ImportExportWindow form(DemoOps());
    form.Form_Load();
    form.Show();
    if (mode == "datatypes") {
        form.StatusMessage("Loading Tavro Datatype Classess ...");
        for (const char* name : {"%Library.String", "%Library.Integer", "%Library.Date"}) {
            auto row = form.AddLogMsg(name, "", "", 3, false);
            form.UpdateLogMsg(row, std::nullopt, "Done", "", 2, false);
        }
        form.AddLogMsg("%Library.Boolean", "", "", 3, false);
    }
    if (mode == "run") {
        form.lstAvailableClasses().SetSelected(0, true);
        form.lstAvailableClasses().SetSelected(2, true);
        form.cmdSelect_Click();
        form.cmdExportImport_Click();
    }
    std::fprintf(stderr, "window_demo: showing %s for %d s\n", mode.c_str(), seconds);
    // The window's own timer-free wait: a thread timer ends the loop.
    SetTimer(nullptr, 0, static_cast<UINT>(seconds * 1000), nullptr);
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (msg.message == WM_TIMER && msg.hwnd == nullptr) break;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return 0;
}
