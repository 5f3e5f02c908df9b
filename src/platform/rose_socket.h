// Where rose-host listens, and so where the add-in attaches to "Rose.Application".
#pragma once

#include <string>

namespace platform {

// The path of rose-host's Unix-domain socket: `$CORVANSIL_ROSE_SOCKET` when set and not empty,
// else `${XDG_RUNTIME_DIR:-/tmp}/corvansil-$UID/rose.sock`.
std::string RoseSocketPath();

// The same path as an RPC address, "unix:" + RoseSocketPath().
std::string RoseSocketAddress();

}  // namespace platform
