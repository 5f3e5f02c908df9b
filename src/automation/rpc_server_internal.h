// The server's state, shared by the serving loop (rpc_server.cpp) and the running of calls
// (rpc_calls.cpp).
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "automation/rpc.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"

namespace automation::rpc::detail {

struct HandleEntry {
    ObjectRef object;
    std::uint32_t sent = 0;  // times sent to the client and not yet released by it
};

struct Peer;

// A call answered by deferred work. The worker fills in the outcome; everything else belongs
// to the serving thread.
struct Job {
    Peer* peer = nullptr;  // null once the connection has closed: the outcome is dropped
    std::uint32_t requestId = 0;
    std::uint32_t resultHandle = 0;
    std::string resultIid;
    bool noWait = false;
    std::function<Variant()> work;
    std::atomic<bool> cancelled{false};  // the worker skips work that has not started
    Variant result;
    bool failed = false;
    std::string error;
    bool authenticated = false;
    Clock::time_point answerAt{};  // a held error goes out no earlier
};

// One client connection and the objects it holds.
struct Peer {
    int fd = -1;
    ConnectionInfo info;
    std::string in;
    std::size_t inPos = 0;  // start of the first unprocessed frame in `in`
    std::string out;
    bool closing = false;  // refuse further requests; close once `out` is sent
    bool eof = false;      // the client sends nothing more, and may still read
    bool gone = false;     // the client has closed: nobody reads the replies
    bool dead = false;     // close at the end of this round
    bool authenticated = false;
    std::shared_ptr<Job> pending;  // the deferred call the connection waits for
    std::unordered_map<std::uint32_t, HandleEntry> handles;
    std::unordered_map<const Object*, std::uint32_t> ids;
    std::uint32_t nextHandle = 1;
    // Set when a call the client did not wait for failed: later calls get this error, unrun,
    // until the client waits for one, so that nothing runs after a failure the client has
    // not seen yet.
    bool batchFailed = false;
    std::string batchError;
    // Kinds of object introduced to the client, by their interface identifiers joined.
    std::unordered_map<std::string, std::uint32_t> kinds;
};

}  // namespace automation::rpc::detail

namespace automation::rpc {

struct Server::State {
    RootFactory factory;
    ServerOptions options;
    detail::Listener listener;
    int wakeFd = -1;
    int spareFd = -1;  // given up to accept, and refuse, a connection when out of descriptors
    std::atomic<bool> stopping{false};
    std::atomic<std::size_t> handleCount{0};
    std::uint64_t nextConnectionId = 1;
    std::vector<std::unique_ptr<detail::Peer>> peers;
    std::thread thread;
    detail::Clock::time_point acceptAgainAt{};
    std::chrono::milliseconds acceptBackoff{0};

    // Deferred work: queued by the serving thread, taken by the workers, handed back done.
    std::mutex jobsMutex;
    std::condition_variable jobsReady;
    std::deque<std::shared_ptr<detail::Job>> queued;
    std::vector<std::shared_ptr<detail::Job>> done;
    bool workersStop = false;
    std::vector<std::thread> workers;
    std::vector<std::shared_ptr<detail::Job>> held;  // done, answer not due yet
};

}  // namespace automation::rpc

namespace automation::rpc::detail {

using State = Server::State;

// What Defer and Authenticate act on: set while the server runs a call, or deferred work.
struct CallContext {
    std::function<Variant()>* deferred = nullptr;  // the serving thread's call being run
    bool* authenticated = nullptr;
};
extern thread_local CallContext* tCall;

// Runs host code under the host's mutex, when it has one.
template <class Fn>
auto InHost(State& s, Fn&& fn) {
    if (s.options.hostMutex == nullptr) return fn();
    std::lock_guard lock(*s.options.hostMutex);
    return fn();
}

// Requests a connection may have run in one turn before the others get theirs.
inline constexpr int kTurnRequests = 16;

// True while a connection of a server with logins has not logged in.
bool BeforeLogin(const State& s, const Peer& peer);
// The largest request the connection may send now, and how much it may have waiting.
std::size_t FrameLimit(const State& s, const Peer& peer);

// Handles up to kTurnRequests complete frames; true when it handled any.
bool ProcessFrames(State& s, Peer& peer);
// True when the connection has complete requests it may run now.
bool HasRunnableFrames(const State& s, const Peer& peer);

// Sends what a finished deferred call answers, dropping it when its connection has gone.
void AnswerJob(State& s, Job& job);
// Starts the worker threads unless they run (the first deferred call does).
void StartWorkers(State& s);
void StopWorkers(State& s);
// Takes the calls that the workers finished; true when any came.
void CollectDoneJobs(State& s);
// Answers held calls that are due; returns when the next one is, or max() for none.
Clock::time_point AnswerDueJobs(State& s);

// Drops the objects a connection holds.
void ReleaseAll(State& s, Peer& peer);

}  // namespace automation::rpc::detail
