// The client side: one connection per Connect, one proxy per remote object.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <unordered_map>
#include <utility>

#include "automation/rpc_client_internal.h"

namespace automation::rpc::client {

Connection::~Connection() {
    // Puts still queued go out, as they would have one at a time; nobody is left to hear of
    // an error.
    if (!outbox_.empty() && broken_.empty()) {
        try {
            Send(outbox_);
        } catch (const AutomationError&) {
        }
    }
    close(fd_);
}

// The server may have said why before it closed (it refused the connection): what it sent
// is still there to read, even when our request could no longer be sent.
void Connection::BreakClosed() {
    char buf[4096];
    for (;;) {
        ssize_t n = recv(fd_, buf, sizeof buf, MSG_DONTWAIT);
        if (n <= 0) break;
        in_.append(buf, static_cast<std::size_t>(n));
    }
    for (;;) {
        Message message;
        FrameResult result = DecodeFrame(in_, message, options_.maxFrameSize);
        if (!result) break;
        in_.erase(0, result.size);
        if (message.type == MessageType::Error && message.requestId == 0) {
            Break(options_.peer + " closed the connection: " + message.text);
        }
    }
    Break(options_.peer + " closed the connection");
}

void Connection::Break(std::string reason) {
    broken_ = std::move(reason);
    // Calls sent ahead get no answer now; the error raised here is theirs.
    outbox_.clear();
    ahead_.clear();
    aheadFailed_ = false;
    announced_.clear();
    pending_.clear();
    loopAhead_.clear();
    shutdown(fd_, SHUT_RDWR);
    throw AutomationError(broken_);
}

ObjectRef Connection::ProxyFor(std::uint32_t handle, KindIids iids) {
    std::lock_guard lock(table_);
    auto it = proxies_.find(handle);
    if (it != proxies_.end()) {
        if (auto existing = it->second.ref.lock()) {
            existing->CountReceived();
            return existing;
        }
    }
    // A proxy of this handle may be dying on another thread; its release counts only what it
    // received, so the host keeps the handle alive for the new proxy.
    auto proxy = std::make_shared<Proxy>(shared_from_this(), handle, std::move(iids));
    proxies_[handle] = Entry{proxy.get(), proxy};
    return proxy;
}

WireValue Connection::ToWire(const Variant& v) const {
    return WireOfVariant(v, [this](const ObjectRef& obj) -> WireValue {
        if (!obj) return ObjectHandle{0};
        auto* proxy = dynamic_cast<const Proxy*>(obj.get());
        if (proxy == nullptr || proxy->Owner() != this) {
            throw AutomationError(
                "only objects of the same server can be passed to it as arguments");
        }
        return ObjectHandle{proxy->Handle()};
    });
}

Variant Connection::FromWire(const WireValue& v) {
    return VariantOfWire(
        v, [this](const ObjectHandle& handle) { return ProxyFor(handle.id, KindOf(handle)); });
}

// The interfaces of the handle's kind, learning them when the server introduces the kind; none
// (ask the server) for an object it did not describe.
KindIids Connection::KindOf(const ObjectHandle& handle) {
    if (handle.kind == 0 || handle.kind > kMaxKinds) return nullptr;
    if (kinds_.size() < handle.kind) kinds_.resize(handle.kind);
    KindIids& known = kinds_[handle.kind - 1];
    if (!handle.iids.empty()) known = std::make_shared<const std::vector<std::string>>(handle.iids);
    return known;
}

void Connection::NoteSentAhead() {
    if (listedAhead_) return;
    listedAhead_ = true;
    detail::ListSentAhead(weak_from_this());
}

void Connection::AppendReleases(std::string& frame) {
    std::lock_guard lock(table_);
    for (auto [handle, count] : releases_) {
        Message release;
        release.type = MessageType::Release;
        release.handle = handle;
        release.count = count;
        EncodeFrame(release, frame);
    }
    releases_.clear();
}

void Connection::Release(std::uint32_t handle, std::uint32_t count, const Proxy* who) {
    {
        std::lock_guard lock(table_);
        auto it = proxies_.find(handle);
        if (it != proxies_.end() && it->second.proxy == who) proxies_.erase(it);
        releases_.emplace_back(handle, count);
    }
    // Send now when the connection is quiet; otherwise the release goes with the next request,
    // or with the calls sent ahead when they go out.
    std::unique_lock lock(call_, std::try_to_lock);
    if (!lock.owns_lock() || !broken_.empty()) return;
    if (!outbox_.empty() || !ahead_.empty()) return;
    // Queued calls first: they may use the handles being released.
    std::string frame = std::move(outbox_);
    outbox_.clear();
    AppendReleases(frame);
    if (frame.empty()) return;
    try {
        Send(frame);
    } catch (const AutomationError&) {
        // The connection is gone, and with it every handle: nothing left to release.
    }
}

void Connection::Send(const std::string& frame) {
    auto deadline = Clock::now() + options_.timeout;
    std::size_t done = 0;
    while (done < frame.size()) {
        ssize_t n = send(fd_, frame.data() + done, frame.size() - done, MSG_NOSIGNAL);
        if (n >= 0) {
            done += static_cast<std::size_t>(n);
            continue;
        }
        if (errno == EINTR) continue;
        if (errno == ECONNRESET || errno == EPIPE) BreakClosed();
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            Break("the connection to " + options_.peer + " was lost: " + detail::ErrnoText());
        }
        pollfd p{fd_, POLLOUT, 0};
        if (poll(&p, 1, detail::MillisecondsUntil(deadline)) == 0) {
            Break(options_.peer + " did not accept a request within " +
                  detail::FormatSeconds(options_.timeout));
        }
    }
}

