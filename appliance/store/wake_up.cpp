#include "store/wake_up.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/file.h"
#include "store/database.h"

namespace kavo {
namespace {

constexpr char kSocket[] = "schedd.sock";

// The socket's address by way of a descriptor of its folder: the folder's own path may be longer
// than an address can be.
struct Address {
  Descriptor folder{open(store_folder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)};
  sockaddr_un name = {};

  Address() {
    name.sun_family = AF_UNIX;
    (void)snprintf(name.sun_path, sizeof name.sun_path, "/proc/self/fd/%d/%s", folder.get(),
                   kSocket);
  }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&name); }
};

Descriptor new_socket() {
  return Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

StoreFailure no_scheduler() {
  return {StoreError::kNoScheduler,
          std::string("No scheduler is listening: ") + strerror(errno) + "."};
}

}  // namespace

SchedulerLine::SchedulerLine() : socket_(new_socket()) {
  const Address address;
  if (!socket_.valid() || connect(socket_.get(), address.get(), sizeof address.name) != 0) {
    throw no_scheduler();
  }
}

void SchedulerLine::wake() const {
  const char word = 0;
  // When its queue is full, it is about to wake up for those before this one.
  if (send(socket_.get(), &word, sizeof word, MSG_NOSIGNAL) < 0 && errno != EAGAIN) {
    throw no_scheduler();
  }
}

void SchedulerLine::ask_to_stop(std::int64_t run_id) const {
  if (send(socket_.get(), &run_id, sizeof run_id, MSG_NOSIGNAL) < 0) {
    throw no_scheduler();
  }
}

void wake_scheduler() {
  try {
    SchedulerLine().wake();
  } catch (const StoreFailure&) {
    // None listens.
  }
}

Descriptor listen_for_wake_ups() {
  connection();  // the folder is there with the store
  const Address address;
  Descriptor socket = new_socket();
  (void)unlinkat(address.folder.get(), kSocket, 0);  // of one that ended; else bind() tells
  const mode_t group = is_shared_folder(store_folder()) ? S_IRGRP | S_IWGRP : 0U;
  const mode_t usual = umask(~(S_IRUSR | S_IWUSR | group) & ACCESSPERMS);
  const bool bound = socket.valid() && bind(socket.get(), address.get(), sizeof address.name) == 0;
  umask(usual);
  if (!bound) {
    throw StoreFailure(StoreError::kUnavailable, std::string("The socket for wake-ups in ") +
                                                     store_folder() +
                                                     " cannot be made: " + strerror(errno));
  }
  return socket;
}

std::vector<std::int64_t> take_wake_ups(const Descriptor& socket) {
  std::vector<std::int64_t> to_stop;
  std::int64_t message = 0;
  for (ssize_t size = 0; size >= 0;) {
    size = recv(socket.get(), &message, sizeof message, MSG_DONTWAIT);
    if (size == sizeof message) {
      to_stop.push_back(message);
    }
  }
  return to_stop;
}

}  // namespace kavo
