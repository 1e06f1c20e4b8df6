// Reading of small files, and making of those that several processes write.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <sys/stat.h>

#include "base/descriptor.h"

namespace kavo {

// The bytes of the regular file at `path` (taken as it is, not rooted), or nothing when it cannot
// be read, is not a regular file or holds more than `limit` bytes. Never blocks on a pipe or a
// device. `status`, where given, is filled with the file's status from before the reading, so that
// a change during it shows as a different modification time later.
std::optional<std::string> read_file(const std::string& path, size_t limit,
                                     struct stat* status = nullptr);

// Whether the group of a folder shares what is in it: it may make files there, and they become its
// own (mode 2770).
bool is_shared_folder(const std::string& folder);

// Makes an empty file unless it is there: for its owner alone (mode 0600), and in a shared folder
// for the group, too (0660), whatever the umask. Nobody ever sees it with another mode. False, with
// errno set, on failure.
bool make_shared_file(const std::string& path);

// Opens a file for reading and writing, after making it where it is missing. Follows no link in its
// last part. Invalid, with errno set, on failure.
Descriptor open_shared_file(const std::string& path);

}  // namespace kavo
