#include <vector>

#include "import/import.h"
#include "import/import_internal.h"
#include "model/model.h"
#include "model/rose.h"
#include "server/members.h"
#include "server/server.h"
#include "window/window.h"

namespace importing {

namespace {

struct LogLine {
    const char* text;
    std::int16_t icon;
};

// The row of a class after the first pass.
LogLine FirstPassLine(ImportResult status) {
    switch (status) {
        case NewClass:
            return {"New Class Initialized", window::kIconDone};
        case Skipped:
            return {"Existing Class Skipped", window::kIconDone};
        case Replaced:
            return {"Existing Class Re-Initialized", window::kIconDone};
        case Failed:
        case Done:
            break;
    }
    return {"Failed", window::kIconFailed};
}

void UpdateRow(std::int16_t row, const std::string& name, LogLine line) {
    window::frmImportExport->UpdateLogMsg(row, name, line.text, "", line.icon,
                                          /*displayNow=*/true);
}

void ReleaseDefinition(const ObjectRef& classDef) {
    if (classDef) automation::CallByName(classDef, server::members::stored::kSysClose);
}

// Pass 1: every selected class exists in the model before any member refers to one.
// Returns the result of each entry of the selected list, the item data of pass 2.
std::vector<ImportResult> CreateClasses(window::TransferWindow& form, std::int16_t n) {
    std::vector<ImportResult> itemData(static_cast<std::size_t>(n), Failed);
    for (std::int16_t i = 1; i <= n; ++i) {
        std::string name = form.lstSelectedClasses().List(static_cast<std::int16_t>(i - 1));
        form.AddLogMsg(name, "", "", window::kIconNone, /*displayNow=*/true);
        ObjectRef classDef = server::OpenClassDefinition(name);
        ImportResult status = Failed;
        {
            automation::ReadScope reads;
            AnnounceDefinitionReads(classDef, /*withMembers=*/false);
            status = ImportClass(classDef);
        }
        itemData[static_cast<std::size_t>(i - 1)] = status;
        ReleaseDefinition(classDef);
        UpdateRow(i, name, FirstPassLine(status));
    }
    return itemData;
}

// Pass 2: the members of every class that pass 1 created or re-initialised.
void ImportMembers(window::TransferWindow& form, std::int16_t n,
                   const std::vector<ImportResult>& itemData) {
    for (std::int16_t i = 1; i <= n; ++i) {
        ImportResult status = itemData[static_cast<std::size_t>(i - 1)];
        std::string name = form.lstSelectedClasses().List(static_cast<std::int16_t>(i - 1));
        if (status == Failed) continue;
        if (status == Skipped) {
            UpdateRow(i, name, {"Existing Class Skipped", window::kIconDone});
            continue;
        }
        UpdateRow(i, name, {"Processing ...", window::kIconInProgress});
        // The cancel button is handled here, between classes.
        form.DoEvents();
        ObjectRef classDef = server::OpenClassDefinition(name);
        std::int16_t r = Failed;
        {
            automation::ReadScope reads;
            AnnounceDefinitionReads(classDef, /*withMembers=*/true);
            r = ImportClassMembers(classDef);
        }
        ReleaseDefinition(classDef);
        if (r == Failed) {
            UpdateRow(i, name, {"Failed", window::kIconFailed});
            continue;
        }
        UpdateRow(i, name,
                  {status == NewClass ? "New Class Created" : "Existing Class Replaced",
                   window::kIconDone});
    }
}

// Only classes this run created are drawn; re-initialised classes keep their places.
void DrawNewClasses(window::TransferWindow& form) {
    std::int16_t row = form.AddLogMsg("", "Adding classes to Active Rose Diagram ...", "",
                                      window::kIconInProgress, /*displayNow=*/true);
    for (const auto& entry : NewRoseClasses.Items()) {
        ObjectRef diagram = rose::CurrentDiagram(rose::ActiveModel(rose::RoseApp));
        rose::AddClassByName(diagram, entry.second);
        form.DoEvents();
    }
    form.UpdateLogMsg(row, "", "Classes added to Active Rose Diagram", "", window::kIconDone,
                      /*displayNow=*/true);
}

void RefreshDiagrams(window::TransferWindow& form) {
    std::int16_t row = form.AddLogMsg("", "Updating Rose Diagrams ...", "", window::kIconInProgress,
                                      /*displayNow=*/true);
    model::UpdateRoseDiagrams();
    form.UpdateLogMsg(row, "", "Rose Diagrams Updated", "", window::kIconDone,
                      /*displayNow=*/true);
}

}  // namespace

void ImportClasses() {
    window::TransferWindow& form = *window::frmImportExport;
    std::int16_t n = form.lstSelectedClasses().ListCount();

    NewRoseClasses.Clear();
    server::ServerClassTypes.Clear();
    server::LoadServerClassTypes(server::ServerClassTypes);

    std::vector<ImportResult> itemData = CreateClasses(form, n);
    ImportMembers(form, n, itemData);
    form.StatusMessage("Import complete");

    // Both conditions are asked, whatever the first one says.
    bool addToDiagram = form.CheckValue(window::CheckBox::AddToDiagram) == 1;
    bool classDiagramActive = model::IsClassDiagramActive();
    if (addToDiagram && classDiagramActive) DrawNewClasses(form);
    RefreshDiagrams(form);
}

}  // namespace importing
