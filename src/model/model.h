// The modelling-tool side of a run: refreshing class diagrams after an import and filling the
// transfer window's class lists from the open model for an export. The link itself and the
// operations on model objects are in model/rose.h.
#pragma once

#include "automation/automation.h"
#include "model/rose.h"
#include "window/window.h"

namespace model {

// True when the active model's current diagram is a class diagram; any error gives false.
bool IsClassDiagramActive();
// Refreshes every class diagram of every category of the active model; the first error ends
// the whole refresh quietly.
void UpdateRoseDiagrams();
// Takes every class off the diagram and puts it back with the placement it had, then redraws;
// an error ends the refresh of this diagram quietly.
void RefreshClassDiagram(const automation::ObjectRef& diagram);

// Fills the available and selected lists with the server-form names of the model's classes
// (classes selected on the current diagram start selected; those of "Tavro System Classes"
// are left out) and each companion list with the classes' unique keys, entry for entry.
// Connects first (the prompt may end the process); modelling-tool errors pass to the caller.
void LoadRoseClassList(window::ClassList& AvailList, window::ClassList& SelectList,
                       window::ClassList& AvailListIDs, window::ClassList& SelectListIDs);

}  // namespace model
