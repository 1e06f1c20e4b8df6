// Descriptors that stand for a process: unlike its number, they never come to stand for another.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include "base/descriptor.h"

namespace kavo {

// The process of this number, ended or not; readable once it has ended. Invalid, with errno set,
// when there is none.
inline Descriptor hold_process(pid_t process) {
  return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

// Sends a signal; false, with errno set, when it cannot be sent.
inline bool signal_process(const Descriptor& process, int signal) {
  return syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0) == 0;
}

}  // namespace kavo
