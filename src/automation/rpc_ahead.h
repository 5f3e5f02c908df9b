// What the client's connections share about calls sent ahead: the open Pipeline scopes, the
// connections that have sent calls ahead, and the request counters.
#pragma once

#include <memory>

#include "automation/automation.h"
#include "automation/rpc_frame.h"

namespace automation::rpc::detail {

// A connection as the list of connections with calls sent ahead sees it.
class SentAhead {
  public:
    virtual ~SentAhead() = default;
    // Waits for the replies of the calls sent ahead and raises the first error among them;
    // nothing when none were sent, even on a broken connection.
    virtual void SyncAhead() = 0;
    // Announced reads: sends those not yet sent; reads their replies into what is kept.
    virtual void SendAnnounced() {}
    virtual void ReceiveAnnounced() {}
    // Forgets every kept reply and every announced read not yet sent.
    virtual void ForgetKept() {}
};

// True while a Pipeline scope is open.
bool PipelineOpen();

// Lists a connection that sends calls ahead; once is enough.
void ListSentAhead(std::weak_ptr<SentAhead> connection);

// Lists a connection that keeps replies or has announced reads; once per ReadScope is enough.
void ListReading(std::weak_ptr<SentAhead> connection);
// True on the thread running AnnounceReads's walk.
bool Announcing();
// Counts a read announced.
void CountAnnounced();
// A read of a walk that found nothing kept and could not be announced (announced already, or
// the connection is busy): it read as nothing.
void CountUnanswered();

// Counts the round trip that fetches a connection's announced reads.
void CountFetch();
// Counts the round trip that waits for the replies of calls sent ahead.
void CountSync();

// Waits for the calls sent ahead on every listed connection but `except` (none: on every one).
// Only one connection has calls ahead at a time (a call that may change something waits for
// the others first), so the first error found is the earliest.
void SyncOthers(const SentAhead* except);

// Counts a request sent, and a request waited for by what it asked.
void CountCall();
void CountWait(const Message& request);

}  // namespace automation::rpc::detail
