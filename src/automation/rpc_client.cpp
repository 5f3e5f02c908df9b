// The client side: one connection per Connect, one proxy per remote object.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <deque>
#include <unordered_map>
#include <utility>

#include "automation/rpc.h"
#include "automation/rpc_ahead.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"

namespace automation::rpc {
namespace {

using detail::Clock;

// Kinds of object a server may introduce on one connection.
constexpr std::uint32_t kMaxKinds = 4096;

// Replies left unread at most; beyond it the client reads them before sending more, so that
// neither side's buffers grow without bound.
constexpr std::size_t kMaxAhead = 4096;

class Proxy;

// Interface identifiers of a kind of object, as its server introduced them.
using KindIids = std::shared_ptr<const std::vector<std::string>>;

using detail::SyncOthers;

class Connection : public std::enable_shared_from_this<Connection>, public detail::SentAhead {
  public:
    Connection(int fd, const ClientOptions& options) : fd_(fd), options_(options) {}
    ~Connection();

    ObjectRef Hello();
    Variant Call(const ObjectRef& target, std::uint32_t handle, CallKind kind, std::int32_t dispid,
                 std::string_view name, bool byName, const Args& args, CallUse use);
    ObjectRef CallAhead(std::uint32_t handle, CallKind kind, std::int32_t dispid,
                        std::string_view name, bool byName, const Args& args, std::string_view iid);
    bool ReadsAhead() const { return options_.readAhead; }
    void SendLoopAhead(std::uint32_t handle, const std::vector<LoopCall>& calls, int rounds);
    void SendAnnounced() override;
    void ReceiveAnnounced() override;
    void ForgetKept() override;
    bool Implements(std::uint32_t handle, std::string_view iid);
    // Reads the replies of every call sent ahead and raises the first error among them.
    void Sync();
    void SyncAhead() override {
        std::lock_guard lock(call_);
        if (ahead_.empty() && outbox_.empty() && !aheadFailed_) return;
        Sync();
    }
    // The proxy `who` of `handle` is gone, having received the handle `count` times.
    void Release(std::uint32_t handle, std::uint32_t count, const Proxy* who);

  private:
    Message CallMessage(std::uint32_t handle, CallKind kind, std::int32_t dispid,
                        std::string_view name, bool byName, const Args& args) const;
    Variant KeptRead(const ObjectRef& target, Message& call, const Args& args);
    Variant AnnouncedRead(const ObjectRef& target, Message& call, const Args& args);
    void SendAnnouncedLocked();
    bool TakeLoopReply(const Message& call, Message& reply);
    void DropLoopAheadLocked();
    void ReceiveAnnouncedLocked();
    std::uint32_t NextRequestId();
    Variant Roundtrip(Message& request, bool wait = true);
    void CollectAhead();
    void Send(const std::string& frame);
    Message Receive(std::uint32_t requestId);
    void ReadMore(Clock::time_point deadline);
    void AppendReleases(std::string& frame);
    [[noreturn]] void Break(std::string reason);
    [[noreturn]] void BreakClosed();
    WireValue ToWire(const Variant& v) const;
    Variant FromWire(const WireValue& v);
    ObjectRef ProxyFor(std::uint32_t handle, KindIids iids);
    KindIids KindOf(const ObjectHandle& handle);
    void NoteSentAhead();