// Reads what has arrived. Polls without sleeping for the spin time first: a reply usually
// comes within microseconds, and a sleeping process takes far longer to wake.
void Connection::ReadMore(Clock::time_point deadline) {
    char buf[65536];
    auto spinEnd = Clock::now() + options_.spin;
    for (;;) {
        ssize_t n = recv(fd_, buf, sizeof buf, MSG_DONTWAIT);
        if (n > 0) {
            in_.append(buf, static_cast<std::size_t>(n));
            return;
        }
        if (n == 0) Break(options_.peer + " closed the connection");
        if (errno == EINTR) continue;
        if (errno == ECONNRESET || errno == EPIPE) Break(options_.peer + " closed the connection");
        if (errno != EAGAIN && errno != EWOULDBLOCK) {
            Break("the connection to " + options_.peer + " was lost: " + detail::ErrnoText());
        }
        auto now = Clock::now();
        if (now < spinEnd) {
            detail::CpuRelax();
            continue;
        }
        if (now >= deadline) {
            Break(options_.peer + " did not answer within " +
                  detail::FormatSeconds(options_.timeout));
        }
        pollfd p{fd_, POLLIN, 0};
        poll(&p, 1, detail::MillisecondsUntil(deadline));
    }
}

Message Connection::Receive(std::uint32_t requestId) {
    auto deadline = Clock::now() + options_.timeout;
    for (;;) {
        Message reply;
        FrameResult result = DecodeFrame(in_, reply, options_.maxFrameSize);
        if (result.status == FrameStatus::Incomplete) {
            ReadMore(deadline);
            continue;
        }
        if (!result) {
            Break(options_.peer + " sent a malformed reply: " + result.Description());
        }
        in_.erase(0, result.size);
        bool isAnswer = reply.type == MessageType::Reply || reply.type == MessageType::Error;
        // An error without a request id is the server refusing the connection itself.
        if (reply.type == MessageType::Error && reply.requestId == 0) {
            Break(options_.peer + " closed the connection: " + reply.text);
        }
        if (!isAnswer || reply.requestId != requestId) {
            Break(options_.peer + " sent a reply to no request of ours");
        }
        return reply;
    }
}

// Reads the replies of the calls sent ahead, in the order they were sent, keeping the first
// error.
void Connection::CollectAhead() {
    DropLoopAheadLocked();
    if (!outbox_.empty()) {
        std::string frame = std::move(outbox_);
        outbox_.clear();
        AppendReleases(frame);
        Send(frame);
    }
    for (std::uint32_t id : ahead_) {
        Message reply = Receive(id);
        if (reply.type == MessageType::Error && !aheadFailed_) {
            aheadFailed_ = true;
            aheadError_ = std::move(reply.text);
        }
        // A dropped object result still counts as received (the server holds it for us
        // until released) and may introduce a kind.
        if (reply.type == MessageType::Reply && !reply.values.empty())
            FromWire(reply.values.front());
    }
    ahead_.clear();
}

std::uint32_t Connection::NextRequestId() {
    std::uint32_t id = nextId_++;
    if (nextId_ == 0) nextId_ = 1;  // 0 marks messages that answer no request
    return id;
}

