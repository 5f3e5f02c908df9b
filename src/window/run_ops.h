// What a transfer window calls on the other side: the list loaders, the two connectors and the
// drivers. The program fills every member; a member left empty does nothing (a connector left
// empty never connects).
#pragma once

#include <functional>
#include <string>

#include "window/window.h"

namespace window {

struct RunOps {
    // Fills the lists from the model in export mode; the window passes its four lists.
    std::function<void(ClassList& availList, ClassList& selectList, ClassList& availListIds,
                       ClassList& selectListIds)>
        LoadRoseClassList;
    // Refills the available list from the server in import mode.
    std::function<void()> LoadTavroClassList;
    // True when connected; the start button passes a namespace string of its own.
    std::function<bool(std::string& serverNamespace)> ConnectToServer;
    // True when the modelling tool's application object is held.
    std::function<bool()> ConnectToRose;
    // The drivers: each runs over the whole selected list and returns when done.
    std::function<void()> ExportClasses;
    std::function<void()> ImportClasses;
};

}  // namespace window
