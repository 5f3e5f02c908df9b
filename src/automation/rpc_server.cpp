// The server side: a poll loop on one thread that owns every connection and makes every call
// into the host, so calls are serialised without the host having to lock anything. Work that
// would hold up the loop runs on worker threads (rpc_calls.cpp).
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "automation/rpc_server_internal.h"

namespace automation::rpc {

using detail::Clock;

namespace detail {
namespace {

// Reads what the connection sent, up to what it may have waiting.
void ReadAvailable(State& s, Peer& peer) {
    // Compact before reading so that the buffer holds at most the allowed bytes.
    if (peer.inPos > 0) {
        peer.in.erase(0, peer.inPos);
        peer.inPos = 0;
    }
    char buf[65536];
    std::size_t limit = FrameLimit(s, peer) + kLengthSize;
    while (peer.in.size() < limit) {
        std::size_t room = std::min(limit - peer.in.size(), sizeof buf);
        ssize_t n = recv(peer.fd, buf, room, MSG_DONTWAIT);
        if (n > 0) {
            peer.in.append(buf, static_cast<std::size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        if (n == 0) {
            peer.eof = true;  // it may still read the replies of what it sent
            return;
        }
        peer.eof = true;
        peer.gone = true;
        return;
    }
}

void Flush(Peer& peer) {
    while (!peer.out.empty() && !peer.gone) {
        ssize_t n = send(peer.fd, peer.out.data(), peer.out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            peer.out.erase(0, static_cast<std::size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        peer.gone = true;
    }
    if (peer.gone) peer.out.clear();
    if (peer.closing && peer.out.empty()) peer.dead = true;
}

// Whether to poll the connection for requests: not past what it may have waiting, and not
// after its end (which would report readable for ever).
bool WantsRead(const State& s, const Peer& peer) {
    if (peer.eof || peer.gone || peer.closing) return false;
    return peer.in.size() - peer.inPos < FrameLimit(s, peer) + kLengthSize;
}

// Serves one connection for a turn; true when a request was handled.
bool Service(State& s, Peer& peer, short revents) {
    if (revents & (POLLHUP | POLLERR)) peer.gone = true;
    // What a client that has gone sent without waiting still runs: read it to its end, as
    // the connection is no longer polled.
    bool drain = peer.gone && !peer.eof && !BeforeLogin(s, peer);
    if ((revents & POLLIN) || drain) ReadAvailable(s, peer);
    bool handled = ProcessFrames(s, peer);
    Flush(peer);
    // Done once it sends nothing more and waits for nothing of ours.
    bool idle = !peer.pending && !HasRunnableFrames(s, peer) && peer.out.empty();
    if ((peer.eof || peer.gone) && idle) peer.dead = true;
    if (peer.gone && BeforeLogin(s, peer)) peer.dead = true;
    // A long frame leaves its buffer behind; keep only what an ordinary request needs.
    if (peer.in.empty() && peer.in.capacity() > 65536) peer.in.shrink_to_fit();
    return handled;
}

void ClosePeer(State& s, Peer& peer) {
    close(peer.fd);
    ReleaseAll(s, peer);
}

void SendRefusal(int fd, const std::string& why) {
    std::string frame;
    Message m;
    m.type = MessageType::Error;
    m.text = why;
    EncodeFrame(m, frame);
    [[maybe_unused]] ssize_t n = send(fd, frame.data(), frame.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

// Out of descriptors: the clients waiting hear so, through the spare descriptor, instead of
// waiting in the backlog until they give up. Without a spare, the loop does not look at the
// listening socket for a while, as it stays readable.
void RefuseForLackOfDescriptors(State& s) {
    if (s.spareFd < 0) s.spareFd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    bool refused = false;
    if (s.spareFd >= 0) {
        close(s.spareFd);
        for (int i = 0; i < 64; ++i) {
            std::string peerName;
            int error = 0;
            int fd = s.listener.Accept(peerName, error);
            if (fd < 0) break;
            SendRefusal(fd, "the server is busy: it has no file descriptors left");
            close(fd);
            refused = true;
        }
        s.spareFd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    }
    if (refused && s.spareFd >= 0) return;
    auto longest = std::chrono::milliseconds(1000);
    s.acceptBackoff =
        std::min(longest, std::max(std::chrono::milliseconds(10), s.acceptBackoff * 2));
    s.acceptAgainAt = Clock::now() + s.acceptBackoff;
}

void AcceptAll(State& s) {
    for (;;) {
        std::string peerName;
        int error = 0;
        int fd = s.listener.Accept(peerName, error);
        if (fd < 0) {
            if (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM)
                RefuseForLackOfDescriptors(s);
            return;
        }
        s.acceptBackoff = std::chrono::milliseconds(0);
        if (s.peers.size() >= s.options.maxConnections) {
            SendRefusal(fd, "the server is busy: it serves " +
                                std::to_string(s.options.maxConnections) +
                                " connections, its limit");
            close(fd);
            continue;
        }
        auto peer = std::make_unique<Peer>();
        peer->fd = fd;
        peer->info.id = s.nextConnectionId++;
        peer->info.peer = std::move(peerName);
        s.peers.push_back(std::move(peer));
    }
}

// Waits for something to do, at most until `deadline`. After a request, polls without
// sleeping for a while first: the next request of a busy client usually follows within
// microseconds.
int WaitForEvents(State& s, std::vector<pollfd>& fds, bool spin, Clock::time_point deadline) {
    if (spin) {
        auto spinEnd = Clock::now() + s.options.spin;
        do {
            int n = poll(fds.data(), fds.size(), 0);
            if (n != 0) return n;
            CpuRelax();
        } while (Clock::now() < spinEnd);
    }
    int timeout = deadline == Clock::time_point::max() ? -1 : MillisecondsUntil(deadline);
    return poll(fds.data(), fds.size(), timeout);
}

void DrainWake(State& s) {
    std::uint64_t count = 0;
    [[maybe_unused]] ssize_t n = read(s.wakeFd, &count, sizeof count);
}

}  // namespace
}  // namespace detail

using detail::Peer;

Server::Server(RootFactory factory, ServerOptions options) : state_(std::make_unique<State>()) {
    state_->factory = std::move(factory);
    state_->options = options;
    state_->wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (state_->wakeFd < 0) throw AutomationError("cannot create an event: " + detail::ErrnoText());
    state_->spareFd = open("/dev/null", O_RDONLY | O_CLOEXEC);
}

Server::~Server() {
    Stop();
    Join();
    for (auto& peer : state_->peers) detail::ClosePeer(*state_, *peer);
    state_->peers.clear();
    close(state_->wakeFd);
    if (state_->spareFd >= 0) close(state_->spareFd);
}

void Server::Listen(const std::string& address) { state_->listener.Open(address); }

std::string Server::Address() const { return state_->listener.address; }

std::size_t Server::HandleCount() const { return state_->handleCount.load(); }

void Server::Stop() {
    state_->stopping.store(true);
    std::uint64_t one = 1;
    // write() is safe in a signal handler; a full counter already means "wake up".
    [[maybe_unused]] ssize_t n = write(state_->wakeFd, &one, sizeof one);
}

void Server::Start() {
    if (state_->thread.joinable()) throw AutomationError("the server is already running");
    state_->thread = std::thread([this] { Run(); });
}

void Server::Join() {
    if (state_->thread.joinable()) state_->thread.join();
}

void Server::Run() {
    State& s = *state_;
    if (s.listener.fd < 0) return;
    std::vector<pollfd> fds;
    bool spin = false;
    while (!s.stopping.load()) {
        auto deadline = detail::AnswerDueJobs(s);
        auto now = Clock::now();
        bool accepting = now >= s.acceptAgainAt;
        if (!accepting) deadline = std::min(deadline, s.acceptAgainAt);
        fds.clear();
        fds.push_back({s.wakeFd, POLLIN, 0});
        fds.push_back({accepting ? s.listener.fd : -1, POLLIN, 0});
        for (auto& peer : s.peers) {
            short events = detail::WantsRead(s, *peer) ? POLLIN : 0;
            if (!peer->out.empty()) events |= POLLOUT;
            // A connection whose client has gone has nothing to poll (it would report the
            // hang-up again and again), only queued work.
            fds.push_back({peer->gone ? -1 : peer->fd, events, 0});
            // Requests already read, of a connection whose turn ended: no sleeping.
            if (detail::HasRunnableFrames(s, *peer)) deadline = now;
        }
        int n = detail::WaitForEvents(s, fds, spin, deadline);
        spin = false;
        if (n < 0) continue;  // EINTR: look at the stop flag again
        if (s.stopping.load()) break;
        if (fds[0].revents & POLLIN) {
            detail::DrainWake(s);
            detail::CollectDoneJobs(s);
            detail::AnswerDueJobs(s);
        }
        if (fds[1].revents & POLLIN) detail::AcceptAll(s);
        // Peers accepted just now are beyond the end of fds and wait for the next round.
        for (std::size_t i = 2; i < fds.size(); ++i) {
            if (detail::Service(s, *s.peers[i - 2], fds[i].revents)) spin = true;
        }
        for (auto it = s.peers.begin(); it != s.peers.end();) {
            if (!(*it)->dead) {
                ++it;
                continue;
            }
            detail::ClosePeer(s, **it);
            it = s.peers.erase(it);
        }
    }
    for (auto& peer : s.peers) detail::ClosePeer(s, *peer);
    s.peers.clear();
    detail::StopWorkers(s);
}

}  // namespace automation::rpc
