// The processes that a process has started, and those that they have started.
#pragma once

#include <sys/types.h>

#include <vector>

namespace kavo {

// The descendants of the calling process at this moment, but for those that have ended and were not
// reaped. In a subreaper these are all processes that it ever brought about and that still live,
// also those that changed their session or lost their parent. Empty when /proc cannot be read.
std::vector<pid_t> descendants();

// Sends a signal to every descendant, and to those that come into being meanwhile, each once. Not
// without end: where processes multiply faster than they can be signalled, some are left over.
void signal_descendants(int signal);

}  // namespace kavo
