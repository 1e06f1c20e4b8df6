// The stored next runs of all tasks together. All functions work on the calling thread's connection
// and throw StoreFailure.
#pragma once

#include <cstdint>
#include <optional>

namespace kavo {

// The earliest next run of all tasks, in UTC seconds; none when no task is ever due.
std::optional<std::int64_t> earliest_due();

// Works out anew, in one transaction, the next runs after `now` of up to `limit` enabled tasks with
// ids above `after_id`, but for those that are due by `now`, which are still to be claimed. The id
// of the last task looked at; none when there was none.
std::optional<int> renew_next_runs(std::int64_t now, int after_id, int limit);

}  // namespace kavo
