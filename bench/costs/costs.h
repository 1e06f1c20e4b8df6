// The groups of measurements. Each registers its benchmarks, "WHAT/measured" and "WHAT/floor".
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

namespace bench {

// In `folder` they make the appliances that they work on.
void register_lists(const std::string& folder);
void register_actions(const std::string& folder);
void register_parts(const std::string& folder);

// Shows how many bytes a call has left allocated, of those that all calls have left.
inline void count_held(benchmark::State& state, std::int64_t bytes) {
  state.counters["held"] = static_cast<double>(bytes) / static_cast<double>(state.iterations());
}

}  // namespace bench
