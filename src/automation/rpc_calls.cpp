// The running of requests: the handle table of a connection, calls into the host, and calls
// sent ahead.
#include "automation/rpc_server_internal.h"

namespace automation::rpc {

namespace detail {
namespace {

// Kinds told per connection at most; objects beyond leave the client to ask.
constexpr std::uint32_t kMaxKinds = 4096;
// Objects a connection may hold before it logs in: its root and a few more.
constexpr std::size_t kLoginHandles = 16;

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
    if (BeforeLogin(s, peer) && peer.handles.size() >= kLoginHandles) {
        throw AutomationError("too many objects before login");
    }
    if (peer.nextHandle == kClientHandleBit) throw AutomationError("too many objects");
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
    auto named = peer.ids.find(object.get());
    if (named != peer.ids.end() && named->second == id) peer.ids.erase(named);
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

// Keeps the object result of a call under the handle the client named for it. The client
// uses it as an object: anything else fails the way using it as one would have failed there.
void Bind(State& s, Peer& peer, const Message& request, const Variant& result) {
    std::uint32_t handle = request.resultHandle;
    if (!result.IsEmpty() && !result.IsObject())
        throw AutomationError(std::string(kErrTypeMismatch));
    if (result.IsEmpty() || !result.AsObject())
        throw AutomationError(std::string(kErrObjectNotSet));
    const ObjectRef& object = result.AsObject();
    if (!request.resultIid.empty() &&
        !InHost(s, [&] { return object->Implements(request.resultIid); })) {
        throw AutomationError(std::string(kErrNoInterface));
    }
    if (peer.handles.count(handle) != 0) {
        throw AutomationError("object handle " + std::to_string(handle) + " is in use");
    }
    if (BeforeLogin(s, peer) && peer.handles.size() >= kLoginHandles) {
        throw AutomationError("too many objects before login");
    }
    peer.handles[handle] = HandleEntry{object, 1};
    peer.ids.emplace(object.get(), handle);
    ++s.handleCount;
}

Message ResultReply(State& s, Peer& peer, const Message& request, const Variant& result) {
    Message reply;
    reply.type = MessageType::Reply;
    reply.requestId = request.requestId;
    try {
        if (request.resultHandle != 0) {
            Bind(s, peer, request, result);
        } else {
            reply.values.push_back(ToWire(s, peer, result));
        }
    } catch (const AutomationError& e) {
        return ErrorReply(request.requestId, e.Description());
    }
    return reply;
}

// Runs one request in the host; `deferred` receives the work of a call that defers its
// answer. Errors of the host become error replies.
Message Dispatch(State& s, Peer& peer, const Message& request, std::function<Variant()>& deferred) {
    CallContext context{&deferred, &peer.authenticated};
    CallContext* outer = tCall;
    tCall = &context;
    struct Restore {
        CallContext* outer;
        ~Restore() { tCall = outer; }
    } restore{outer};
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
        return ResultReply(s, peer, request, result);
    } catch (const AutomationError& e) {
        deferred = nullptr;
        return ErrorReply(request.requestId, e.Description());
    } catch (const std::exception& e) {
        deferred = nullptr;
        return ErrorReply(request.requestId, e.what());
    } catch (...) {
        deferred = nullptr;
        return ErrorReply(request.requestId, "unknown error in the automation host");
    }
}

void Answer(State& s, Peer& peer, const Message& reply) {
    if (peer.gone) return;  // nobody reads it
    std::size_t start = peer.out.size();
    EncodeFrame(reply, peer.out);
    if (peer.out.size() - start - kLengthSize <= s.options.maxFrameSize) return;
    peer.out.resize(start);
    EncodeFrame(ErrorReply(reply.requestId, "the result is too large to send"), peer.out);
}

// Sends a reply and keeps the batch of calls sent ahead: a call the client waits for ends it,
// a failed call it did not wait for fails the rest of it.
void Finish(State& s, Peer& peer, bool noWait, const Message& reply) {
    if (!noWait) {
        peer.batchFailed = false;
        peer.batchError.clear();
    } else if (reply.type == MessageType::Error && !peer.batchFailed) {
        peer.batchFailed = true;
        peer.batchError = reply.text;
    }
    Answer(s, peer, reply);
}

void Queue(State& s, Peer& peer, const Message& request, std::function<Variant()> work) {
    auto job = std::make_shared<Job>();
    job->peer = &peer;
    job->requestId = request.requestId;
    job->resultHandle = request.resultHandle;
    job->resultIid = request.resultIid;
    job->noWait = request.noWait;
    job->work = std::move(work);
    peer.pending = job;
    StartWorkers(s);
    std::lock_guard lock(s.jobsMutex);
    s.queued.push_back(std::move(job));
    s.jobsReady.notify_one();
}

// Runs a request unless an earlier call of the same batch failed.
void RunInBatch(State& s, Peer& peer, const Message& request) {
    if (peer.batchFailed) {
        Finish(s, peer, request.noWait, ErrorReply(request.requestId, peer.batchError));
        return;
    }
    std::function<Variant()> deferred;
    Message reply = Dispatch(s, peer, request, deferred);
    if (deferred) {
        Queue(s, peer, request, std::move(deferred));
        return;
    }
    Finish(s, peer, request.noWait, reply);
}

// Refuses what the connection sent and closes it once the refusal is out.
void Refuse(Peer& peer, const std::string& why) {
    EncodeFrame(ErrorReply(0, why), peer.out);
    peer.closing = true;
}

std::string TooLargeText(const State& s, const Peer& peer, const FrameResult& result) {
    if (!BeforeLogin(s, peer) || result.status != FrameStatus::TooLarge) {
        return std::string("malformed request at byte ") + std::to_string(result.offset) + ": " +
               result.Description();
    }
    return "a request before login may hold at most " + std::to_string(s.options.loginLimit) +
           " bytes";
}

bool CanRun(const State& s, const Peer& peer) {
    if (peer.closing || peer.pending) return false;
    if (peer.gone && BeforeLogin(s, peer)) return false;  // a stranger's requests die with it
    // A client that does not read cannot make the server buffer without bound.
    return peer.out.size() < FrameLimit(s, peer);
}

}  // namespace

bool BeforeLogin(const State& s, const Peer& peer) {
    return s.options.loginLimit != 0 && !peer.authenticated;
}

std::size_t FrameLimit(const State& s, const Peer& peer) {
    return BeforeLogin(s, peer) ? s.options.loginLimit : s.options.maxFrameSize;
}

bool HasRunnableFrames(const State& s, const Peer& peer) {
    if (!CanRun(s, peer)) return false;
    std::size_t have = peer.in.size() - peer.inPos;
    if (have < kLengthSize) return false;
    std::size_t length = 0;
    for (std::size_t i = kLengthSize; i-- > 0;)
        length = (length << 8) | static_cast<unsigned char>(peer.in[peer.inPos + i]);
    // A length beyond the limit is there to be refused.
    return length > FrameLimit(s, peer) || have - kLengthSize >= length;
}

bool ProcessFrames(State& s, Peer& peer) {
    bool handled = false;
    for (int turn = 0; turn < kTurnRequests && CanRun(s, peer); ++turn) {
        Message request;
        std::string_view pending(peer.in);
        pending.remove_prefix(peer.inPos);
        FrameResult result = DecodeFrame(pending, request, FrameLimit(s, peer));
        if (result.status == FrameStatus::Incomplete) break;
        if (!result) {
            Refuse(peer, TooLargeText(s, peer, result));
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
                // A call waited for by a client that has gone changes nothing it will see.
                if (peer.gone && !request.noWait) continue;
                RunInBatch(s, peer, request);
                continue;
        }
    }
    if (peer.inPos == peer.in.size()) {
        peer.in.clear();
        peer.inPos = 0;
    }
    return handled;
}

void AnswerJob(State& s, Job& job) {
    Peer* peer = job.peer;
    if (peer == nullptr) {
        InHost(s, [&] { job.result = Variant(); });
        return;
    }
    peer->pending = nullptr;
    if (job.authenticated) peer->authenticated = true;
    Message request;
    request.requestId = job.requestId;
    request.resultHandle = job.resultHandle;
    request.resultIid = job.resultIid;
    Message reply = job.failed ? ErrorReply(job.requestId, job.error)
                               : ResultReply(s, *peer, request, job.result);
    InHost(s, [&] { job.result = Variant(); });
    Finish(s, *peer, job.noWait, reply);
}

void ReleaseAll(State& s, Peer& peer) {
    if (peer.pending) {
        peer.pending->cancelled = true;
        peer.pending->peer = nullptr;
        peer.pending = nullptr;
    }
    s.handleCount -= peer.handles.size();
    peer.ids.clear();
    InHost(s, [&] { peer.handles.clear(); });
}

}  // namespace detail

}  // namespace automation::rpc
