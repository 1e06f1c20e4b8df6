// Crontabs, as tasks can express them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "schedule/schedule.h"

namespace kavo {

struct CrontabEntry {
  int line = 0;  // in the file, from 1
  std::string owner;
  std::string command;  // as the crontab means it, percent signs without their backslashes
  // The command line of a task that does the same: with the variables that the crontab sets.
  std::string command_line;
  Schedule schedule;
};

struct LeftOutLine {
  int line = 0;
  std::string reason;  // for people; may quote the line
};

struct TranslatedCrontab {
  std::vector<CrontabEntry> entries;
  std::vector<LeftOutLine> left_out;  // by line, one for each
};

struct CrontabFormat {
  // A user's own crontab: the user, whose are all entries. None: the system's, which names the user
  // of each entry before its command.
  std::optional<std::string> owner;
  // Whether there is such a user; asked about the users that the system's crontab names.
  std::function<bool(const std::string& user)> user_exists;
};

// Reads a crontab. An entry that a task cannot express exactly is left out and says why: a schedule
// that is due at other minutes, a command with a standard input of its own, a variable that cannot
// be set for it alone. So is a line that cannot be read, and a last line without its line feed: it
// may have been cut.
//
// The days of entries that run on dates count from today, by `now` (seconds since 1970 UTC) in the
// zone of the entry. Where the file sets no variables, tasks have the scheduler's.
TranslatedCrontab translate_crontab(const std::string& text, const CrontabFormat& format,
                                    std::int64_t now);

}  // namespace kavo
