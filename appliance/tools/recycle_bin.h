// Cleaning of one recycle bin.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

// Which files of a bin go. A file that a keep_ rule names stays whatever the rest says.
struct CleanPolicy {
  enum class Remove {
    kEverything,
    kOlderThanDays,  // what has been in the bin for more than `days`
    kDownToBytes,    // file by file in `order` until all that is left makes up at most `bytes`
  };
  enum class Order { kOldFirst, kLargeFirst };

  Remove remove = Remove::kEverything;
  uint64_t days = 0;
  uint64_t bytes = 0;
  Order order = Order::kOldFirst;

  std::vector<std::string> keep_extensions;  // as small_letters gives them, without a dot
  std::optional<uint64_t> keep_larger_than;  // bytes
  std::optional<uint64_t> keep_smaller_than;

  bool dry_run = false;  // counts what would go, and removes nothing
};

// `text` with its ASCII letters in lower case, as extensions are compared.
std::string small_letters(std::string_view text);

struct CleanCounts {
  uint64_t files = 0;
  uint64_t folders = 0;
  uint64_t bytes = 0;  // freed: a file that has another name elsewhere frees none
};

// What a cleaning tells while it goes on.
struct CleanObserver {
  // Something could not be read or removed: where in the bin, and why. The cleaning goes on.
  std::function<void(const std::string& path, const std::string& why)> problem;
  // Called now and then.
  std::function<void(const CleanCounts& counts)> progress;
};

// Opens the recycle bin of the share at `path`, the folder "#recycle" in it. When that fails, errno
// says why: ENOENT with `share_found` set when the share is there and has no bin, ENOTDIR or ELOOP
// where a link or a file stands in the place of either.
Descriptor open_bin(const std::string& path, bool& share_found);

// Cleans the bin that is open as `bin`. `now` is the wall clock's time in nanoseconds since 1970.
//
// A file counts from when it was put into the bin: moving a file changes the time of its status and
// leaves its modification time alone, so a picture of years ago that was deleted today is new here.
// A folder that was moved into the bin as a whole makes all its files as new as itself.
//
// Removes files first, then the folders that this has emptied; folders that were empty already go
// where their files would. Links in the bin are removed like files and never followed; folders on
// which something else is mounted are reported and left alone; what vanishes meanwhile is no
// failure, and what others put into the bin meanwhile may stay. A folder that somebody moves out of
// the bin meanwhile may still lose the files that were to go. Takes time in proportion to the
// number of files (and to sort them for kDownToBytes), memory in proportion to the number of
// folders (and of files for kDownToBytes), and a bounded number of descriptors, however deep the
// folders.
CleanCounts clean_bin(int bin, const CleanPolicy& policy, int64_t now,
                      const CleanObserver& observer);

}  // namespace kavo
