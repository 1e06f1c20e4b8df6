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

// The line between the scheduler and a runner. Either end can go at any time: what the scheduler
// did not do, the runner does itself, with the store.
using Line = Descriptor;

// The scheduler gives a runner its run: id, owner, command, time limit, task id and name. Never
// waits and never fails: what does not get through is like leave_alone().
void hand_over(const Line& line, const Run& run);
// The scheduler tells a runner to see to its run itself. The line still tells of the runner's end.
void leave_alone(const Line& line);
// The report on a line that is readable; none when the runner has ended without one.
std::optional<RunEnd> receive_report(const Line& line);
// Tells the runner that its report was recorded.
void acknowledge(const Line& line);

// The runner waits for its run; none when it is left alone.
std::optional<Run> take_over(const Line& line);
// Reports the end of the run to the scheduler; true once that has recorded it.
bool report(const Line& line, const RunEnd& end);

}  // namespace kavo