Variant Connection::Roundtrip(Message& request, bool wait) {
    std::lock_guard lock(call_);
    ownError_ = false;
    if (!broken_.empty()) throw AutomationError(broken_);
    // Announced reads were asked before this call: their replies come first.
    SendAnnouncedLocked();
    ReceiveAnnouncedLocked();
    request.requestId = NextRequestId();
    request.noWait = !wait;
    std::string frame = std::move(outbox_);
    outbox_.clear();
    AppendReleases(frame);
    std::size_t start = frame.size();
    EncodeFrame(request, frame);
    if (frame.size() - start - kLengthSize > options_.maxFrameSize) {
        outbox_ = frame.substr(0, start);
        throw AutomationError("the call is too large to send");
    }
    detail::CountCall();
    if (!wait) {
        NoteSentAhead();
        outbox_ = std::move(frame);
        ahead_.push_back(request.requestId);
        if (outbox_.size() >= 65536 || ahead_.size() >= kMaxAhead) CollectAhead();
        return {};
    }
    Send(frame);
    detail::CountWait(request);
    CollectAhead();
    Message reply = Receive(request.requestId);
    if (aheadFailed_) {
        // The server answered this call with the same error without running it.
        aheadFailed_ = false;
        throw AutomationError(std::exchange(aheadError_, {}));
    }
    if (reply.type == MessageType::Error) {
        ownError_ = true;
        throw AutomationError(reply.text);
    }
    return FromWire(reply.values.front());
}

void Connection::ForgetKept() {
    std::unordered_map<std::string, Kept> forgotten;
    {
        std::lock_guard lock(call_);
        if (!announced_.empty()) {
            // Never sent: nothing to read back.
            announced_.clear();
            pending_.clear();
        } else if (!pending_.empty() && broken_.empty()) {
            try {
                ReceiveAnnouncedLocked();
            } catch (const AutomationError&) {
            }
        }
        forgotten.swap(kept_);
    }
    // The proxies held go here, outside the lock: their releases may be sent at once.
}

void Connection::Sync() {
    std::lock_guard lock(call_);
    if (!broken_.empty()) throw AutomationError(broken_);
    if (!ahead_.empty() || !outbox_.empty()) detail::CountSync();
    CollectAhead();
    if (!aheadFailed_) return;
    aheadFailed_ = false;
    // The server refuses calls until one is waited for: wait for one that asks nothing.
    Message end;
    end.type = MessageType::Implements;
    end.requestId = nextId_++;
    if (nextId_ == 0) nextId_ = 1;
    std::string frame;
    AppendReleases(frame);
    EncodeFrame(end, frame);
    Send(frame);
    detail::CountCall();
    detail::CountWait(end);
    Receive(end.requestId);
    throw AutomationError(std::exchange(aheadError_, {}));
}

ObjectRef Connection::Hello() {
    Message hello;
    hello.type = MessageType::Hello;
    hello.text = kHelloMagic;
    hello.count = kProtocolVersion;
    Variant root;
    try {
        root = Roundtrip(hello);
    } catch (const AutomationError& error) {
        // An error reply to the greeting is the server turning this client away, in its own
        // words; a connection with a name says whose words they are. A broken connection
        // already says what happened.
        if (!broken_.empty() || options_.peer == ClientOptions{}.peer) throw;
        throw AutomationError(options_.peer + " refused the connection: " + error.Description());
    }
    if (!root.IsObject() || !root.AsObject()) {
        throw AutomationError(options_.peer + " offered no object");
    }
    return root.AsObject();
}

Message Connection::CallMessage(std::uint32_t handle, CallKind kind, std::int32_t dispid,
                                std::string_view name, bool byName, const Args& args) const {
    if (args.size() > 0xffff) throw AutomationError(std::string(kErrBadArgCount));
    Message call;
    call.type = MessageType::Call;
    call.handle = handle;
    call.kind = kind;
    call.byName = byName;
    call.dispid = dispid;
    call.text = name;
    call.values.reserve(args.size());
    for (const Variant& arg : args) call.values.push_back(ToWire(arg));
    return call;
}