    int fd_;
    ClientOptions options_;
    // Held for a whole round trip, so that calls from several threads do not interleave.
    // Recursive because a proxy dropped during a call flushes its release on the same thread.
    std::recursive_mutex call_;
    std::string in_;
    std::uint32_t nextId_ = 1;
    std::uint32_t nextResultHandle_ = 1;  // numbers the handles we name, kClientHandleBit added
    std::string broken_;                  // why the connection is unusable; "" while it works
    // Calls sent without waiting: frames not yet written, ids whose replies are unread, and
    // the first error among the replies read so far, raised at the next call that waits.
    std::string outbox_;
    std::vector<std::uint32_t> ahead_;
    bool aheadFailed_ = false;
    std::string aheadError_;
    bool listedAhead_ = false;  // by ListSentAhead
    // Replies kept while a ReadScope is open, by the request that asked for them (its frame
    // without the request id). An entry holds the object called and the arguments, so that
    // their handles stay the same objects for as long as the entry is kept.
    struct Kept {
        ObjectRef target;
        Args args;
        bool answered = false;  // false: announced, reply not read yet
        bool failed = false;
        std::string error;
        Variant value;
    };
    std::unordered_map<std::string, Kept> kept_;
    // Announced reads: frames not yet sent, and the requests whose replies are unread (all of
    // them unsent while `announced_` holds anything).
    std::string announced_;
    std::vector<std::pair<std::uint32_t, std::string>> pending_;
    bool ownError_ = false;  // the error Roundtrip raised last was its own request's reply
    // A loop's calls sent ahead, in order, their replies unread.
    struct LoopAhead {
        std::uint32_t id;
        std::string key;
        bool reads;
    };
    std::deque<LoopAhead> loopAhead_;
    // The kinds the server introduced, by number from 1.
    std::vector<KindIids> kinds_;

    struct Entry {
        const Proxy* proxy;
        std::weak_ptr<Proxy> ref;
    };
    std::mutex table_;  // guards proxies_ and releases_: proxies die on any thread
    std::unordered_map<std::uint32_t, Entry> proxies_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> releases_;
};

class Proxy : public Object, public std::enable_shared_from_this<Proxy> {
  public:
    Proxy(std::shared_ptr<Connection> connection, std::uint32_t handle, KindIids iids)
        : connection_(std::move(connection)), handle_(handle), iids_(std::move(iids)) {}
    ~Proxy() override { connection_->Release(handle_, received_.load(), this); }

    const std::shared_ptr<Connection>& Link() const { return connection_; }

    Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) override {
        return InvokeAs(dispid, kind, args, CallUse::Result);
    }
    Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) override {
        return InvokeByNameAs(name, kind, args, CallUse::Result);
    }
    Variant InvokeAs(std::int32_t dispid, CallKind kind, const Args& args, CallUse use) override {
        return connection_->Call(shared_from_this(), handle_, kind, dispid, {}, /*byName=*/false,
                                 args, use);
    }
    Variant InvokeByNameAs(std::string_view name, CallKind kind, const Args& args,
                           CallUse use) override {
        return connection_->Call(shared_from_this(), handle_, kind, 0, name, /*byName=*/true, args,
                                 use);
    }
    ObjectRef InvokeForObject(std::int32_t dispid, std::string_view name, bool byName,
                              CallKind kind, const Args& args, std::string_view iid) override {
        ObjectRef ahead = connection_->CallAhead(handle_, kind, dispid, name, byName, args, iid);
        if (ahead) return ahead;
        return Object::InvokeForObject(dispid, name, byName, kind, args, iid);
    }
    bool ReadsAhead() const override { return connection_->ReadsAhead(); }
    void SendLoopAhead(const std::vector<LoopCall>& calls, int rounds) override {
        connection_->SendLoopAhead(handle_, calls, rounds);
    }
    // Answered here when the server introduced the object's kind with it; otherwise asked
    // once per interface and kept: an object does not change its kind, and casts are frequent.
    bool Implements(std::string_view iid) const override {
        if (iids_) {
            for (const std::string& own : *iids_) {
                if (SameIid(own, iid)) return true;
            }
            return false;
        }
        {
            std::lock_guard lock(cacheMutex_);
            for (const auto& [known, answer] : implements_) {
                if (SameIid(known, iid)) return answer;
            }
        }
        bool answer = connection_->Implements(handle_, iid);
        std::lock_guard lock(cacheMutex_);
        implements_.emplace_back(std::string(iid), answer);
        return answer;
    }

