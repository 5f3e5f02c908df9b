// Attaching to the running modelling tool: "Rose.Application" is the application object of the
// rose-host that answers on the socket of RoseSocketPath().
#pragma once

#include "automation/automation.h"

namespace platform {

inline constexpr const char* kRoseProgId = "Rose.Application";
// How the errors of the connection name the other end ("... closed the connection").
inline constexpr const char* kRosePeerName = "the modelling tool (rose-host)";

// The application object of the running rose-host; raises AutomationError when none answers.
automation::ObjectRef AttachToRose();

// Makes platform::GetActiveObject("Rose.Application") attach to rose-host; every other progId
// goes on to whatever was installed before.
void InstallRoseAttach();

}  // namespace platform
