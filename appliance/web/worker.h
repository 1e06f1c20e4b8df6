// A process that serves requests.
#pragma once

#include <vector>

#include "base/descriptor.h"
#include "web/limits.h"
#include "web/options.h"

namespace kavo {

// What a worker and its supervisor tell each other, a byte at a time. A supervisor that is gone
// shows by the end of the channel.
namespace message {
inline constexpr char kServing = 's';  // from the worker: it takes requests
inline constexpr char kWorn = 'w';     // from the worker: another one had better take its place
inline constexpr char kDrain = 'd';    // to the worker: another one has taken its place
inline constexpr char kHurry = 'h';    // to the worker: many are draining, be quick
}  // namespace message

// Serves until the supervisor says otherwise, or TERM: then answers what has begun. Takes the
// listening `sockets`; `channel` is a socket to the supervisor. For a process of its own, with one
// thread so far, in which TERM is blocked. The exit code; does not return when a method does not.
int run_worker(const Options& options, const Limits& limits, const std::vector<int>& sockets,
               const Descriptor& channel);

}  // namespace kavo
