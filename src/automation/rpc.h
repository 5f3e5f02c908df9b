// Automation objects of another process, reached over a stream socket.
//
// A host runs a `Server` on an address; a caller `Connect`s to it and gets a proxy for the
// connection's root object. Proxies are ordinary `Object`s: every call is one round trip, an
// error raised by the host comes back as `AutomationError` with the host's description, and
// objects in arguments and results travel as handles, so the same remote object always gives
// the same proxy and a proxy handed back to its host arrives there as the host's own object.
//
// Addresses: "unix:/path/to.sock" or "tcp:HOST:PORT" (port 0 on a server picks a free port).
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "automation/automation.h"

namespace automation::rpc {

// Frames larger than this are refused without being read.
inline constexpr std::size_t kMaxFrameSize = 16u * 1024u * 1024u;

// How long a server polls for the next request before it sleeps, unless told otherwise:
// 100 µs where the machine has cores to spare for it, none on two cores or fewer. There the
// add-in and both hosts share the cores, and a host polling after its answer takes the core
// from the add-in and the other host (on two cores a round trip of the benchmark model took a
// third longer). The add-in's own polling for a reply stays: the host it waits for is the one
// that runs then.
std::chrono::microseconds DefaultSpin();

struct ClientOptions {
    // How long a call, or the connection itself, waits for the server before giving up.
    std::chrono::milliseconds timeout{30000};
    // How long a caller polls for a reply without sleeping before it blocks: most replies
    // arrive within a few microseconds, and waking a sleeping process costs far more.
    std::chrono::microseconds spin{100};
    std::size_t maxFrameSize = kMaxFrameSize;
    // Property puts travel without waiting for their replies (they return nothing). A put
    // that fails stops every call sent after it on the server, unrun, and its error is raised
    // by the next call that waits, or by Sync: a caller that traps errors calls Sync before
    // it stops trapping, so that what the model and the server end up holding is what one
    // call at a time would leave.
    bool pipelinePuts = false;
    // False: every call waits for its reply, Pipeline scopes and pipelinePuts notwithstanding
    // (for comparing a run sent ahead with one that is not).
    bool sendAhead = true;
    // False: announced reads are not sent ahead and no reply is kept (see ReadScope), every
    // read waits for its own reply (for comparing a run that reads ahead with one that does not).
    bool readAhead = true;
    // Who is at the other end, as the connection's own errors name it ("the modelling tool
    // (rose-host) closed the connection"): a run talks to two programs, and its log must say
    // which of them went away.
    std::string peer = "the server";
};

// Waits for the replies of every call sent ahead on `object`'s connection and raises the
// first error among them. Does nothing for an object of this process.
void Sync(const ObjectRef& object);

// Waits for the replies of every call sent ahead on every connection and raises the first
// error among them (of the connection that got one first, the calls of a run being ordered).
void SyncAll();

// While one lives, every connection sends property puts and method calls whose result is
// dropped (CallUse::NoResult) without waiting for their replies. A queued call that fails
// stops every later call: the server answers the calls after it on its connection with the
// same error, unrun, and a call that may change something on another connection first waits
// for the calls sent ahead on this one. So the model and the server end up as one call at a
// time would leave them, and the error surfaces at the next call that waits, or at Sync.
//
// A routine that opens a scope calls Sync before it returns and before it does anything
// that is not an automation call, and `Run` does that for a body: it syncs after the body,
// and when the body raises, syncs first so that an earlier failed call's error wins.
class Pipeline {
  public:
    Pipeline();
    ~Pipeline();  // syncs what is still queued, dropping its error (the body raised already)
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    void Sync() { SyncAll(); }

