// The few POSIX socket calls of the automation client, on Winsock. The client's sources are
// built for Windows unchanged: this folder stands in for the POSIX headers they include, and
// each call goes to a routine here that speaks Winsock and reports failures in errno, the way
// the client reads them.
#pragma once

// winsock2.h declares a `struct pollfd` of its own, with a SOCKET member; ours is POSIX's.
#define pollfd corvansil_winsock_pollfd
#include <winsock2.h>
#undef pollfd
#include <afunix.h>
#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <string.h>
#include <ws2tcpip.h>

#include <cstddef>
#include <cstring>

using socklen_t = int;

struct pollfd {
    int fd;
    short events;
    short revents;
};
using nfds_t = unsigned long;

// Flags of socket(), send() and recv() that Winsock has not; socket() sets what they ask.
#define SOCK_NONBLOCK 0x10000
#define SOCK_CLOEXEC 0x20000
#define MSG_NOSIGNAL 0
#define MSG_DONTWAIT 0
#define SHUT_RDWR SD_BOTH
#ifndef F_GETFL
#define F_GETFL 3
#define F_SETFL 4
#endif
#ifndef O_NONBLOCK
#define O_NONBLOCK 0x4000
#endif

namespace corvansil_winsock {

int Socket(int domain, int type, int protocol);
int Connect(int fd, const sockaddr* address, socklen_t size);
long long Send(int fd, const void* data, std::size_t size, int flags);
long long Recv(int fd, void* data, std::size_t size, int flags);
int Close(int fd);
int Shutdown(int fd, int how);
int Poll(pollfd* fds, nfds_t count, int timeout);
int Fcntl(int fd, int command, int value);
int SetSockOpt(int fd, int level, int name, const void* value, socklen_t size);
int GetSockOpt(int fd, int level, int name, void* value, socklen_t* size);
int GetAddrInfo(const char* host, const char* port, const addrinfo* hints, addrinfo** found);

}  // namespace corvansil_winsock

// The text of an errno value, for the codes the calls above set as well.
const char* corvansil_strerror(int code);
namespace std {
using ::corvansil_strerror;
}

inline int poll(pollfd* fds, nfds_t count, int timeout) {
    return corvansil_winsock::Poll(fds, count, timeout);
}
inline int fcntl(int fd, int command, int value) {
    return corvansil_winsock::Fcntl(fd, command, value);
}

#define socket(d, t, p) corvansil_winsock::Socket(d, t, p)
#define connect(f, a, s) corvansil_winsock::Connect(f, a, s)
#define send(f, d, s, g) corvansil_winsock::Send(f, d, s, g)
#define recv(f, d, s, g) corvansil_winsock::Recv(f, d, s, g)
#define close(f) corvansil_winsock::Close(f)
#define shutdown(f, h) corvansil_winsock::Shutdown(f, h)
#define setsockopt(f, l, n, v, s) corvansil_winsock::SetSockOpt(f, l, n, v, s)
#define getsockopt(f, l, n, v, s) corvansil_winsock::GetSockOpt(f, l, n, v, s)
#define getaddrinfo(h, p, i, f) corvansil_winsock::GetAddrInfo(h, p, i, f)
#define strerror(c) corvansil_strerror(c)
