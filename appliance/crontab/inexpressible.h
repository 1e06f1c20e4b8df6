// Why a line of a crontab does not become a task.
#pragma once

#include <stdexcept>

namespace kavo {

// A line that cannot be read, or that a task cannot express exactly. The message is the reason, for
// people; it may quote the line.
class Inexpressible : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kavo
