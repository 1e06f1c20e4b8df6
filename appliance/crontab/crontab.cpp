#include "crontab/crontab.h"

#include <absl/time/time.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "base/utf8.h"
#include "crontab/cron_fields.h"
#include "crontab/cron_schedule.h"
#include "crontab/environment.h"
#include "crontab/inexpressible.h"
#include "schedule/zone.h"

namespace kavo {
namespace {

constexpr std::string_view kBlanks = " \t";

void skip_blanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

// Takes the next word, and the blanks around it, off the front. Empty at the end.
std::string_view take_word(std::string_view& text) {
  skip_blanks(text);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  skip_blanks(text);
  return word;
}

CronFields take_fields(std::string_view& line) {
  const std::string_view first = take_word(line);
  if (first.starts_with('@')) {
    return parse_cron_nickname(first);
  }
  std::array<std::string_view, 5> fields{first};
  std::generate(fields.begin() + 1, fields.end(), [&] { return take_word(line); });
  if (fields.back().empty()) {
    throw Inexpressible("an entry has five fields of time");
  }
  return parse_cron_fields(fields);
}

// The command without the backslashes that keep percent signs from meaning a line feed.
std::string command_of(std::string_view text) {
  std::string command;
  for (const char c : text) {
    if (c == '%') {
      if (!command.ends_with('\\')) {
        throw Inexpressible("a percent sign in the command starts its standard input");
      }
      command.pop_back();
      if (command.ends_with('\\')) {
        throw Inexpressible("backslashes before a percent sign differ between crons");
      }
    }
    command += c;
  }
  if (command.empty()) {
    throw Inexpressible("there is no command");
  }
  return command;
}

absl::CivilDay today_in(const std::string& zone_name, std::int64_t now) {
  Schedule schedule;
  schedule.timezone = zone_name;
  return absl::ToCivilDay(absl::FromUnixSeconds(now), schedule_zone(schedule));
}

// Reads one crontab, line by line.
class Translation {
 public:
  Translation(const CrontabFormat& format, std::int64_t now) : format_(format), now_(now) {}

  // `complete`: the line ended with a line feed.
  void add(std::string_view line, bool complete) {
    ++line_;
    std::string_view text = line;
    skip_blanks(text);
    if (text.empty() || text == "\r" || text.starts_with('#')) {
      return;
    }
    const bool assigns = is_assignment(text);
    try {
      check(text, complete);
      if (assigns) {
        environment_.assign(text, line_);
      } else {
        result_.entries.push_back(entry(text));
      }
    } catch (const Inexpressible& refusal) {
      if (assigns) {
        environment_.lose(line_);
      }
      result_.left_out.push_back({line_, refusal.what()});
    }
  }

  TranslatedCrontab result() && { return std::move(result_); }

 private:
  static void check(std::string_view line, bool complete) {
    if (!complete) {
      throw Inexpressible("it does not end with a line feed and may have been cut");
    }
    if (line.ends_with('\r')) {
      throw Inexpressible("it ends with a carriage return, as files of other systems do");
    }
    if (!is_clean_text(line)) {
      throw Inexpressible("it holds a zero byte or is not UTF-8");
    }
  }

  std::string take_owner(std::string_view& line) const {
    if (format_.owner) {
      return *format_.owner;
    }
    std::string owner(take_word(line));
    if (owner.empty()) {
      throw Inexpressible("there is no user and no command");
    }
    if (!format_.user_exists(owner)) {
      throw Inexpressible("there is no user \"" + owner +
                          "\"; a user's own crontab names none and needs its owner said");
    }
    return owner;
  }

  CrontabEntry entry(std::string_view line) const {
    const CronFields fields = take_fields(line);
    CrontabEntry entry;
    entry.line = line_;
    entry.owner = take_owner(line);
    entry.command = command_of(line);
    entry.command_line = environment_.command_line(entry.command);
    entry.schedule = schedule_of(fields, today_in(environment_.zone(), now_));
    entry.schedule.timezone = environment_.zone();
    return entry;
  }

  const CrontabFormat& format_;
  std::int64_t now_;
  int line_ = 0;
  CronEnvironment environment_;
  TranslatedCrontab result_;
};

}  // namespace

TranslatedCrontab translate_crontab(const std::string& text, const CrontabFormat& format,
                                    std::int64_t now) {
  Translation translation(format, now);
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    translation.add(rest.substr(0, end), end != std::string_view::npos);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  return std::move(translation).result();
}

}  // namespace kavo
