#include "automation/rpc_ahead.h"

#include <atomic>
#include <mutex>
#include <vector>

#include "automation/rpc.h"

namespace automation::rpc {
namespace {

std::atomic<std::uint64_t> gCalls{0};
std::atomic<std::uint64_t> gWaits{0};
std::atomic<std::uint64_t> gWaitedGets{0}, gWaitedPuts{0}, gWaitedMethods{0}, gWaitedCasts{0};

// Open Pipeline scopes.
std::atomic<int> gPipelineDepth{0};

std::mutex gSentAheadMutex;
std::vector<std::weak_ptr<detail::SentAhead>> gSentAhead;

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
