// Opens the transfer window in one run mode with stand-in loaders, connectors and drivers, so
// that a person can look at it (screenshots under Xvfb). Usage:
//   window_demo export|import|datatypes|run [seconds]
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <cstring>
#include <string>

#include "window/qt/import_export_window.h"

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
    QApplication app(argc, argv);
    const std::string mode = argc > 1 ? argv[1] : "export";
    const int seconds = argc > 2 ? std::atoi(argv[2]) : 5;
    window::LinkMode = mode == "import"      ? window::RunMode::Import
                       : mode == "datatypes" ? window::RunMode::Datatypes
                                             : window::RunMode::Export;

    window::ImportExportWindow form(DemoOps());
    form.Form_Load();
    form.move(20, 20);
    form.show();
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
    QTimer::singleShot(seconds * 1000, &app, &QApplication::quit);
    std::fprintf(stderr, "window_demo: showing %s for %d s\n", mode.c_str(), seconds);
    return app.exec();
}
