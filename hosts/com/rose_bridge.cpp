// rose-bridge.exe: the running modelling tool "Rose.Application" for the Windows build's runs
// under Wine. It forwards every call to the application object of a native rose-host over
// rose-host's own Unix socket, so the model, its file and its saving stay rose-host's. The
// interfaces of the modelling tool's objects are registered so that casts work across
// processes and answer what rose-host's objects answer.
//
//   rose-bridge.exe [SOCKET]   SOCKET, else CORVANSIL_STDIO_SOCKET or CORVANSIL_ROSE_SOCKET
//
// Under a Wine without Unix sockets, start it through rose-pipe, which hands it the connected
// socket as its standard input and output: `rose-pipe SOCKET wine rose-bridge.exe`.
// It serves until rose-host has gone.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "automation/com.h"
#include "automation/rpc.h"
#include "hosts/com/com_host.h"
#include "model/rose_ids.h"
#include "platform/rose_attach.h"

namespace {

constexpr const char* kRoseClass = "{5C1E9A40-2B7D-4E31-8F60-3A9D7C2B1E84}";
constexpr const char* kInterfaceLibrary = "{5C1E9A41-2B7D-4E31-8F60-3A9D7C2B1E84}";

// How often the bridge checks that rose-host is still there.
constexpr auto kTick = std::chrono::milliseconds(2000);

const std::vector<std::string>& RoseInterfaces() {
    namespace iid = rose::iid;
    static const std::vector<std::string> all = {
        iid::kApplication,
        iid::kModel,
        iid::kCategory,
        iid::kClass,
        iid::kElement,
        iid::kAttribute,
        iid::kOperation,
        iid::kParameter,
        iid::kAssociation,
        iid::kRole,
        iid::kSuperclassLink,
        iid::kExportControl,
        iid::kToolProperty,
        iid::kDiagram,
        iid::kClassDiagram,
        iid::kClassView,
        iid::kClassCollection,
        iid::kAttributeCollection,
        iid::kOperationCollection,
        iid::kAssociationCollection,
        iid::kSuperclassLinkCollection,
        iid::kCategoryCollection,
        iid::kClassDiagramCollection,
        iid::kToolPropertyCollection,
        iid::kElementCollection,
    };
    return all;
}

std::string SocketPath(int argc, char** argv) {
    if (argc >= 2) return argv[1];
    for (const char* name : {"CORVANSIL_STDIO_SOCKET", "CORVANSIL_ROSE_SOCKET"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return "";
}

std::string FolderOf(const std::string& path) {
    std::size_t slash = path.find_last_of("\\/");
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

int Bridge(const std::string& socketPath) {
    comhost::RegisterClassName(platform::kRoseProgId, kRoseClass, "");
    automation::com::RegisterInterfaces(kInterfaceLibrary,
                                        FolderOf(comhost::ModulePath()) + "\\rose-interfaces.tlb",
                                        RoseInterfaces());
    automation::rpc::ClientOptions options;
    options.peer = platform::kRosePeerName;
    automation::ObjectRef control = automation::rpc::Connect("unix:" + socketPath, options);
    automation::ObjectRef application = automation::GetByName(control, "Application").ToObject();
    if (!application) throw automation::AutomationError("rose-host gave no application object");
    std::uint32_t registration = automation::com::RegisterActive(kRoseClass, application);
    std::fprintf(stderr, "rose-bridge: serving %s as %s\n", socketPath.c_str(),
                 platform::kRoseProgId);
    std::string gone;
    comhost::Serve(
        [&] {
            try {
                automation::GetByName(control, "Status");
                return false;
            } catch (const std::exception& error) {
                gone = error.what();
                return true;
            }
        },
        kTick);
    automation::com::RevokeActive(registration);
    automation::com::ServedCounts served = automation::com::ServedCallCounts();
    std::fprintf(stderr,
                 "rose-bridge: %s\nrose-bridge: served %llu calls and %llu casts, sent %llu "
                 "requests to rose-host\n",
                 gone.c_str(), static_cast<unsigned long long>(served.calls),
                 static_cast<unsigned long long>(served.casts),
                 static_cast<unsigned long long>(automation::rpc::CallCount()));
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    automation::com::InitializeApartment();
    std::string socketPath = SocketPath(argc, argv);
    if (socketPath.empty()) {
        std::fprintf(stderr, "usage: rose-bridge.exe [SOCKET]\n");
        return 2;
    }
    try {
        return Bridge(socketPath);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "rose-bridge: %s\n", error.what());
        return 1;
    }
}
