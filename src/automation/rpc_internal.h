// Socket helpers shared by the client and the server side of the automation protocol.
#pragma once

#include <sched.h>

#include <chrono>
#include <string>

namespace automation::rpc::detail {

using Clock = std::chrono::steady_clock;

struct Address {
    bool isUnix = false;
    std::string path;  // unix
    std::string host;  // tcp
    std::string port;  // tcp
};

// Reads "unix:/path" or "tcp:HOST:PORT" (HOST may be bracketed for IPv6). False when the text
// is neither; `error` then says why.
bool ParseAddress(const std::string& text, Address& out, std::string& error);

// A connected, non-blocking stream socket, or -1 with `error` set. Waits at most `timeout`
// for a TCP connection to be accepted.
int ConnectSocket(const Address& address, std::chrono::milliseconds timeout, std::string& error);

// Lets a TCP socket send small frames at once instead of waiting to fill a segment.
void SetNoDelay(int fd);

// One step of a busy wait. The pause hint gives a sibling hardware thread the core's
// resources; the yield gives the processor itself to any thread waiting for it, which on a
// machine with more runnable threads than cores is often the peer we are waiting for, so
// that polling never delays the answer it polls for.
inline void CpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
    sched_yield();
}

// The listening socket of a server.
struct Listener {
    Listener() = default;
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    // Raises AutomationError when the address cannot be listened on. For a Unix socket,
    // creates a missing parent directory (0700), refuses a socket another server answers on,
    // removes a stale one, and makes the socket reachable by its owner only (0600).
    void Open(const std::string& text);
    // An accepted, non-blocking connection, or -1 when none is waiting or accepting failed
    // (`error` then holds errno, 0 when nothing was waiting).
    int Accept(std::string& peer, int& error);

    int fd = -1;
    std::string address;  // as given, with the actual port for "tcp:HOST:0"

  private:
    bool isUnix_ = false;
    std::string path_;
    unsigned long long device_ = 0, inode_ = 0;  // of the socket file we created
};

// Milliseconds from now until `deadline`, rounded up, for poll(); 0 when it has passed.
int MillisecondsUntil(Clock::time_point deadline);

// "30 s", "0.25 s": a duration as people read it in an error text.
std::string FormatSeconds(std::chrono::milliseconds d);

// The text of the current errno.
std::string ErrnoText();

}  // namespace automation::rpc::detail