    // The server checked that the object offers `iid` before it kept it for us.
    void KnowImplements(std::string_view iid) {
        if (iid.empty()) return;
        std::lock_guard lock(cacheMutex_);
        implements_.emplace_back(std::string(iid), true);
    }

    const Connection* Owner() const { return connection_.get(); }
    std::uint32_t Handle() const { return handle_; }
    void CountReceived() { received_.fetch_add(1); }

  private:
    std::shared_ptr<Connection> connection_;
    std::uint32_t handle_;
    KindIids iids_;
    std::atomic<std::uint32_t> received_{1};
    mutable std::mutex cacheMutex_;
    mutable std::vector<std::pair<std::string, bool>> implements_;
};

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

// The request as a key of what is kept: its frame without a request id.
static std::string KeyOf(const Message& call) {
    std::string key;
    if (call.requestId == 0 && !call.noWait) {
        EncodeFrame(call, key);  // not numbered yet: the frame is the key
        return key;
    }
    Message unnumbered = call;
    unnumbered.requestId = 0;
    unnumbered.noWait = false;
    EncodeFrame(unnumbered, key);
    return key;
}

static Variant Replay(const std::string& error, bool failed, const Variant& value) {
    if (failed) throw AutomationError(error);
    return value;
}

Variant Connection::KeptRead(const ObjectRef& target, Message& call, const Args& args) {
    std::lock_guard lock(call_);
    if (!broken_.empty()) throw AutomationError(broken_);
    std::string key = KeyOf(call);
    SendAnnouncedLocked();
    ReceiveAnnouncedLocked();
    auto it = kept_.find(key);
    if (it != kept_.end() && it->second.answered) {
        return Replay(it->second.error, it->second.failed, it->second.value);
    }
    Kept kept{target, args, /*answered=*/true, false, {}, {}};
    try {
        kept.value = Roundtrip(call);
    } catch (const AutomationError& error) {
        if (!ownError_) throw;
        kept.failed = true;
        kept.error = error.Description();
        kept_[key] = std::move(kept);
        detail::ListReading(weak_from_this());
        throw;
    }
    Variant value = kept.value;
    kept_[key] = std::move(kept);
    detail::ListReading(weak_from_this());
    return value;
}

// A read of AnnounceReads's walk: answered from what is kept, else announced and read as
// nothing this round (an empty value: the walk goes on, and learns the value next round).
Variant Connection::AnnouncedRead(const ObjectRef& target, Message& call, const Args& args) {
    std::lock_guard lock(call_);
    std::string key = KeyOf(call);
    auto it = kept_.find(key);
    if (it != kept_.end() && it->second.answered && broken_.empty()) {
        return Replay(it->second.error, it->second.failed, it->second.value);
    }
    // Replies of calls sent ahead come first and may hold an error that the next call raises:
    // a read announced now would not be the one to raise it.
    bool canAnnounce = broken_.empty() && outbox_.empty() && ahead_.empty() && !aheadFailed_;
    if (it != kept_.end() || !canAnnounce) {
        detail::CountUnanswered();
        return {};
    }
    call.requestId = NextRequestId();
    call.noWait = false;
    std::size_t start = announced_.size();
    EncodeFrame(call, announced_);
    if (announced_.size() - start - kLengthSize > options_.maxFrameSize) {
        announced_.resize(start);
        return {};
    }
    detail::CountCall();
    detail::CountAnnounced();
    kept_.emplace(key, Kept{target, args, /*answered=*/false, false, {}, {}});
    pending_.emplace_back(call.requestId, std::move(key));
    detail::ListReading(weak_from_this());
    if (pending_.size() >= kMaxAhead) {
        try {
            SendAnnouncedLocked();
            ReceiveAnnouncedLocked();
        } catch (const AutomationError&) {
        }
    }
    return {};
}

