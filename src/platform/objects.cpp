#include "platform/objects.h"

namespace platform {
namespace {

automation::ObjectRef CannotCreate(const std::string& /*progId*/) {
    throw automation::AutomationError("ActiveX component can't create object");
}

ObjectOps DefaultOps() { return ObjectOps{CannotCreate, CannotCreate}; }

}  // namespace

ObjectOps& Objects() {
    static ObjectOps ops = DefaultOps();
    return ops;
}

void ResetObjects() { Objects() = DefaultOps(); }

automation::ObjectRef GetActiveObject(const std::string& progId) {
    return Objects().getActiveObject(progId);
}

automation::ObjectRef CreateObject(const std::string& progId) {
    return Objects().createObject(progId);
}

}  // namespace platform
