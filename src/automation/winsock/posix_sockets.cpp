#include "posix_sockets.h"

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>
#include <thread>

// The routines below call Winsock itself.
#undef socket
#undef connect
#undef send
#undef recv
#undef close
#undef shutdown
#undef setsockopt
#undef getsockopt
#undef getaddrinfo
#undef strerror

namespace corvansil_winsock {
namespace {

void Start() {
    static std::once_flag once;
    std::call_once(once, [] {
        WSADATA data;
        ::WSAStartup(MAKEWORD(2, 2), &data);
    });
}

SOCKET Handle(int fd) { return static_cast<SOCKET>(static_cast<unsigned int>(fd)); }

// Sets errno from the last Winsock error; returns -1 for the caller to hand on.
int Fail() {
    switch (::WSAGetLastError()) {
        case WSAEWOULDBLOCK:
            errno = EAGAIN;
            break;
        case WSAEINPROGRESS:
            errno = EINPROGRESS;
            break;
        case WSAEINTR:
            errno = EINTR;
            break;
        case WSAECONNRESET:
        case WSAECONNABORTED:
        case WSAESHUTDOWN:
            errno = ECONNRESET;
            break;
        case WSAECONNREFUSED:
            errno = ECONNREFUSED;
            break;
        case WSAETIMEDOUT:
            errno = ETIMEDOUT;
            break;
        case WSAENETUNREACH:
            errno = ENETUNREACH;
            break;
        case WSAEHOSTUNREACH:
            errno = EHOSTUNREACH;
            break;
        case WSAEAFNOSUPPORT:
            errno = EAFNOSUPPORT;
            break;
        case WSAEADDRINUSE:
            errno = EADDRINUSE;
            break;
        case WSAEMSGSIZE:
            errno = EMSGSIZE;
            break;
        default:
            errno = EIO;
            break;
    }
    return -1;
}

int Clamp(std::size_t size) { return size > 0x7fffffff ? 0x7fffffff : static_cast<int>(size); }

// --- A Unix socket reached through standard input and output ---
//
// Where Winsock has no Unix sockets (Wine before 9), a program can still reach one when a
// native program connected its standard input and output to it and named it in
// CORVANSIL_STDIO_SOCKET (rose-pipe does). A socket "connected" to that path is one end of a
// loopback pair inside this process; two threads carry the bytes between the other end and
// the standard handles. The pair's other end is accepted only when its peer is our own end,
// so no other program can slip into the connection.

std::set<int>& RelayedSockets() {
    static std::set<int> sockets;
    return sockets;
}

bool IsStdioSocket(const char* path) {
    const char* relayed = std::getenv("CORVANSIL_STDIO_SOCKET");
    return relayed != nullptr && *relayed != '\0' && std::string(relayed) == path;
}

bool SameAddress(const sockaddr_in& a, const sockaddr_in& b) {
    return a.sin_port == b.sin_port && a.sin_addr.s_addr == b.sin_addr.s_addr;
}

void Pump(SOCKET end) {
    HANDLE in = ::GetStdHandle(STD_INPUT_HANDLE);
    HANDLE out = ::GetStdHandle(STD_OUTPUT_HANDLE);
    std::thread([in, end] {
        char buffer[65536];
        DWORD got = 0;
        while (::ReadFile(in, buffer, sizeof buffer, &got, nullptr) && got > 0) {
            for (DWORD done = 0; done < got;) {
                int n = ::send(end, buffer + done, static_cast<int>(got - done), 0);
                if (n <= 0) return;
                done += static_cast<DWORD>(n);
            }
        }
        ::shutdown(end, SD_SEND);
    }).detach();
    std::thread([out, end] {
        char buffer[65536];
        for (;;) {
            int n = ::recv(end, buffer, sizeof buffer, 0);
            if (n <= 0) break;
            DWORD written = 0;
            for (int done = 0; done < n; done += static_cast<int>(written)) {
                if (!::WriteFile(out, buffer + done, static_cast<DWORD>(n - done), &written,
                                 nullptr)) {
                    ::closesocket(end);
                    return;
                }
            }
        }
        ::CloseHandle(out);
    }).detach();
}

int ConnectThroughStdio(int fd) {
    SOCKET listener = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    if (listener == INVALID_SOCKET) return Fail();
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof local;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
        ::listen(listener, 4) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&local), &size) != 0) {
        int rc = Fail();
        ::closesocket(listener);
        return rc;
    }
    if (::connect(Handle(fd), reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 &&
        ::WSAGetLastError() != WSAEWOULDBLOCK) {
        int rc = Fail();
        ::closesocket(listener);
        return rc;
    }
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    SOCKET accepted = INVALID_SOCKET;
    while (accepted == INVALID_SOCKET && std::chrono::steady_clock::now() < deadline) {
        corvansil_winsock_pollfd wait{listener, POLLRDNORM, 0};
        if (::WSAPoll(&wait, 1, 1000) <= 0) continue;
        sockaddr_in peer{};
        int peerSize = sizeof peer;
        SOCKET candidate = ::accept(listener, reinterpret_cast<sockaddr*>(&peer), &peerSize);
        if (candidate == INVALID_SOCKET) continue;
        sockaddr_in own{};
        int ownSize = sizeof own;
        bool ours = ::getsockname(Handle(fd), reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
                    SameAddress(own, peer);
        if (ours) {
            accepted = candidate;
        } else {
            ::closesocket(candidate);
        }
    }
    ::closesocket(listener);
    if (accepted == INVALID_SOCKET) {
        errno = ETIMEDOUT;
        return -1;
    }
    Pump(accepted);
    return 0;
}

}  // namespace

