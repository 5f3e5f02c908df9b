// How the add-in reaches the programs it drives: attaching to a running program's
// application object ("Rose.Application") and creating the server's client-side factory
// ("TavroActiveX.Factory"). The program installs the real operations (sockets); tests put
// in-process hosts in their place.
#pragma once

#include <functional>
#include <string>

#include "automation/automation.h"

namespace platform {

struct ObjectOps {
    // The running instance of `progId`; raises AutomationError when none runs.
    std::function<automation::ObjectRef(const std::string& progId)> getActiveObject;
    // A new instance of `progId`; raises AutomationError when it cannot be created.
    std::function<automation::ObjectRef(const std::string& progId)> createObject;
};

// The table in force. The defaults raise "ActiveX component can't create object".
ObjectOps& Objects();
void ResetObjects();

automation::ObjectRef GetActiveObject(const std::string& progId);
automation::ObjectRef CreateObject(const std::string& progId);

}  // namespace platform
