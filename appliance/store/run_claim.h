// Claiming runs: from the moment a claim is committed, a run is recorded and will either be started
// or say why not. All functions work on the calling thread's connection and throw StoreFailure.
#pragma once

#include <cstdint>

namespace kavo {

// A run that fell due longer ago than this, in seconds, is missed.
inline constexpr std::int64_t kMissedAfter = 90;

// Claims one due moment of each of up to `limit` tasks that are due by `now`, in the order of their
// due moments and then of their ids, and moves their next runs on; in one transaction. All missed
// moments of a task count as one. A claimed run waits in line, or has ended: missed, skipped
// because the task has an unfinished run and its runs may not overlap, or refused because its
// schedule can no longer be read. Returns the number of moments claimed. A task may be due once
// more afterwards: to be called until it returns 0.
int claim_due(std::int64_t now, int limit);

// Claims a run of a stored task by hand; its id. Refused (kRunning) when the task has an unfinished
// run and its runs may not overlap.
std::int64_t claim_by_hand(int task_id);

// Takes back a run that still waits, as if it had not been claimed. False when it no longer waits.
bool take_back(std::int64_t id);

}  // namespace kavo
