#include "platform/rose_socket.h"

#include <unistd.h>

#include <cstdlib>

namespace platform {
namespace {

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

std::string RoseSocketPath() {
    std::string explicitPath = Environment("CORVANSIL_ROSE_SOCKET");
    if (!explicitPath.empty()) return explicitPath;
    std::string runtime = Environment("XDG_RUNTIME_DIR");
    if (runtime.empty()) runtime = "/tmp";
    // One directory per user, so that two users of one machine each reach their own host.
    return runtime + "/corvansil-" + std::to_string(::getuid()) + "/rose.sock";
}

std::string RoseSocketAddress() { return "unix:" + RoseSocketPath(); }

}  // namespace platform
