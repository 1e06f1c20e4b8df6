// Executing the command of a run.
#pragma once

#include <chrono>
#include <functional>
#include <string_view>

#include "store/run_store.h"

namespace kavo {

// What a run may write; the rest is counted and cut.
inline constexpr std::size_t kMaxOutputBytes = 1 << 20;

struct ExecuteOptions {
  // Between TERM and KILL when a run is stopped.
  std::chrono::milliseconds grace = std::chrono::seconds(10);
  // How often new output is saved while the run goes on.
  std::chrono::milliseconds save_interval = std::chrono::seconds(1);
  // Saves output from its `position`-th byte on; false, without delay, when it has to be tried
  // again. Without it, all output is left to the end.
  std::function<bool(std::size_t position, std::string_view bytes)> save_output;
};

// Makes this process one that execute() can work in: from now on TERM asks for the run to be
// stopped, be it executed already or not. For a process of its own with one thread.
void accept_stops();

// Runs the command with `/bin/sh -c` as its owner, in the owner's home, with a minimal environment,
// default signals and no descriptors but its standard ones, and waits for the shell to end.
// Processes that the command has left in the background live on. A run that cannot be started ends
// as refused, with the reason.
//
// When the run's time is over, or this process gets TERM, every process that the command brought
// about gets TERM, and KILL when the grace is over, until none is left.
//
// After accept_stops(). It reaps every child, and makes the process the subreaper of what the
// command starts.
RunEnd execute(const Run& run, const ExecuteOptions& options = {});

}  // namespace kavo
