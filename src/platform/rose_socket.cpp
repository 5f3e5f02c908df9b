#include "platform/rose_socket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

std::string CheckSocketDirectory(const std::string& socketPath, bool create) {
    std::size_t slash = socketPath.rfind('/');
    if (slash == std::string::npos) return CheckSocketDirectory("./" + socketPath, create);
    std::string dir = slash == 0 ? "/" : socketPath.substr(0, slash);
    if (create && mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        return "cannot create the socket directory " + dir + ": " + std::strerror(errno);
    }
    struct stat st {};
    if (lstat(dir.c_str(), &st) != 0) {
        if (errno == ENOENT && !create) return "";
        return "cannot check the socket directory " + dir + ": " + std::strerror(errno);
    }
    const std::string remedy =
        ", or another local user could take over the socket: remove it (or `chmod 700` it if "
        "it is yours), or set CORVANSIL_ROSE_SOCKET to a path in a directory of your own";
    if (!S_ISDIR(st.st_mode)) {
        return "the socket directory " + dir + " is not a directory but a link or a file" + remedy;
    }
    if (st.st_uid == ::getuid() && (st.st_mode & 077) == 0) return "";
    char mode[8];
    std::snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(st.st_mode & 07777));
    return "the socket directory " + dir + " has owner uid " + std::to_string(st.st_uid) +
           " and mode " + mode + "; it must be yours (uid " + std::to_string(::getuid()) +
           ") with mode 0700" + remedy;
}

}  // namespace platform