    template <class Fn>
    auto Run(Fn&& body) -> decltype(body()) {
        try {
            if constexpr (std::is_void_v<decltype(body())>) {
                body();
                Sync();
            } else {
                auto result = body();
                Sync();
                return result;
            }
        } catch (...) {
            Sync();
            throw;
        }
    }
};

// Connects to the server at `address` and returns its root object for this connection.
// Raises AutomationError when nothing answers there or the server refuses the connection.
// The connection closes when the last proxy obtained through it is dropped.
ObjectRef Connect(const std::string& address, const ClientOptions& options = {});

// Requests sent to servers by this process, over all connections, since it started; and how
// many of them the caller waited for (a round trip each). For measuring how chatty a run is.
std::uint64_t CallCount();
std::uint64_t WaitCount();

// The requests waited for, by what they asked (interface casts include the few requests that
// end a failed run of calls sent ahead; gets include each fetch of announced reads), and the
// waits for the replies of calls sent ahead (syncs).
struct WaitCounts {
    std::uint64_t gets = 0;
    std::uint64_t puts = 0;
    std::uint64_t methods = 0;
    std::uint64_t casts = 0;
    std::uint64_t syncs = 0;
};
WaitCounts WaitCountsByKind();

// Who is on the other end of a server connection.
struct ConnectionInfo {
    std::uint64_t id = 0;  // unique per server, counting from 1
    std::string peer;      // "unix" or "HOST:PORT"
};

// Gives the root object of a new connection; may raise AutomationError to refuse it.
using RootFactory = std::function<ObjectRef(const ConnectionInfo&)>;

struct ServerOptions {
    // How long the server polls for the next request after answering one before it sleeps.
    std::chrono::microseconds spin = DefaultSpin();
    std::size_t maxFrameSize = kMaxFrameSize;
    // When set, held around every call into the host, so that a host with threads of its
    // own can serialise them with the calls of its clients.
    std::mutex* hostMutex = nullptr;
    // Bytes a connection may send in one request, and have waiting unread, until the host
    // calls Authenticate for it; it may also hold only a few objects. 0: every connection is
    // trusted from its start (a Unix socket that only its owner reaches).
    std::size_t loginLimit = 0;
    // Connections served at once; the next one hears that the server is busy.
    std::size_t maxConnections = 256;
    // Threads that run deferred work (each may hold a password hash's memory).
    unsigned workers = 2;
};

// --- Calls that take long, and logins ---
//
// The serving thread serves every connection, so a call that takes long (a password hash)
// would hold up all of them. Such a call returns `Defer(work)`: the server runs `work` on one
// of its worker threads, without the host mutex, and goes on serving the other connections;
// what `work` returns or raises becomes the call's reply. The connection's later requests
// wait for that reply, so that its replies keep the order of its requests. `work` must not
// touch what the host's other calls touch unless it locks it itself.
//
// Outside a call that a Server runs (a host object called in its own process), `work` runs
// at once and Defer returns its result.
Variant Defer(std::function<Variant()> work);

// Raised by deferred work: the error reaches the client only after `hold`, while the server
// goes on with the other connections (to slow down someone guessing passwords). In a call
// that is not deferred it is an ordinary error.
class HeldError : public AutomationError {
  public:
    HeldError(const std::string& description, std::chrono::milliseconds holdFor)
        : AutomationError(description), hold(holdFor) {}
    std::chrono::milliseconds hold;
};

// Marks the connection of the call being served, or of the deferred work running, as logged
// in: its limits become maxFrameSize instead of loginLimit. Does nothing elsewhere.
void Authenticate();

// Serves automation objects to any number of connections. All calls into the host run on
// the thread of `Run`, one at a time; each connection's in the order they arrive, and the
// connections by turns, a few requests each, so that one with many queued requests does not
// hold up the others. When a client has gone, its queued requests that wait for a reply are
// dropped; those sent without waiting still run, as the client made them. A connection that
// has not logged in is dropped with everything it sent.
class Server {
  public:
    explicit Server(RootFactory factory, ServerOptions options = {});
    ~Server();  // stops, joins the thread of Start, closes every connection
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Opens the listening socket. Raises AutomationError when the address is malformed, taken,
    // or (for a Unix socket) another live server answers on it; a stale socket file is removed.
    void Listen(const std::string& address);
    // The address being listened on, with the actual port of "tcp:HOST:0".
    std::string Address() const;

    // Serves until Stop; returns at once when Listen has not succeeded.
    void Run();
    // Runs `Run` on a thread of its own (for tests and for hosts with a user interface).
    void Start();
    // Makes Run return soon; safe to call from a signal handler and from any thread.
    void Stop();
    // Waits for the thread of Start to end.
    void Join();

    // Handles held for clients, over all connections (for tests and diagnostics).
    std::size_t HandleCount() const;

    struct State;

  private:
    std::unique_ptr<State> state_;
};

}  // namespace automation::rpc
