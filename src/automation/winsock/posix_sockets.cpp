#include "posix_sockets.h"

#include <mutex>

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

}  // namespace

int Socket(int domain, int type, int protocol) {
    Start();
    SOCKET s = ::socket(domain, type & ~(SOCK_NONBLOCK | SOCK_CLOEXEC), protocol);
    if (s == INVALID_SOCKET) return Fail();
    // Winsock handles are never inherited by programs we start, so there is no CLOEXEC to set.
    if ((type & SOCK_NONBLOCK) != 0) {
        u_long on = 1;
        ::ioctlsocket(s, FIONBIO, &on);
    }
    return static_cast<int>(s);
}

int Connect(int fd, const sockaddr* address, socklen_t size) {
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
