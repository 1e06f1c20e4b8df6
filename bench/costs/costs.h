// The groups of measurements. Each registers its benchmarks, "WHAT/measured" and "WHAT/floor".
#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include "costs/allocations.h"

namespace bench {

// In `folder` they make the appliances that they work on.
void register_lists(const std::string& folder);
void register_actions(const std::string& folder);
void register_parts(const std::string& folder);

// Shows what one call of `work` allocates.
template <typename Work>
void show_allocations(benchmark::State& state, Work work) {
  const Allocations made = allocations_of(work);
  state.counters["allocations"] = static_cast<double>(made.count);
  state.counters["held"] = static_cast<double>(made.held);
}

}  // namespace bench
