#include "schedule/schedule.h"

#include <absl/strings/str_cat.h>
#include <absl/strings/str_format.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/utf8.h"
#include "schedule/zone.h"

namespace kavo {
namespace {

constexpr int kDaysOfWeek = 7;
constexpr int kMaxTimeLimit = 366 * 24 * 60;
constexpr int kMaxDepth = 100;
constexpr std::size_t kMaxShown = 80;
const absl::CivilDay kFirstDate(1970, 1, 1);
const absl::CivilDay kLastDate(9999, 12, 31);

// In the order of the enumerations.
constexpr const char* kTypes[] = {"weekly", "date"};
constexpr const char* kRepeats[] = {"never",     "daily",       "weekly", "monthly",
                                    "quarterly", "half_yearly", "yearly"};
constexpr const char* kMissed[] = {"skip", "once"};

constexpr std::string_view kKnown[] = {"type",
                                       "week_name",
                                       "date",
                                       "repeat",
                                       "hour",
                                       "min",
                                       "repeat_hour",
                                       "repeat_min",
                                       "last_hour",
                                       "last_min",
                                       "timezone",
                                       "missed",
                                       "time_limit",
                                       "repeat_min_store_config",
                                       "repeat_hour_store_config",
                                       "next_trigger_time"};

template <typename Enum, std::size_t N>
std::string name_of(const char* const (&names)[N], Enum value) {
  return names[static_cast<std::size_t>(value)];
}

// A value for an error message: JSON in printable ASCII, of bounded length.
std::string shown(const Json::Value& value) {
  if (value.isArray() || value.isObject()) {
    return value.isArray() ? "an array" : "an object";
  }
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  std::string text = Json::writeString(builder, value);
  std::replace(text.begin(), text.end(), '\x7f', '?');  // the only one that is left as it is
  if (text.size() > kMaxShown) {
    text = text.substr(0, kMaxShown) + "...";
  }
  return text;
}

bool all_digits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// A JSON integer or its decimal text; nullopt for anything else, and beyond 64 bits.
std::optional<std::int64_t> integer_of(const Json::Value& value) {
  if (value.type() == Json::intValue || value.type() == Json::uintValue) {
    return value.isInt64() ? std::optional<std::int64_t>(value.asInt64()) : std::nullopt;
  }
  if (!value.isString()) {
    return std::nullopt;
  }
  const std::string text = value.asString();
  std::int64_t number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failure == std::errc() && end == text.data() + text.size() ? std::optional(number)
                                                                    : std::nullopt;
}

std::optional<absl::CivilDay> date_of(const std::string& text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
    return std::nullopt;
  }
  const std::string digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
  if (!all_digits(digits)) {
    return std::nullopt;
  }
  const int number = std::stoi(digits);
  const absl::CivilDay date(number / 10000, number / 100 % 100, number % 100);
  // A day that the calendar lacks has become another one.
  const bool exists = date.month() == number / 100 % 100 && date.day() == number % 100;
  return exists && date >= kFirstDate && date <= kLastDate ? std::optional(date) : std::nullopt;
}

std::optional<std::uint8_t> weekdays_of(const std::string& text) {
  unsigned weekdays = 0;
  for (const absl::string_view number : absl::StrSplit(text, ',')) {
    if (number.size() != 1 || number[0] < '0' || number[0] >= '0' + kDaysOfWeek) {
      return std::nullopt;
    }
    weekdays |= 1U << (number[0] - '0');
  }
  return static_cast<std::uint8_t>(weekdays);
}

std::string print_weekdays(std::uint8_t weekdays) {
  std::vector<int> days;
  for (int day = 0; day < kDaysOfWeek; ++day) {
    if ((weekdays >> day & 1) != 0) {
      days.push_back(day);
    }
  }
  return absl::StrJoin(days, ",");
}

// Whether a value can be stored and read back as it is: clean texts and names, finite numbers, and
// no more than `depth` levels.
bool is_storable(const Json::Value& value, int depth) {
  if (value.isString()) {
    return is_clean_text(value.asString());
  }
  if (value.isDouble() && !std::isfinite(value.asDouble())) {
    return false;
  }
  if (!value.isArray() && !value.isObject()) {
    return true;
  }
  if (depth == 0) {
    return false;
  }
  for (auto member = value.begin(); member != value.end(); ++member) {
    if ((value.isObject() && !is_clean_text(member.name())) || !is_storable(*member, depth - 1)) {
      return false;
    }
  }
  return true;
}

// Reads members one by one. Each read answers whether the member can be used, and leaves the target
// at its default when it is missing or null.
class SectionReader {
 public:
  SectionReader(const Json::Value& section, std::string& error)
      : section_(section), error_(error) {}

  bool read_integer(const char* name, int max, int& target) const {
    const Json::Value& value = section_[name];
    if (value.isNull()) {
      return true;
    }
    const std::optional<std::int64_t> number = integer_of(value);
    if (!number || *number < 0 || *number > max) {
      return refuse(name, value, absl::StrCat("an integer from 0 to ", max));
    }
    target = static_cast<int>(*number);
    return true;
  }

