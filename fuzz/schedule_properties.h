// What holds of every schedule.
#pragma once

#include <absl/time/time.h>

#include <numeric>

#include "fuzz/fuzz.h"
#include "schedule/schedule.h"
#include "schedule/zone.h"

// A schedule prints to what reads back as the same, on any other day.
inline void require_round_trip(const kavo::Schedule& schedule) {
  std::string error;
  const auto again =
      kavo::parse_schedule(kavo::print_schedule(schedule), absl::CivilDay(1999, 12, 31), error);
  require(again.has_value() && *again == schedule, "a printed schedule reads back as it was");
}

// The run days and times of a schedule allow a run at `run`, unless a change of the clock moved it.
inline bool is_allowed(const kavo::Schedule& schedule, const absl::TimeZone& zone,
                       std::int64_t run) {
  const absl::CivilSecond at = absl::ToCivilSecond(absl::FromUnixSeconds(run), zone);
  const absl::CivilSecond before = absl::ToCivilSecond(absl::FromUnixSeconds(run - 1), zone);
  if (at > before + 1) {
    return true;  // the first moment after a gap
  }
  const int minute = at.hour() * 60 + at.minute();
  const int offset = minute - schedule.first_run();
  const int interval = schedule.interval();
  const bool in_day = offset == 0 || (interval > 0 && offset > 0 && offset % interval == 0 &&
                                      minute <= schedule.last_moment());
  // absl counts from Monday, the schedule from Sunday.
  const int weekday = (static_cast<int>(absl::GetWeekday(at)) + 1) % 7;
  const bool on_day = schedule.type == kavo::Schedule::Type::kWeekly
                          ? (schedule.weekdays >> weekday & 1) != 0
                          : absl::CivilDay(at) >= schedule.date;
  return at.second() == 0 && in_day && on_day;
}

// The next runs after a moment: each is allowed, comes after the moment, and is the next one from
// everywhere in between.
inline void require_runs(const kavo::Schedule& schedule, std::int64_t after) {
  const absl::TimeZone zone = kavo::schedule_zone(schedule);
  for (int count = 0; count < 5; ++count) {
    const auto run = kavo::next_run(schedule, zone, after);
    if (!run) {
      return;
    }
    require(*run > after, "a next run is after the moment");
    require(is_allowed(schedule, zone, *run), "a run is on a run day at a run time");
    for (const std::int64_t between : {*run - 1, std::midpoint(after, *run)}) {
      require(kavo::next_run(schedule, zone, between) == run, "no run is passed over");
    }
    after = *run;
  }
}