void Connection::SendLoopAhead(std::uint32_t handle, const std::vector<LoopCall>& calls,
                               int rounds) {
    if (!options_.readAhead || calls.empty()) return;
    std::vector<std::pair<Message, std::string>> encoded;
    try {
        for (const LoopCall& loopCall : calls) {
            Message call =
                CallMessage(handle, CallKind::Method, 0, loopCall.name, true, loopCall.args);
            std::string key = KeyOf(call);
            encoded.emplace_back(std::move(call), std::move(key));
        }
    } catch (const AutomationError&) {
        return;
    }
    std::lock_guard lock(call_);
    // Only on a quiet connection: the replies must be the next ones to arrive.
    if (!broken_.empty() || !outbox_.empty() || !ahead_.empty() || aheadFailed_ ||
        !announced_.empty() || !pending_.empty() || !loopAhead_.empty()) {
        return;
    }
    std::string frame;
    AppendReleases(frame);
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t k = 0; k < encoded.size(); ++k) {
            Message& call = encoded[k].first;
            call.requestId = NextRequestId();
            call.noWait = false;
            EncodeFrame(call, frame);
            loopAhead_.push_back({call.requestId, encoded[k].second, calls[k].reads});
            detail::CountCall();
        }
    }
    detail::CountFetch();
    try {
        Send(frame);
    } catch (const AutomationError&) {
        // Broken: every call raises that itself.
    }
}

// The reply to the loop's call `key`: the first call sent ahead that is the same, the reading
// calls before it passed over. False when there is none to take (nothing is left ahead then).
bool Connection::TakeLoopReply(const Message& call, Message& reply) {
    std::lock_guard lock(call_);
    if (loopAhead_.empty() || !broken_.empty()) return false;
    std::string key = KeyOf(call);
    std::size_t match = 0;
    while (match < loopAhead_.size() && loopAhead_[match].key != key) {
        if (!loopAhead_[match].reads) {
            DropLoopAheadLocked();
            return false;
        }
        ++match;
    }
    if (match == loopAhead_.size()) {
        DropLoopAheadLocked();
        return false;
    }
    for (std::size_t k = 0; k <= match; ++k) {
        reply = Receive(loopAhead_.front().id);
        loopAhead_.pop_front();
    }
    return true;
}

// Reads and drops the replies of the loop's calls still ahead: the loop has ended.
void Connection::DropLoopAheadLocked() {
    while (!loopAhead_.empty()) {
        std::uint32_t id = loopAhead_.front().id;
        loopAhead_.pop_front();
        Message reply = Receive(id);
        // A dropped object result still counts as received (see CollectAhead).
        if (reply.type == MessageType::Reply && !reply.values.empty())
            FromWire(reply.values.front());
    }
}

void Connection::SendAnnouncedLocked() {
    if (announced_.empty()) return;
    std::string frame;
    AppendReleases(frame);
    frame += announced_;
    announced_.clear();
    Send(frame);
}

// Every reply read is kept, an error as much as a result: the read raises it when it is made.
void Connection::ReceiveAnnouncedLocked() {
    DropLoopAheadLocked();
    if (pending_.empty() || !announced_.empty()) return;
    detail::CountFetch();
    auto pending = std::move(pending_);
    pending_.clear();
    for (const auto& [id, key] : pending) {
        Message reply = Receive(id);
        auto it = kept_.find(key);
        if (it == kept_.end()) continue;
        Kept& kept = it->second;
        kept.answered = true;
        if (reply.type == MessageType::Error) {
            kept.failed = true;
            kept.error = std::move(reply.text);
        } else if (!reply.values.empty()) {
            kept.value = FromWire(reply.values.front());
        }
    }
}

void Connection::SendAnnounced() {
    std::lock_guard lock(call_);
    if (!broken_.empty()) return;
    try {
        SendAnnouncedLocked();
    } catch (const AutomationError&) {
        // The connection is broken; each read raises that itself.
    }
}

void Connection::ReceiveAnnounced() {
    std::lock_guard lock(call_);
    if (!broken_.empty()) return;
    try {
        ReceiveAnnouncedLocked();
    } catch (const AutomationError&) {
    }
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

}  // namespace

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
