// Windows: "Rose.Application" is the modelling tool's running application object, found in the
// running object table through COM.
#include "automation/com.h"
#include "platform/objects.h"
#include "platform/rose_attach.h"

namespace platform {
namespace {

// How the errors of a lost connection name the other end ("... closed the connection").
constexpr const char* kRoseComPeerName = "the modelling tool (Rose.Application)";

}  // namespace

automation::ObjectRef AttachToRose() {
    return automation::com::ActiveObject(kRoseProgId, kRoseComPeerName);
}

void InstallRoseAttach() {
    auto previous = Objects().getActiveObject;
    Objects().getActiveObject = [previous](const std::string& progId) {
        if (progId == kRoseProgId) return AttachToRose();
        return previous(progId);
    };
}

}  // namespace platform
