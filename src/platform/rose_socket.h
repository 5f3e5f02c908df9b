// Where rose-host listens, and so where the add-in attaches to "Rose.Application".
#pragma once

#include <string>

namespace platform {

// The path of rose-host's Unix-domain socket: `$CORVANSIL_ROSE_SOCKET` when set and not empty,
// else `${XDG_RUNTIME_DIR:-/tmp}/corvansil-$UID/rose.sock`.
std::string RoseSocketPath();

// The same path as an RPC address, "unix:" + RoseSocketPath().
std::string RoseSocketAddress();

// Whoever can write to the socket's directory can put a socket of their own in its place and
// receive every call, so the directory must be this user's own: owned by them with mode 0700.
// Returns "" when it is, or what is wrong (the directory, its owner and mode, and what to do).
// With `create`, a missing directory is made so (rose-host before it listens); without, a
// missing one is no matter (there is nothing to connect to).
std::string CheckSocketDirectory(const std::string& socketPath, bool create);

}  // namespace platform
