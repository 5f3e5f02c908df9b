// Deferred work: the worker threads that run it, and its answers, held until they are due.
#include <unistd.h>

#include <algorithm>

#include "automation/rpc_server_internal.h"

namespace automation::rpc {

namespace detail {

thread_local CallContext* tCall = nullptr;

namespace {

void Worker(State& s) {
    for (;;) {
        std::shared_ptr<Job> job;
        {
            std::unique_lock lock(s.jobsMutex);
            s.jobsReady.wait(lock, [&] { return s.workersStop || !s.queued.empty(); });
            if (s.workersStop) return;
            job = std::move(s.queued.front());
            s.queued.pop_front();
        }
        if (!job->cancelled.load()) {
            CallContext context{nullptr, &job->authenticated};
            tCall = &context;
            try {
                job->result = job->work();
            } catch (const HeldError& e) {
                job->failed = true;
                job->error = e.Description();
                job->answerAt = Clock::now() + e.hold;
            } catch (const std::exception& e) {
                job->failed = true;
                job->error = e.what();
            } catch (...) {
                job->failed = true;
                job->error = "unknown error in the automation host";
            }
            tCall = nullptr;
        }
        job->work = nullptr;
        {
            std::lock_guard lock(s.jobsMutex);
            s.done.push_back(std::move(job));
        }
        std::uint64_t one = 1;
        [[maybe_unused]] ssize_t n = write(s.wakeFd, &one, sizeof one);
    }
}

}  // namespace

void CollectDoneJobs(State& s) {
    std::vector<std::shared_ptr<Job>> done;
    {
        std::lock_guard lock(s.jobsMutex);
        done.swap(s.done);
    }
    for (auto& job : done) s.held.push_back(std::move(job));
}

Clock::time_point AnswerDueJobs(State& s) {
    auto now = Clock::now();
    auto next = Clock::time_point::max();
    for (auto it = s.held.begin(); it != s.held.end();) {
        Job& job = **it;
        if (job.peer != nullptr && job.answerAt > now) {
            next = std::min(next, job.answerAt);
            ++it;
            continue;
        }
        AnswerJob(s, job);
        it = s.held.erase(it);
    }
    return next;
}

void StartWorkers(State& s) {
    if (!s.workers.empty()) return;
    std::lock_guard lock(s.jobsMutex);
    s.workersStop = false;
    unsigned count = s.options.workers == 0 ? 1 : s.options.workers;
    for (unsigned i = 0; i < count; ++i) s.workers.emplace_back([&s] { Worker(s); });
}

void StopWorkers(State& s) {
    {
        std::lock_guard lock(s.jobsMutex);
        s.workersStop = true;
        for (auto& job : s.queued) job->cancelled = true;
        s.jobsReady.notify_all();
    }
    for (std::thread& t : s.workers) t.join();
    s.workers.clear();
    CollectDoneJobs(s);
    for (auto& job : s.queued) s.held.push_back(std::move(job));
    s.queued.clear();
    for (auto& job : s.held) {
        job->peer = nullptr;
        InHost(s, [&] { job->result = Variant(); });
    }
    s.held.clear();
}

}  // namespace detail

Variant Defer(std::function<Variant()> work) {
    detail::CallContext* call = detail::tCall;
    if (call == nullptr || call->deferred == nullptr) return work();
    *call->deferred = std::move(work);
    return {};
}

void Authenticate() {
    if (detail::tCall != nullptr && detail::tCall->authenticated != nullptr)
        *detail::tCall->authenticated = true;
}

}  // namespace automation::rpc