  template <typename Enum>
  bool read_choice(const char* name, std::span<const char* const> choices, Enum& target) const {
    const Json::Value& value = section_[name];
    if (value.isNull()) {
      return true;
    }
    const auto choice = value.isString()
                            ? std::find(choices.begin(), choices.end(), value.asString())
                            : choices.end();
    if (choice == choices.end()) {
      return refuse(name, value, "one of " + absl::StrJoin(choices, ", "));
    }
    target = static_cast<Enum>(choice - choices.begin());
    return true;
  }

  // A text that `read` makes a value of; `expected` says what it takes.
  template <typename Read, typename Target>
  bool read_text(const char* name, Read read, const char* expected, Target& target) const {
    const Json::Value& value = section_[name];
    if (value.isNull()) {
      return true;
    }
    const std::optional<Target> result =
        value.isString() ? read(value.asString()) : std::optional<Target>();
    if (!result) {
      return refuse(name, value, expected);
    }
    target = *result;
    return true;
  }

  bool read_other(Json::Value& other) const {
    for (auto member = section_.begin(); member != section_.end(); ++member) {
      const std::string name = member.name();
      if (std::find(std::begin(kKnown), std::end(kKnown), name) != std::end(kKnown)) {
        continue;
      }
      if (!is_clean_text(name) || !is_storable(*member, kMaxDepth)) {
        error_ =
            absl::StrCat(shown(Json::Value(name)),
                         ": holds text that is not clean UTF-8, a number that is not finite or "
                         "more than ",
                         kMaxDepth, " levels");
        return false;
      }
      other[name] = *member;
    }
    return true;
  }

 private:
  bool refuse(const char* name, const Json::Value& value, const std::string& expected) const {
    error_ = absl::StrCat(name, ": ", shown(value), " is not ", expected);
    return false;
  }

  const Json::Value& section_;
  std::string& error_;
};

std::optional<std::string> zone_name_of(const std::string& text) {
  absl::TimeZone zone;
  return text.empty() || load_zone(text, zone) ? std::optional(text) : std::nullopt;
}

bool read_run_days(const SectionReader& members, Schedule& schedule) {
  return members.read_choice("type", kTypes, schedule.type) &&
         members.read_text("week_name", weekdays_of, "day numbers 0 to 6, separated by commas",
                           schedule.weekdays) &&
         members.read_text("date", date_of, "a day from 1970-01-01 to 9999-12-31", schedule.date) &&
         members.read_choice("repeat", kRepeats, schedule.repeat);
}

std::optional<std::string> any_name_of(const std::string& text) {
  return text;
}

bool read_run_times(const SectionReader& members, ZoneNames zones, Schedule& schedule) {
  return members.read_integer("hour", 23, schedule.hour) &&
         members.read_integer("min", 59, schedule.minute) &&
         members.read_integer("repeat_hour", 23, schedule.repeat_hour) &&
         members.read_integer("repeat_min", 59, schedule.repeat_minute) &&
         members.read_integer("last_hour", 23, schedule.last_hour) &&
         members.read_integer("last_min", 59, schedule.last_minute) &&
         members.read_text("timezone", zones == ZoneNames::kAny ? any_name_of : zone_name_of,
                           "a time zone of this system", schedule.timezone);
}

bool read_run_policy(const SectionReader& members, Schedule& schedule) {
  return members.read_choice("missed", kMissed, schedule.missed) &&
         members.read_integer("time_limit", kMaxTimeLimit, schedule.time_limit);
}

}  // namespace

std::optional<Schedule> parse_schedule(const Json::Value& section, absl::CivilDay today,
                                       std::string& error, ZoneNames zones) {
  if (!section.isNull() && !section.isObject()) {
    error = absl::StrCat("schedule: ", shown(section), " is not an object");
    return std::nullopt;
  }
  Schedule schedule;
  schedule.date = std::clamp(today, kFirstDate, kLastDate);
  const SectionReader members(section, error);
  if (!read_run_days(members, schedule) || !read_run_times(members, zones, schedule) ||
      !read_run_policy(members, schedule) || !members.read_other(schedule.other)) {
    return std::nullopt;
  }
  if (schedule.interval() > 0 && schedule.last_moment() < schedule.first_run()) {
    error =
        absl::StrFormat("last_hour, last_min: %02d:%02d is before the first run at %02d:%02d",
                        schedule.last_hour, schedule.last_minute, schedule.hour, schedule.minute);
    return std::nullopt;
  }
  return schedule;
}

Json::Value print_schedule(const Schedule& schedule) {
  Json::Value section = schedule.other;
  section["type"] = name_of(kTypes, schedule.type);
  section["week_name"] = print_weekdays(schedule.weekdays);
  section["date"] = absl::FormatCivilTime(schedule.date);
  section["repeat"] = name_of(kRepeats, schedule.repeat);
  section["hour"] = schedule.hour;
  section["min"] = schedule.minute;
  section["repeat_hour"] = schedule.repeat_hour;
  section["repeat_min"] = schedule.repeat_minute;
  section["last_hour"] = schedule.last_hour;
  section["last_min"] = schedule.last_minute;
  section["timezone"] = schedule.timezone;
  section["missed"] = name_of(kMissed, schedule.missed);
  section["time_limit"] = schedule.time_limit;
  return section;
}

}  // namespace kavo
