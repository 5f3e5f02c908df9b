// The client side's connection and proxy, shared by its two halves: rpc_client.cpp (calls,
// replies, releases, syncs) and rpc_reads.cpp (reads kept, announced and sent ahead in loops).
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "automation/rpc.h"
#include "automation/rpc_ahead.h"
#include "automation/rpc_frame.h"
#include "automation/rpc_internal.h"

namespace automation::rpc::client {

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

// The request as a key of what a connection keeps: its frame without a request id.
std::string KeyOf(const Message& call);

}  // namespace automation::rpc::client
