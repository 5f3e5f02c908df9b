#include "automation/rpc_ahead.h"

#include <atomic>
#include <mutex>
#include <unordered_set>
#include <vector>

#include "automation/rpc.h"

namespace automation::rpc {
namespace {

std::atomic<std::uint64_t> gCalls{0};
std::atomic<std::uint64_t> gWaits{0};
std::atomic<std::uint64_t> gWaitedGets{0}, gWaitedPuts{0}, gWaitedMethods{0}, gWaitedCasts{0};
std::atomic<std::uint64_t> gWaitedSyncs{0};

// Open Pipeline scopes.
std::atomic<int> gPipelineDepth{0};

std::mutex gSentAheadMutex;
std::vector<std::weak_ptr<detail::SentAhead>> gSentAhead;

// Open ReadScopes, and the connections that kept replies or announced reads in them.
std::atomic<int> gReadScopeDepth{0};
std::mutex gReadingMutex;
std::vector<std::weak_ptr<detail::SentAhead>> gReading;

thread_local bool gAnnouncing = false;
std::atomic<std::uint64_t> gAnnounced{0};
thread_local std::uint64_t gUnanswered = 0;

// The branches of the walk under way. A branch is named by its path: its place among the
// branches its parent entered, and so on up, kept as a hash. One whose reads were all answered
// from what is kept reads the same in every later round, so later rounds pass over it,
// provided its path names the same branch then: every read of its ancestors' own bodies
// before it was answered too, so that they entered the same branches before it. (Two paths of
// one hash would only cost a branch's reads a round trip each, later.)
struct WalkFrame {
    std::uint64_t path = 0;
    std::uint32_t children = 0;  // branches entered so far
    bool stable = true;          // the path so far names the same branch in every later round
    std::uint64_t entered = 0;   // Unsettled() when the branch was entered
    std::uint64_t checked = 0;   // Unsettled() when the body's own reads were last checked
};
thread_local std::vector<WalkFrame> gFrames;
thread_local std::unordered_set<std::uint64_t> gSettled;

std::uint64_t ChildPath(std::uint64_t parent, std::uint32_t index) {
    return (parent ^ (index + 0x9e3779b97f4a7c15ull)) * 0xff51afd7ed558ccdull;
}

// Reads of this walk that read as nothing: announced now, or not answered yet.
std::uint64_t Unsettled() { return gAnnounced.load(std::memory_order_relaxed) + gUnanswered; }

std::vector<std::shared_ptr<detail::SentAhead>> ReadingConnections() {
    std::vector<std::shared_ptr<detail::SentAhead>> live;
    std::lock_guard lock(gReadingMutex);
    for (const auto& weak : gReading) {
        if (auto connection = weak.lock()) live.push_back(std::move(connection));
    }
    return live;
}

}  // namespace

namespace detail {

bool PipelineOpen() { return gPipelineDepth.load() > 0; }

void ListSentAhead(std::weak_ptr<SentAhead> connection) {
    std::lock_guard lock(gSentAheadMutex);
    std::erase_if(gSentAhead, [](const std::weak_ptr<SentAhead>& c) { return c.expired(); });
    gSentAhead.push_back(std::move(connection));
}

void SyncOthers(const SentAhead* except) {
    // Collected first: a connection's sync takes its own lock, never while holding the list's.
    std::vector<std::shared_ptr<SentAhead>> others;
    {
        std::lock_guard lock(gSentAheadMutex);
        for (const auto& weak : gSentAhead) {
            auto connection = weak.lock();
            if (connection && connection.get() != except) others.push_back(std::move(connection));
        }
    }
    for (const auto& connection : others) connection->SyncAhead();
}

void ListReading(std::weak_ptr<SentAhead> connection) {
    std::lock_guard lock(gReadingMutex);
    std::erase_if(gReading, [](const std::weak_ptr<SentAhead>& c) { return c.expired(); });
    // Listed once: a run keeps thousands of reads on the same few connections.
    for (const auto& listed : gReading) {
        if (!listed.owner_before(connection) && !connection.owner_before(listed)) return;
    }
    gReading.push_back(std::move(connection));
}

bool Announcing() { return gAnnouncing; }
void CountAnnounced() { gAnnounced.fetch_add(1, std::memory_order_relaxed); }
void CountUnanswered() { ++gUnanswered; }

void CountFetch() {
    gWaits.fetch_add(1, std::memory_order_relaxed);
    gWaitedGets.fetch_add(1, std::memory_order_relaxed);
}

void CountSync() {
    gWaits.fetch_add(1, std::memory_order_relaxed);
    gWaitedSyncs.fetch_add(1, std::memory_order_relaxed);
}

void CountCall() { gCalls.fetch_add(1, std::memory_order_relaxed); }

void CountWait(const Message& request) {
    gWaits.fetch_add(1, std::memory_order_relaxed);
    if (request.type == MessageType::Implements) {
        gWaitedCasts.fetch_add(1, std::memory_order_relaxed);
    } else if (request.type != MessageType::Call) {
        return;
    } else if (request.kind == CallKind::Get) {
        gWaitedGets.fetch_add(1, std::memory_order_relaxed);
    } else if (request.kind == CallKind::Put) {
        gWaitedPuts.fetch_add(1, std::memory_order_relaxed);
    } else {
        gWaitedMethods.fetch_add(1, std::memory_order_relaxed);
    }
}

}  // namespace detail

std::uint64_t CallCount() { return gCalls.load(std::memory_order_relaxed); }
std::uint64_t WaitCount() { return gWaits.load(std::memory_order_relaxed); }

WaitCounts WaitCountsByKind() {
    WaitCounts counts;
    counts.gets = gWaitedGets.load(std::memory_order_relaxed);
    counts.puts = gWaitedPuts.load(std::memory_order_relaxed);
    counts.methods = gWaitedMethods.load(std::memory_order_relaxed);
    counts.casts = gWaitedCasts.load(std::memory_order_relaxed);
    counts.syncs = gWaitedSyncs.load(std::memory_order_relaxed);
    return counts;
}

void SyncAll() { detail::SyncOthers(nullptr); }

Pipeline::Pipeline() { gPipelineDepth.fetch_add(1); }

Pipeline::~Pipeline() {
    gPipelineDepth.fetch_sub(1);
    try {
        SyncAll();
    } catch (const AutomationError&) {
    }
}

}  // namespace automation::rpc

