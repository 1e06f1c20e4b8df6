// What the scheduler remembers from one life to the next. All functions work on the calling
// thread's connection and throw StoreFailure.
#pragma once

#include <cstdint>
#include <string>

namespace kavo {

// The latest moment at which the scheduler did something; 0 when it never did.
std::int64_t latest_time();
void save_latest_time(std::int64_t moment);

// The state of the time zones with which the stored next runs were worked out; empty at first.
std::string known_zones();
void save_known_zones(const std::string& zones);

// When the history was last looked through for old runs, and whether it was left alone then; 0 when
// it never was.
struct Trim {
  std::int64_t moment = 0;
  bool postponed = false;
};
Trim last_trim();
void save_last_trim(const Trim& trim);

}  // namespace kavo
