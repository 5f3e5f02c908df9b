// The listening side of a server socket.
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "automation/automation.h"
#include "automation/rpc_internal.h"

namespace automation::rpc::detail {

// Creates the missing directories of `dir`, each readable by its owner only: the socket
// inside gives whoever reaches it the whole host.
static void MakeDirectories(const std::string& dir) {
    if (dir.empty()) return;
    struct stat st {};
    if (stat(dir.c_str(), &st) == 0) return;
    std::size_t slash = dir.rfind('/');
    if (slash != std::string::npos && slash > 0) MakeDirectories(dir.substr(0, slash));
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        throw AutomationError("cannot create directory " + dir + ": " + ErrnoText());
    }
}

static std::string PeerName(const sockaddr_storage& sa) {
    char host[INET6_ADDRSTRLEN] = "";
    unsigned port = 0;
    if (sa.ss_family == AF_INET) {
        const auto* in = reinterpret_cast<const sockaddr_in*>(&sa);
        inet_ntop(AF_INET, &in->sin_addr, host, sizeof host);
        port = ntohs(in->sin_port);
    } else if (sa.ss_family == AF_INET6) {
        const auto* in6 = reinterpret_cast<const sockaddr_in6*>(&sa);
        inet_ntop(AF_INET6, &in6->sin6_addr, host, sizeof host);
        port = ntohs(in6->sin6_port);
    } else {
        return "unix";
    }
    return std::string(host) + ":" + std::to_string(port);
}

Listener::~Listener() {
    if (fd < 0) return;
    close(fd);
    // Remove the socket file only while it is still ours: a later server may have replaced it.
    struct stat st {};
    if (isUnix_ && stat(path_.c_str(), &st) == 0 && st.st_dev == device_ && st.st_ino == inode_) {
        unlink(path_.c_str());
    }
}

static int OpenUnix(const Address& a, const std::string& text) {
    std::size_t slash = a.path.rfind('/');
    if (slash != std::string::npos && slash > 0) MakeDirectories(a.path.substr(0, slash));
    struct stat st {};
    if (lstat(a.path.c_str(), &st) == 0) {
        if (!S_ISSOCK(st.st_mode)) {
            throw AutomationError(a.path + " exists and is not a socket");
        }
        std::string error;
        int probe = ConnectSocket(a, std::chrono::milliseconds(1000), error);
        if (probe >= 0) {
            close(probe);
            throw AutomationError("another server is listening on " + text);
        }
        unlink(a.path.c_str());  // left behind by a server that died
    }
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) throw AutomationError("cannot create a socket: " + ErrnoText());
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::memcpy(sa.sun_path, a.path.c_str(), a.path.size() + 1);
    // Connecting takes write permission on the socket file: only its owner gets it.
    if (bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0 ||
        chmod(a.path.c_str(), 0600) != 0 || listen(fd, 128) != 0) {
        std::string why = ErrnoText();
        close(fd);
        throw AutomationError("cannot listen on " + text + ": " + why);
    }
    return fd;
}

static int OpenTcp(const Address& a, const std::string& text, std::string& actual) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    int rc = getaddrinfo(a.host.c_str(), a.port.c_str(), &hints, &found);
    if (rc != 0) throw AutomationError("cannot listen on " + text + ": " + gai_strerror(rc));
    std::string why = "no address";
    int fd = -1;
    for (addrinfo* ai = found; ai != nullptr && fd < 0; ai = ai->ai_next) {
        fd = socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, ai->ai_protocol);
        if (fd < 0) continue;
        int one = 1;
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        if (bind(fd, ai->ai_addr, ai->ai_addrlen) == 0 && listen(fd, 128) == 0) break;
        why = ErrnoText();
        close(fd);
        fd = -1;
    }
    freeaddrinfo(found);
    if (fd < 0) throw AutomationError("cannot listen on " + text + ": " + why);
    sockaddr_storage sa{};
    socklen_t len = sizeof sa;
    getsockname(fd, reinterpret_cast<sockaddr*>(&sa), &len);
    std::string name = PeerName(sa);
    std::string port = name.substr(name.rfind(':') + 1);
    bool bracket = a.host.find(':') != std::string::npos;
    actual = "tcp:" + (bracket ? "[" + a.host + "]" : a.host) + ":" + port;
    return fd;
}

void Listener::Open(const std::string& text) {
    if (fd >= 0) throw AutomationError("the server is already listening on " + address);
    Address a;
    std::string error;
    if (!ParseAddress(text, a, error)) throw AutomationError(error);
    if (!a.isUnix) {
        fd = OpenTcp(a, text, address);
        return;
    }
    fd = OpenUnix(a, text);
    address = text;
    isUnix_ = true;
    path_ = a.path;
    struct stat st {};
    if (stat(path_.c_str(), &st) == 0) {
        device_ = st.st_dev;
        inode_ = st.st_ino;
    }
}

int Listener::Accept(std::string& peer, int& error) {
    error = 0;
    for (;;) {
        sockaddr_storage sa{};
        socklen_t len = sizeof sa;
        int conn =
            accept4(fd, reinterpret_cast<sockaddr*>(&sa), &len, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (conn < 0 && errno == EINTR) continue;
        // ECONNABORTED and the like concern one connection that is already gone.
        if (conn < 0 && errno == ECONNABORTED) continue;
        if (conn < 0) {
            if (errno != EAGAIN && errno != EWOULDBLOCK) error = errno;
            return -1;
        }
        peer = PeerName(sa);
        if (!isUnix_) SetNoDelay(conn);
        return conn;
    }
}

}  // namespace automation::rpc::detail
