// What the tests of schedules share.
#pragma once

#include <gmock/gmock.h>

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

}  // namespace kavo
