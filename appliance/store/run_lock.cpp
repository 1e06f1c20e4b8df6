#include "store/run_lock.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "base/file.h"
#include "store/database.h"

namespace kavo {
namespace {

Descriptor open_lock_file() {
  const std::string file = store_folder() + "/runs.lock";
  Descriptor descriptor = open_shared_file(file);
  if (!descriptor.valid()) {
    throw StoreFailure(StoreError::kUnavailable,
                       "The file " + file + " cannot be opened: " + strerror(errno));
  }
  return descriptor;
}

struct flock byte_of(std::int64_t run_id) {
  struct flock range = {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = run_id;
  range.l_len = 1;
  return range;
}

// False when the lock is another's.
bool lock_operation(int descriptor, int command, struct flock& range) {
  if (fcntl(descriptor, command, &range) == 0) {
    return true;
  }
  if (errno != EAGAIN && errno != EACCES) {
    throw StoreFailure(StoreError::kUnavailable,
                       std::string("The lock of a run cannot be used: ") + strerror(errno));
  }
  return false;
}

}  // namespace

bool RunLock::take(std::int64_t run_id) {
  if (!descriptor_.valid()) {
    descriptor_ = open_lock_file();
  }
  struct flock range = byte_of(run_id);
  return lock_operation(descriptor_.get(), F_OFD_SETLK, range);
}

bool RunLock::is_held(std::int64_t run_id) {
  const Descriptor probe = open_lock_file();
  struct flock range = byte_of(run_id);
  lock_operation(probe.get(), F_OFD_GETLK, range);
  return range.l_type != F_UNLCK;
}

}  // namespace kavo
