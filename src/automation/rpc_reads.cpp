// Reads answered from what a connection keeps, reads announced ahead and fetched together,
// and the calls of a loop sent ahead (see ReadScope, AnnounceReads and SendLoopAhead).
#include "automation/rpc_client_internal.h"

namespace automation::rpc::client {

std::string KeyOf(const Message& call) {
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

}  // namespace automation::rpc::client
