// What the tests of schedules share.
#pragma once

#include <gmock/gmock.h>

#include <cctype>
#include <cstdio>
#include <sstream>
#include <string>

#include "base/strict_json.h"
#include "schedule/schedule.h"
#include "schedule/zone.h"

namespace kavo {

inline Json::Value json(const std::string& text) {
  const std::optional<Json::Value> value = parse_strict_json(text);
  EXPECT_TRUE(value) << text;
  return value.value_or(Json::Value());
}

inline absl::TimeZone zone_named(const std::string& name) {
  absl::TimeZone zone;
  EXPECT_TRUE(load_zone(name, zone)) << name;
  return zone;
}

// The day that stands for today where a section has no date.
inline const absl::CivilDay kToday(2024, 1, 15);

// A section that can be used.
inline Schedule schedule_of(const Json::Value& section) {
  std::string error;
  const std::optional<Schedule> schedule = parse_schedule(section, kToday, error);
  EXPECT_TRUE(schedule) << section << ": " << error;
  return schedule.value_or(Schedule());
}

// The schedule in short: the first run "9:00", the interval "/1:30", the last
// moment "-12:00", weekdays "w1,5", a date with its word of repetition.
inline Schedule schedule_of_words(const std::string& text) {
  Json::Value section;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    int hour = 0, minute = 0;
    const char* prefix = word[0] == '/' ? "repeat_" : word[0] == '-' ? "last_" : "";
    if (std::sscanf(word.c_str() + (*prefix != '\0' ? 1 : 0), "%d:%d", &hour, &minute) == 2) {
      section[std::string(prefix) + "hour"] = hour;
      section[std::string(prefix) + "min"] = minute;
    } else if (word[0] == 'w' && word != "weekly") {
      section["week_name"] = word.substr(1);
    } else {
      section["type"] = section.isMember("week_name") ? "weekly" : "date";
      section[std::isdigit(word[0]) != 0 ? "date" : "repeat"] = word;
    }
  }
  return schedule_of(section);
}

}  // namespace kavo
