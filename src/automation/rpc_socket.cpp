#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

#include "automation/rpc_internal.h"

namespace automation::rpc {

std::chrono::microseconds DefaultSpin() {
    static const std::chrono::microseconds spin(std::thread::hardware_concurrency() > 2 ? 100 : 0);
    return spin;
}

}  // namespace automation::rpc

namespace automation::rpc::detail {

bool ParseAddress(const std::string& text, Address& out, std::string& error) {
    out = Address{};
    if (text.rfind("unix:", 0) == 0) {
        out.isUnix = true;
        out.path = text.substr(5);
        if (out.path.empty()) {
            error = "malformed address \"" + text + "\": no socket path";
            return false;
        }
        if (out.path.size() >= sizeof(sockaddr_un{}.sun_path)) {
            error = "socket path too long: " + out.path;
            return false;
        }
        return true;
    }
    if (text.rfind("tcp:", 0) == 0) {
        std::string rest = text.substr(4);
        std::size_t colon = rest.rfind(':');
        if (colon == std::string::npos || colon == 0 || colon + 1 == rest.size()) {
            error = "malformed address \"" + text + "\": expected tcp:HOST:PORT";
            return false;
        }
        out.host = rest.substr(0, colon);
        out.port = rest.substr(colon + 1);
        if (out.host.size() > 2 && out.host.front() == '[' && out.host.back() == ']') {
            out.host = out.host.substr(1, out.host.size() - 2);
        }
        return true;
    }
    error = "malformed address \"" + text + "\": expected unix:PATH or tcp:HOST:PORT";
    return false;
}

void SetNoDelay(int fd) {
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

int MillisecondsUntil(Clock::time_point deadline) {
    auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) return 0;
    auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return ms > 1000000 ? 1000000 : static_cast<int>(ms);
}

std::string FormatSeconds(std::chrono::milliseconds d) {
    if (d.count() % 1000 == 0) return std::to_string(d.count() / 1000) + " s";
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g s", static_cast<double>(d.count()) / 1000.0);
    return buf;
}

std::string ErrnoText() { return std::strerror(errno); }

static int ConnectUnix(const Address& address, std::string& error) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        error = "cannot create a socket: " + ErrnoText();
        return -1;
    }
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::memcpy(sa.sun_path, address.path.c_str(), address.path.size() + 1);
    // A Unix socket connects at once or not at all; EAGAIN means the backlog is full.
    if (connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0) {
        error = ErrnoText();
        close(fd);
        return -1;
    }
    return fd;
}

// Waits for a non-blocking connect to finish; true when it succeeded.
static bool FinishConnect(int fd, std::chrono::milliseconds timeout, std::string& error) {
    auto deadline = Clock::now() + timeout;
    for (;;) {
        pollfd p{fd, POLLOUT, 0};
        int n = poll(&p, 1, MillisecondsUntil(deadline));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = ErrnoText();
            return false;
        }
        if (n == 0) {
            error = "no answer within " + FormatSeconds(timeout);
            return false;
        }
        int soError = 0;
        socklen_t len = sizeof soError;
        getsockopt(fd, SOL_SOCKET, SO_ERROR, &soError, &len);
        if (soError != 0) {
            error = std::strerror(soError);
            return false;
        }
        return true;
    }
}

static int ConnectTcp(const Address& address, std::chrono::milliseconds timeout,
                      std::string& error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    int rc = getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found);
    if (rc != 0) {
        error = gai_strerror(rc);
        return -1;
    }
    int fd = -1;
    for (addrinfo* ai = found; ai != nullptr; ai = ai->ai_next) {
        fd = socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, ai->ai_protocol);
        if (fd < 0) {
            error = ErrnoText();
            continue;
        }
        if (connect(fd, ai->ai_addr, ai->ai_addrlen) == 0) break;
        if (errno != EINPROGRESS) {
            error = ErrnoText();
        } else if (FinishConnect(fd, timeout, error)) {
            break;
        }
        close(fd);
        fd = -1;
    }
    freeaddrinfo(found);
    if (fd >= 0) SetNoDelay(fd);
    return fd;
}

int ConnectSocket(const Address& address, std::chrono::milliseconds timeout, std::string& error) {
    if (address.isUnix) return ConnectUnix(address, error);
    return ConnectTcp(address, timeout, error);
}

}  // namespace automation::rpc::detail