int Socket(int domain, int type, int protocol) {
    Start();
    SOCKET s = ::socket(domain, type & ~(SOCK_NONBLOCK | SOCK_CLOEXEC), protocol);
    bool relayed = false;
    if (s == INVALID_SOCKET && domain == AF_UNIX && ::WSAGetLastError() == WSAEAFNOSUPPORT &&
        std::getenv("CORVANSIL_STDIO_SOCKET") != nullptr) {
        s = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        relayed = true;
    }
    if (s == INVALID_SOCKET) return Fail();
    if (relayed) RelayedSockets().insert(static_cast<int>(s));
    // Winsock handles are never inherited by programs we start, so there is no CLOEXEC to set.
    if ((type & SOCK_NONBLOCK) != 0) {
        u_long on = 1;
        ::ioctlsocket(s, FIONBIO, &on);
    }
    return static_cast<int>(s);
}

int Connect(int fd, const sockaddr* address, socklen_t size) {
    if (RelayedSockets().count(fd) != 0) {
        RelayedSockets().erase(fd);
        const auto* named = reinterpret_cast<const sockaddr_un*>(address);
        if (address->sa_family != AF_UNIX || !IsStdioSocket(named->sun_path)) {
            errno = EAFNOSUPPORT;
            return -1;
        }
        return ConnectThroughStdio(fd);
    }
    if (::connect(Handle(fd), address, size) == 0) return 0;
    // A non-blocking connect that is under way.
    if (::WSAGetLastError() == WSAEWOULDBLOCK) {
        errno = EINPROGRESS;
        return -1;
    }
    return Fail();
}

long long Send(int fd, const void* data, std::size_t size, int flags) {
    int n = ::send(Handle(fd), static_cast<const char*>(data), Clamp(size), flags);
    return n == SOCKET_ERROR ? Fail() : n;
}

long long Recv(int fd, void* data, std::size_t size, int flags) {
    int n = ::recv(Handle(fd), static_cast<char*>(data), Clamp(size), flags);
    return n == SOCKET_ERROR ? Fail() : n;
}

int Close(int fd) { return ::closesocket(Handle(fd)) == 0 ? 0 : Fail(); }

int Shutdown(int fd, int how) { return ::shutdown(Handle(fd), how) == 0 ? 0 : Fail(); }

int Poll(pollfd* fds, nfds_t count, int timeout) {
    corvansil_winsock_pollfd own[8];
    if (count > 8) {
        errno = EINVAL;
        return -1;
    }
    for (nfds_t i = 0; i < count; ++i) {
        own[i].fd = Handle(fds[i].fd);
        own[i].events = fds[i].events;
        own[i].revents = 0;
    }
    int n = ::WSAPoll(own, count, timeout);
    if (n == SOCKET_ERROR) return Fail();
    for (nfds_t i = 0; i < count; ++i) fds[i].revents = own[i].revents;
    return n;
}

int Fcntl(int fd, int command, int value) {
    if (command == F_GETFL) return 0;
    if (command != F_SETFL) {
        errno = EINVAL;
        return -1;
    }
    u_long on = (value & O_NONBLOCK) != 0 ? 1 : 0;
    return ::ioctlsocket(Handle(fd), FIONBIO, &on) == 0 ? 0 : Fail();
}

int SetSockOpt(int fd, int level, int name, const void* value, socklen_t size) {
    int rc = ::setsockopt(Handle(fd), level, name, static_cast<const char*>(value), size);
    return rc == 0 ? 0 : Fail();
}

int GetSockOpt(int fd, int level, int name, void* value, socklen_t* size) {
    int rc = ::getsockopt(Handle(fd), level, name, static_cast<char*>(value), size);
    if (rc != 0) return Fail();
    // SO_ERROR holds a Winsock code: give the errno that stands for it.
    if (level == SOL_SOCKET && name == SO_ERROR && *static_cast<int*>(value) != 0) {
        ::WSASetLastError(*static_cast<int*>(value));
        Fail();
        *static_cast<int*>(value) = errno;
    }
    return 0;
}

int GetAddrInfo(const char* host, const char* port, const addrinfo* hints, addrinfo** found) {
    Start();
    return ::getaddrinfo(host, port, hints, found);
}

}  // namespace corvansil_winsock

const char* corvansil_strerror(int code) {
    switch (code) {
        case ECONNREFUSED:
            return "Connection refused";
        case ECONNRESET:
            return "Connection reset by peer";
        case ETIMEDOUT:
            return "Connection timed out";
        case ENETUNREACH:
            return "Network is unreachable";
        case EHOSTUNREACH:
            return "No route to host";
        case EAFNOSUPPORT:
            return "Address family not supported by protocol";
        case EADDRINUSE:
            return "Address already in use";
        default:
            return ::strerror(code);
    }
}
