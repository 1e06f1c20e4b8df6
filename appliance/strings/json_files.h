// JSON files of the desktop, kept in memory.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>

namespace kavo {

// The value in the JSON file at `path` (absolute, already rooted), null when there is none: no such
// file, not a regular one, over 4 MiB, not JSON, or nested too deep; the last two are logged. Never
// null itself.
//
// A file is read once and kept for the process, for as long as its size, modification time and
// inode stay the same. Its texts are interned: those of earlier versions of a file stay in memory,
// which is meant for files that change on upgrades only. Safe on any thread.
std::shared_ptr<const Json::Value> json_file(const std::string& path);

}  // namespace kavo
