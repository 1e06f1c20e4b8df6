// The runs as a page shows them: filtered, page by page, and with a number that tells whether
// anything has changed since. All functions work on the calling thread's connection and throw
// StoreFailure; each reads one state of the store.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "store/run_store.h"

namespace kavo {

// How a run stands: its result once it has ended, before that one of these two.
namespace result {
inline constexpr char kWaiting[] = "waiting";
inline constexpr char kRunning[] = "running";
}  // namespace result
std::string standing(const Run& run);
bool is_standing(const std::string& name);

struct RunFilter {
  std::optional<int> task_id;
  std::optional<std::string> standing;
};

struct Runs {
  std::vector<Run> runs;      // newest first
  std::int64_t total = 0;     // how many the filter takes
  std::int64_t revision = 0;  // another number whenever a task or a run has changed
};

// Up to `limit` runs after the first `offset`.
Runs find_runs(const RunFilter& filter, int offset, int limit);

// Of each of these tasks the newest run, when it has one, and when it is due next. With the
// revision `known`, nothing but the revision when it is still the same.
struct Newest : Runs {
  std::map<int, std::int64_t> due;  // by task, UTC seconds; only of those that will be due
};
Newest newest_runs(const std::vector<int>& task_ids, std::optional<std::int64_t> known);

struct RunOutput {
  std::string bytes;
  std::size_t size = 0;  // of all that was written so far
  bool ended = false;    // no more will come
};

// Up to `limit` bytes of what a run wrote, from its `position`-th byte on.
RunOutput read_output(std::int64_t id, std::size_t position, std::size_t limit);

}  // namespace kavo