Variant Connection::Call(const ObjectRef& target, std::uint32_t handle, CallKind kind,
                         std::int32_t dispid, std::string_view name, bool byName, const Args& args,
                         CallUse use) {
    Message call = CallMessage(handle, kind, dispid, name, byName, args);
    bool ahead = false;
    if (!options_.sendAhead) {
        ahead = false;
    } else if (kind == CallKind::Put) {
        ahead = options_.pipelinePuts || detail::PipelineOpen();
    } else if (use == CallUse::NoResult && kind == CallKind::Method) {
        ahead = detail::PipelineOpen();
    }
    // A call that may change something must not run while a call sent ahead elsewhere may
    // have failed. A read may: it changes nothing, and when it fails the other connection's
    // error, being earlier, is the one raised.
    bool reads = kind == CallKind::Get || use == CallUse::ReadOnly;
    // A walk's call: nothing that may change something is sent, nothing waits.
    if (detail::Announcing()) {
        if (!reads || !options_.readAhead) throw NotYetRead();
        return AnnouncedRead(target, call, args);
    }
    if (!reads) {
        // What was kept may be what this call changes.
        ForgetKept();
        SyncOthers(this);
    }
    if (!ahead) {
        Message reply;
        if (TakeLoopReply(call, reply)) {
            try {
                if (reply.type == MessageType::Error) throw AutomationError(reply.text);
                return reply.values.empty() ? Variant() : FromWire(reply.values.front());
            } catch (const AutomationError&) {
                if (reads) SyncOthers(this);
                throw;
            }
        }
    }
    try {
        if (reads && options_.readAhead && ReadScopeOpen()) return KeptRead(target, call, args);
        return Roundtrip(call, /*wait=*/!ahead);
    } catch (const AutomationError&) {
        if (reads) SyncOthers(this);
        throw;
    }
}

// Sends a call whose object result the caller only uses as an object ahead, inside a
// pipeline, with a handle of ours for the result; no object when the call goes the ordinary
// way (a walk's read, a read kept already, or no pipeline open).
ObjectRef Connection::CallAhead(std::uint32_t handle, CallKind kind, std::int32_t dispid,
                                std::string_view name, bool byName, const Args& args,
                                std::string_view iid) {
    if (!options_.sendAhead || !detail::PipelineOpen() || detail::Announcing()) return nullptr;
    Message call = CallMessage(handle, kind, dispid, name, byName, args);
    bool reads = kind == CallKind::Get;
    if (reads && options_.readAhead && ReadScopeOpen()) {
        std::lock_guard lock(call_);
        auto it = kept_.find(KeyOf(call));
        if (it != kept_.end() && it->second.answered) return nullptr;
    }
    if (!reads) {
        ForgetKept();
        SyncOthers(this);
    }
    {
        std::lock_guard lock(call_);
        call.resultHandle = kClientHandleBit | nextResultHandle_;
        nextResultHandle_ = (nextResultHandle_ + 1) & ~kClientHandleBit;
        if (nextResultHandle_ == 0) nextResultHandle_ = 1;
    }
    call.resultIid = iid;
    Roundtrip(call, /*wait=*/false);
    ObjectRef result = ProxyFor(call.resultHandle, nullptr);
    static_cast<Proxy*>(result.get())->KnowImplements(iid);
    return result;
}

bool Connection::Implements(std::uint32_t handle, std::string_view iid) {
    Message ask;
    ask.type = MessageType::Implements;
    ask.handle = handle;
    ask.text = iid;
    try {
        return Roundtrip(ask).ToBool();
    } catch (const AutomationError&) {
        SyncOthers(this);  // an error of a call sent ahead elsewhere came first
        throw;
    }
}

}  // namespace automation::rpc::client

namespace automation::rpc {

using client::Connection;
using client::Proxy;

void Sync(const ObjectRef& object) {
    auto* proxy = dynamic_cast<const Proxy*>(object.get());
    if (proxy != nullptr) proxy->Link()->Sync();
}

ObjectRef Connect(const std::string& address, const ClientOptions& options) {
    detail::Address parsed;
    std::string error;
    if (!detail::ParseAddress(address, parsed, error)) throw AutomationError(error);
    int fd = detail::ConnectSocket(parsed, options.timeout, error);
    if (fd < 0) {
        if (options.peer == ClientOptions{}.peer) {
            throw AutomationError("no automation server answers at " + address + ": " + error);
        }
        throw AutomationError(options.peer + " does not answer at " + address + ": " + error);
    }
    auto connection = std::make_shared<Connection>(fd, options);
    return connection->Hello();
}

}  // namespace automation::rpc
