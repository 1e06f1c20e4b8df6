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

// When the history was last trimmed by age; 0 when it never was.
std::int64_t last_trim();
void save_last_trim(std::int64_t moment);

}  // namespace kavo
