// A schedule as a value: read from and printed to the store's section, compared, and asked for its
// next run. Everything here may be called by several threads at once.
#pragma once

#include <absl/time/civil_time.h>
#include <absl/time/time.h>
#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>

namespace kavo {

// Run days, and the wall-clock times of a run day at which runs start: the first, then one at every
// interval up to and including the last moment. The value of default construction is due every day
// at 00:00. `parse_schedule` keeps every member in its range.
struct Schedule {
  enum class Type { kWeekly, kDate };
  enum class Repeat { kNever, kDaily, kWeekly, kMonthly, kQuarterly, kHalfYearly, kYearly };
  enum class Missed { kSkip, kOnce };

  Type type = Type::kWeekly;
  // kWeekly: the run days, bit 0 Sunday to bit 6 Saturday; at least one.
  std::uint8_t weekdays = 0x7f;
  // kDate: the first run day, 1970 to 9999. Repeats count from it; nothing runs before it.
  absl::CivilDay date;
  Repeat repeat = Repeat::kNever;
  int hour = 0;    // 0 to 23
  int minute = 0;  // 0 to 59
  // The interval, as it was given: 0 to 23 hours, and 0 to 59 minutes on top.
  int repeat_hour = 0;
  int repeat_minute = 0;
  // The last moment, 00:00 to 23:59; with an interval it is not before the first run.
  int last_hour = 23;
  int last_minute = 59;
  std::string timezone;  // an IANA zone, or empty for the appliance's own
  Missed missed = Missed::kSkip;
  int time_limit = 0;  // minutes after which a run is stopped, 0 for none, up to a year
  // The members that are not known here, as an object: kept and answered again.
  Json::Value other{Json::objectValue};

  // Minutes between the runs of a day; 0 for one run a day.
  int interval() const { return repeat_hour * 60 + repeat_minute; }
  // The first run and the last moment of a run day, in minutes of the wall clock since 00:00.
  int first_run() const { return hour * 60 + minute; }
  int last_moment() const { return last_hour * 60 + last_minute; }

  friend bool operator==(const Schedule&, const Schedule&) = default;
};

// Which time zones a schedule may name: those of the system's database, or any. The second is for
// what was stored once: a zone can vanish from the database, and its schedule is still to be read,
// shown and mended.
enum class ZoneNames { kKnown, kAny };

// Reads the store's section. Null counts as an empty section; a null or missing member is its
// default, for "date" `today`, the present day in the schedule's zone (no earlier than 1970, for a
// machine that starts without a clock). Members that are answered only are left out.
//
// When anything is wrong: nullopt, and `error` names the member and its value, in English and
// printable ASCII. Otherwise `error` is left alone. Throws for no value.
std::optional<Schedule> parse_schedule(const Json::Value& section, absl::CivilDay today,
                                       std::string& error, ZoneNames zones = ZoneNames::kKnown);

// All stored members in the store's names and types, and those of `other`; what `parse_schedule`
// returned prints to what it reads back as an equal value, on whatever day.
Json::Value print_schedule(const Schedule& schedule);

// The next run strictly after `after`, both in seconds since 1970 UTC; nullopt when it is never due
// again. A schedule has no runs before 1970 UTC nor after the year 9999 of the wall clock, and any
// `after` may be asked about. Pure; the cost depends neither on the distance of the answer nor on
// the interval.
//
// Where the clock is changed: a run time that the clock leaves out is due at the first moment after
// the gap. One that comes twice is due the first time only, or both times when the interval is no
// longer than the period that is repeated. Runs that meet in one moment are one run.
std::optional<std::int64_t> next_run(const Schedule& schedule, const absl::TimeZone& zone,
                                     std::int64_t after);

}  // namespace kavo
