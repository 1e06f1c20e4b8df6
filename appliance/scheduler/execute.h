// Executing the command of a run.
#pragma once

#include "store/run_store.h"

namespace kavo {

// What a run may write; the rest is counted and cut.
inline constexpr std::size_t kMaxOutputBytes = 1 << 20;

// Runs the command with `/bin/sh -c` as its owner, in the owner's home, with a minimal environment,
// default signals and no descriptors but its standard ones, and waits for the shell to end.
// Processes that the command has left in the background live on. A run that cannot be started ends
// as refused, with the reason. For a process of its own with one thread: it blocks SIGCHLD, reaps
// every child, and makes the process the subreaper of what the command starts.
RunEnd execute(const Run& run);

}  // namespace kavo
