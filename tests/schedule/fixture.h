// What the tests of schedules share.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "schedule/schedule.h"
#include "schedule/zone.h"

namespace kavo {

inline Json::Value json(const std::string& text) {
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  Json::Value value;
  std::string errors;
  EXPECT_TRUE(reader->parse(text.data(), text.data() + text.size(), &value, &errors)) << errors;
  return value;
}

inline absl::TimeZone zone_named(const std::string& name) {
  absl::TimeZone zone;
  EXPECT_TRUE(load_zone(name, zone)) << name;
  return zone;
}

// The day that stands for today where a section has no date.
inline const absl::CivilDay kToday(2024, 1, 15);

// A section that can be used.
inline Schedule schedule_of(const std::string& section) {
  std::string error;
  const std::optional<Schedule> schedule = parse_schedule(json(section), kToday, error);
  EXPECT_TRUE(schedule) << section << ": " << error;
  return schedule.value_or(Schedule());
}

}  // namespace kavo