namespace automation {

ReadScope::ReadScope() { rpc::gReadScopeDepth.fetch_add(1); }

ReadScope::~ReadScope() {
    if (rpc::gReadScopeDepth.fetch_sub(1) != 1) return;
    for (const auto& connection : rpc::ReadingConnections()) connection->ForgetKept();
    std::lock_guard lock(rpc::gReadingMutex);
    rpc::gReading.clear();
}

bool ReadScopeOpen() { return rpc::gReadScopeDepth.load() > 0; }

// All requests go out before any reply is awaited, so that the connections' round trips
// overlap.
static void FetchAnnounced() {
    auto connections = rpc::ReadingConnections();
    for (const auto& connection : connections) connection->SendAnnounced();
    for (const auto& connection : connections) connection->ReceiveAnnounced();
}

// Each round reaches one step further down the reads that depend on earlier ones; a run's
// walk is a few steps deep, so the bound is only a guard against a walk that never settles.
void AnnounceReads(const std::function<void()>& walk) {
    constexpr int kMaxRounds = 32;
    if (!ReadScopeOpen() || rpc::gAnnouncing) return;
    rpc::gSettled.clear();
    for (int round = 0; round < kMaxRounds; ++round) {
        std::uint64_t before = rpc::gAnnounced.load();
        rpc::gFrames.assign(1, rpc::WalkFrame{0, 0, true, rpc::Unsettled(), rpc::Unsettled()});
        rpc::gAnnouncing = true;
        try {
            walk();
        } catch (...) {
        }
        rpc::gAnnouncing = false;
        if (rpc::gAnnounced.load() == before) break;
        FetchAnnounced();
    }
    rpc::gSettled.clear();
}

bool BeginWalkBranch() {
    if (!rpc::gAnnouncing) return true;
    std::uint64_t now = rpc::Unsettled();
    rpc::WalkFrame& parent = rpc::gFrames.back();
    if (now != parent.checked) parent.stable = false;
    std::uint64_t path = rpc::ChildPath(parent.path, parent.children++);
    bool stable = parent.stable;
    if (stable && rpc::gSettled.count(path) != 0) return false;
    rpc::gFrames.push_back(rpc::WalkFrame{path, 0, stable, now, now});
    return true;
}

void EndWalkBranch() {
    if (!rpc::gAnnouncing) return;
    std::uint64_t now = rpc::Unsettled();
    rpc::WalkFrame branch = rpc::gFrames.back();
    rpc::gFrames.pop_back();
    if (branch.stable && now == branch.entered) rpc::gSettled.insert(branch.path);
    rpc::gFrames.back().checked = now;
}

}  // namespace automation
