// Windows: "TavroActiveX.Factory" is the server's own client-side factory, a COM class that
// its client installs; each CreateObject makes a new one.
#include <cctype>

#include "automation/com.h"
#include "platform/objects.h"
#include "platform/tavro_factory.h"

namespace platform {
namespace {

// How the errors of a lost connection name the other end ("... closed the connection").
constexpr const char* kTavroComPeerName = "the Tavro server (TavroActiveX.Factory)";

bool SameProgId(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

}  // namespace

void InstallTavroFactory() {
    ObjectOps& ops = Objects();
    auto earlier = ops.createObject;
    ops.createObject = [earlier](const std::string& progId) -> automation::ObjectRef {
        if (SameProgId(progId, kTavroFactoryProgId)) {
            return automation::com::NewObject(kTavroFactoryProgId, kTavroComPeerName);
        }
        return earlier(progId);
    };
}

}  // namespace platform
