// What the scheduler, the process that makes its runners and a runner tell each other.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>

#include "base/descriptor.h"
#include "store/run_store.h"

namespace kavo {

// To the maker of runners: make one for a run, with the lock and its end of the line as
// descriptors. One packet.
struct RunnerRequest {
  std::int64_t run_id = 0;
  Descriptor lock;
  Descriptor line;
};
// False, with errno set, when the other side is gone.
bool send_request(int socket, std::int64_t run_id, int lock, int line);
// The next request; none when the other side is gone. One that had to come without its descriptors,
// because they are short, has invalid ones.
std::optional<RunnerRequest> receive_request(int socket);

// The answer: the process, or why there is none.
struct RunnerAnswer {
  pid_t process = 0;
  int error = 0;
};

// Gives a runner its run: id, owner, command, time limit, task id and name. Never waits, and never
// fails: a runner that does not get all of it takes the run from the store.
void hand_over(Descriptor line, const Run& run);
// Waits for the run; none when the line was closed without it.
std::optional<Run> take_over(const Descriptor& line);

}  // namespace kavo
