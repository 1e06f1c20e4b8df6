// Reading of small files.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace kavo {

// The bytes of the regular file at `path` (taken as it is, not rooted), or nothing when it cannot
// be read, is not a regular file or holds more than `limit` bytes. Never blocks on a pipe or a
// device. `status`, where given, is filled with the file's status from before the reading, so that
// a change during it shows as a different modification time later.
std::optional<std::string> read_file(const std::string& path, size_t limit,
                                     struct stat* status = nullptr);

}  // namespace kavo
