#include "platform/rose_attach.h"

#include "automation/rpc.h"
#include "platform/objects.h"
#include "platform/rose_socket.h"

namespace platform {

automation::ObjectRef AttachToRose() {
    std::string unsafe = CheckSocketDirectory(RoseSocketPath(), /*create=*/false);
    if (!unsafe.empty()) throw automation::AutomationError(unsafe);
    // A socket that no host serves refuses the connection at once, so "not running" is quick.
    automation::rpc::ClientOptions options;
    options.peer = kRosePeerName;
    automation::ObjectRef control = automation::rpc::Connect(RoseSocketAddress(), options);
    automation::ObjectRef application = automation::GetByName(control, "Application").ToObject();
    if (!application) throw automation::AutomationError("rose-host gave no application object");
    return application;
}

void InstallRoseAttach() {
    auto previous = Objects().getActiveObject;
    Objects().getActiveObject = [previous](const std::string& progId) {
        if (progId == kRoseProgId) return AttachToRose();
        return previous(progId);
    };
}

}  // namespace platform
