// The server side: a poll loop on one thread that owns every connection and makes every call
// into the host, so calls are serialised without the host having to lock anything.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <unordered_map>

#include "automation/rpc.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"

namespace automation::rpc {

using detail::Clock;

namespace {

struct HandleEntry {
    ObjectRef object;
    std::uint32_t sent = 0;  // times sent to the client and not yet released by it
};

// One client connection and the objects it holds.
struct Peer {
    int fd = -1;
    ConnectionInfo info;
    std::string in;
    std::size_t inPos = 0;  // start of the first unprocessed frame in `in`
    std::string out;
    bool closing = false;  // refuse further requests; close once `out` is sent
    bool dead = false;
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

}  // namespace

struct Server::State {
    RootFactory factory;
    ServerOptions options;
    detail::Listener listener;
    int wakeFd = -1;
    std::atomic<bool> stopping{false};
    std::atomic<std::size_t> handleCount{0};
    std::uint64_t nextConnectionId = 1;
    std::vector<std::unique_ptr<Peer>> peers;
    std::thread thread;
};

namespace {

using State = Server::State;

// Runs host code under the host's mutex, when it has one.
template <class Fn>
auto InHost(State& s, Fn&& fn) {
    if (s.options.hostMutex == nullptr) return fn();
    std::lock_guard lock(*s.options.hostMutex);
    return fn();
}

// Kinds told per connection at most; objects beyond leave the client to ask.
constexpr std::uint32_t kMaxKinds = 4096;

// Tells the client the kind of an object it has no handle of yet, so that it answers interface
// casts itself: the kind's number, with its interfaces the first time.
void Introduce(State& s, Peer& peer, const ObjectRef& obj, ObjectHandle& out) {
    std::vector<std::string> iids = InHost(s, [&] { return obj->InterfaceIds(); });
    if (iids.empty()) return;
    std::string key;
    for (const std::string& iid : iids) key += iid + '\n';
    auto found = peer.kinds.find(key);
    if (found != peer.kinds.end()) {
        out.kind = found->second;
        return;
    }
    if (peer.kinds.size() >= kMaxKinds) return;
    out.kind = static_cast<std::uint32_t>(peer.kinds.size() + 1);
    peer.kinds.emplace(std::move(key), out.kind);
    out.iids = std::move(iids);
}

ObjectHandle HandleFor(State& s, Peer& peer, const ObjectRef& obj) {
    ObjectHandle out;
    if (!obj) return out;
    auto found = peer.ids.find(obj.get());
    if (found != peer.ids.end()) {
        ++peer.handles[found->second].sent;
        out.id = found->second;
        return out;
    }
    out.id = peer.nextHandle++;
    peer.handles[out.id] = HandleEntry{obj, 1};
    peer.ids[obj.get()] = out.id;
    ++s.handleCount;
    Introduce(s, peer, obj, out);
    return out;
}

// The object a handle stands for; raises AutomationError for a handle the client never had.
const ObjectRef& ObjectOf(Peer& peer, std::uint32_t id) {
    auto found = peer.handles.find(id);
    if (found == peer.handles.end()) {
        throw AutomationError("unknown object handle " + std::to_string(id));
    }
    return found->second.object;
}

Variant FromWire(Peer& peer, const WireValue& v) {
    return VariantOfWire(v,
                         [&peer](const ObjectHandle& handle) { return ObjectOf(peer, handle.id); });
}

WireValue ToWire(State& s, Peer& peer, const Variant& v) {
    return WireOfVariant(v, [&](const ObjectRef& obj) { return HandleFor(s, peer, obj); });
}

void Release(State& s, Peer& peer, std::uint32_t id, std::uint32_t count) {
    auto found = peer.handles.find(id);
    if (found == peer.handles.end()) return;
    if (found->second.sent > count) {
        found->second.sent -= count;
        return;
    }
    ObjectRef object = std::move(found->second.object);
    peer.ids.erase(object.get());
    peer.handles.erase(found);
    --s.handleCount;
    InHost(s, [&] { object.reset(); });
}

Message ErrorReply(std::uint32_t requestId, std::string text) {
    Message m;
    m.type = MessageType::Error;
    m.requestId = requestId;
    m.text = std::move(text);
    return m;
}

// Runs one request in the host. Errors of the host become error replies.
Message Dispatch(State& s, Peer& peer, const Message& request) {
    Message reply;
    reply.type = MessageType::Reply;
    reply.requestId = request.requestId;
    try {
        Variant result;
        switch (request.type) {
            case MessageType::Hello:
                if (request.text != kHelloMagic || request.count != kProtocolVersion) {
                    peer.closing = true;
                    return ErrorReply(request.requestId, "unsupported protocol");
                }
                result = InHost(s, [&] { return s.factory(peer.info); });
                break;
            case MessageType::Call: {
                ObjectRef target = ObjectOf(peer, request.handle);
                Args args;
                args.reserve(request.values.size());
                for (const WireValue& v : request.values) args.push_back(FromWire(peer, v));
                result = InHost(s, [&] {
                    if (request.byName)
                        return target->InvokeByName(request.text, request.kind, args);
                    return target->Invoke(request.dispid, request.kind, args);
                });
                break;
            }
            case MessageType::Implements: {
                ObjectRef target = ObjectOf(peer, request.handle);
                result = InHost(s, [&] { return target->Implements(request.text); });
                break;
            }
            case MessageType::Release:
            case MessageType::Reply:
            case MessageType::Error:
                break;
        }
        reply.values.push_back(ToWire(s, peer, result));
    } catch (const AutomationError& e) {
        return ErrorReply(request.requestId, e.Description());
    } catch (const std::exception& e) {
        return ErrorReply(request.requestId, e.what());
    } catch (...) {
        return ErrorReply(request.requestId, "unknown error in the automation host");
    }
    return reply;
}

// Runs a request unless an earlier call of the same batch failed; a call the client waits for
// ends the batch.
Message RunInBatch(State& s, Peer& peer, const Message& request) {
    Message reply = peer.batchFailed ? ErrorReply(request.requestId, peer.batchError)
                                     : Dispatch(s, peer, request);
    if (!request.noWait) {
        peer.batchFailed = false;
        peer.batchError.clear();
    } else if (reply.type == MessageType::Error && !peer.batchFailed) {
        peer.batchFailed = true;
        peer.batchError = reply.text;
    }
    return reply;
}

void Answer(State& s, Peer& peer, const Message& reply) {
    std::size_t start = peer.out.size();
    EncodeFrame(reply, peer.out);
    if (peer.out.size() - start - kLengthSize <= s.options.maxFrameSize) return;
    peer.out.resize(start);
    EncodeFrame(ErrorReply(reply.requestId, "the result is too large to send"), peer.out);
}

// Refuses what the connection sent and closes it once the refusal is out.
void Refuse(Peer& peer, const std::string& why) {
    EncodeFrame(ErrorReply(0, why), peer.out);
    peer.closing = true;
}

// Handles the complete frames received; stops while replies are waiting to be sent, so that
// a client that does not read cannot make the server buffer without bound.
bool ProcessFrames(State& s, Peer& peer) {
    bool handled = false;
    while (!peer.closing && peer.out.size() < s.options.maxFrameSize) {
        Message request;
        std::string_view pending(peer.in);
        pending.remove_prefix(peer.inPos);
        FrameResult result = DecodeFrame(pending, request, s.options.maxFrameSize);
        if (result.status == FrameStatus::Incomplete) break;
        if (!result) {
            Refuse(peer, std::string("malformed request at byte ") + std::to_string(result.offset) +
                             ": " + result.Description());
            break;
        }
        peer.inPos += result.size;
        handled = true;
        switch (request.type) {
            case MessageType::Release:
                Release(s, peer, request.handle, request.count);
                continue;
            case MessageType::Reply:
            case MessageType::Error:
                Refuse(peer, "a client sent a reply");
                continue;
            case MessageType::Hello:
            case MessageType::Call:
            case MessageType::Implements:
                Answer(s, peer, RunInBatch(s, peer, request));
                continue;
        }
    }
    if (peer.inPos == peer.in.size()) {
        peer.in.clear();
        peer.inPos = 0;
    }
    return handled;
}

void ReadAvailable(State& s, Peer& peer) {
    char buf[65536];
    // Compact before reading so that the buffer holds at most one frame and one read.
    if (peer.inPos > 0) {
        peer.in.erase(0, peer.inPos);
        peer.inPos = 0;
    }
    while (peer.in.size() <= s.options.maxFrameSize + kLengthSize) {
        ssize_t n = recv(peer.fd, buf, sizeof buf, MSG_DONTWAIT);
        if (n > 0) {
            peer.in.append(buf, static_cast<std::size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        peer.dead = true;  // closed by the client, or failed
        return;
    }
}

void Flush(Peer& peer) {
    while (!peer.out.empty()) {
        ssize_t n = send(peer.fd, peer.out.data(), peer.out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            peer.out.erase(0, static_cast<std::size_t>(n));
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
        peer.dead = true;
        return;
    }
    if (peer.closing) peer.dead = true;
}

// Serves one connection after poll reported it; true when a request was handled.
bool Service(State& s, Peer& peer, short revents) {
    if (revents & (POLLIN | POLLHUP | POLLERR)) ReadAvailable(s, peer);
    bool handled = false;
    for (;;) {
        bool more = ProcessFrames(s, peer);
        handled = handled || more;
        Flush(peer);
        if (!more || peer.dead || !peer.out.empty()) break;
    }
    if (peer.dead) peer.out.clear();
    return handled;
}

void ClosePeer(State& s, Peer& peer) {
    close(peer.fd);
    s.handleCount -= peer.handles.size();
    peer.ids.clear();
    InHost(s, [&] { peer.handles.clear(); });
}

void AcceptAll(State& s) {
    for (;;) {
        std::string peerName;
        int fd = s.listener.Accept(peerName);
        if (fd < 0) return;
        auto peer = std::make_unique<Peer>();
        peer->fd = fd;
        peer->info.id = s.nextConnectionId++;
        peer->info.peer = std::move(peerName);
        s.peers.push_back(std::move(peer));
    }
}

// Waits for something to do. After a request, polls without sleeping for a while first:
// the next request of a busy client usually follows within microseconds.
int WaitForEvents(State& s, std::vector<pollfd>& fds, bool spin) {
    if (spin) {
        auto spinEnd = Clock::now() + s.options.spin;
        do {
            int n = poll(fds.data(), fds.size(), 0);
            if (n != 0) return n;
            detail::CpuRelax();
        } while (Clock::now() < spinEnd);
    }
    return poll(fds.data(), fds.size(), -1);
}

}  // namespace

Server::Server(RootFactory factory, ServerOptions options) : state_(std::make_unique<State>()) {
    state_->factory = std::move(factory);
    state_->options = options;
    state_->wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (state_->wakeFd < 0) throw AutomationError("cannot create an event: " + detail::ErrnoText());
}

Server::~Server() {
    Stop();
    Join();
    for (auto& peer : state_->peers) ClosePeer(*state_, *peer);
    state_->peers.clear();
    close(state_->wakeFd);
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
        fds.clear();
        fds.push_back({s.wakeFd, POLLIN, 0});
        fds.push_back({s.listener.fd, POLLIN, 0});
        for (auto& peer : s.peers) {
            short events = peer->out.empty() ? POLLIN : POLLOUT;
            fds.push_back({peer->fd, events, 0});
        }
        int n = WaitForEvents(s, fds, spin);
        spin = false;
        if (n < 0) continue;  // EINTR: look at the stop flag again
        if (s.stopping.load()) break;
        if (fds[1].revents & POLLIN) AcceptAll(s);
        // Peers accepted just now are beyond the end of fds and wait for the next round.
        for (std::size_t i = 2; i < fds.size(); ++i) {
            Peer& peer = *s.peers[i - 2];
            if (fds[i].revents == 0) continue;
            if (Service(s, peer, fds[i].revents)) spin = true;
        }
        for (auto it = s.peers.begin(); it != s.peers.end();) {
            if (!(*it)->dead) {
                ++it;
                continue;
            }
            ClosePeer(s, **it);
            it = s.peers.erase(it);
        }
    }
    for (auto& peer : s.peers) ClosePeer(s, *peer);
    s.peers.clear();
}

}  // namespace automation::rpc
