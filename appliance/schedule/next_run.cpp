#include <algorithm>

#include "schedule/schedule.h"

namespace kavo {
namespace {

constexpr std::int64_t kBeforeAllRuns = -1;
constexpr std::int64_t kAfterAllRuns = 253402300800 + 172800;  // past the year 9999 in any zone
constexpr absl::civil_year_t kLastYear = 9999;

// That day of the month, or its last one when it has fewer days.
absl::CivilDay day_of_month(absl::CivilMonth month, int day) {
  return std::min(absl::CivilDay(month) + (day - 1), absl::CivilDay(month + 1) - 1);
}

// The same in steps of months, each counted from `date`, so that a short month shortens only
// itself.
absl::CivilDay first_by_months(absl::CivilDay date, int step, absl::CivilDay from) {
  const absl::CivilMonth first(date);
  const absl::CivilMonth month = first + (absl::CivilMonth(from) - first) / step * step;
  const absl::CivilDay day = day_of_month(month, date.day());
  return day >= from ? day : day_of_month(month + step, date.day());
}

std::optional<absl::CivilDay> first_weekday(std::uint8_t weekdays, absl::CivilDay from) {
  for (absl::CivilDay day = from; day < from + 7; ++day) {
    const int from_monday = static_cast<int>(absl::GetWeekday(day));
    const int from_sunday = (from_monday + 1) % 7;
    if ((weekdays >> from_sunday & 1) != 0) {
      return day;
    }
  }
  return std::nullopt;
}

std::optional<absl::CivilDay> first_repeat(const Schedule& schedule, absl::CivilDay from) {
  const absl::CivilDay date = schedule.date;
  if (from <= date) {
    return date;
  }
  switch (schedule.repeat) {
    case Schedule::Repeat::kNever:
      return std::nullopt;
    case Schedule::Repeat::kDaily:
      return from;
    case Schedule::Repeat::kWeekly:
      return date + (from - date + 6) / 7 * 7;
    case Schedule::Repeat::kMonthly:
      return first_by_months(date, 1, from);
    case Schedule::Repeat::kQuarterly:
      return first_by_months(date, 3, from);
    case Schedule::Repeat::kHalfYearly:
      return first_by_months(date, 6, from);
    case Schedule::Repeat::kYearly:
      return first_by_months(date, 12, from);
  }
  return std::nullopt;
}

std::optional<absl::CivilDay> first_run_day(const Schedule& schedule, absl::CivilDay from) {
  const std::optional<absl::CivilDay> day = schedule.type == Schedule::Type::kWeekly
                                                ? first_weekday(schedule.weekdays, from)
                                                : first_repeat(schedule, from);
  return day && day->year() <= kLastYear ? day : std::nullopt;
}

// The first run of a run day after that minute of it, in minutes since 00:00.
std::optional<int> run_of_day_after(const Schedule& schedule, int minute) {
  const int first = schedule.first_run();
  if (minute < first) {
    return first;
  }
  const int interval = schedule.interval();
  if (interval <= 0) {
    return std::nullopt;
  }
  const int run = first + ((minute - first) / interval + 1) * interval;
  return run <= schedule.last_moment() ? std::optional(run) : std::nullopt;
}

// The first run time after `wall`, by the calendar and the face of the clock alone.
std::optional<absl::CivilSecond> run_time_after(const Schedule& schedule, absl::CivilSecond wall) {
  const absl::CivilDay today(wall);
  std::optional<absl::CivilDay> day = first_run_day(schedule, today);
  if (day == today) {
    if (const auto run = run_of_day_after(schedule, wall.hour() * 60 + wall.minute())) {
      return absl::CivilSecond(absl::CivilMinute(today) + *run);
    }
    day = first_run_day(schedule, today + 1);
  }
  if (!day) {
    return std::nullopt;
  }
  return absl::CivilSecond(absl::CivilMinute(*day) + schedule.first_run());
}

// The moment at which the clock first shows `wall`, or has just passed over it.
absl::Time first_moment_of(const absl::TimeZone& zone, absl::CivilSecond wall) {
  const absl::TimeZone::TimeInfo clock = zone.At(wall);
  return clock.kind == absl::TimeZone::TimeInfo::SKIPPED ? clock.trans : clock.pre;
}

}  // namespace

// First moments grow with the wall clock: the next run by first moments is the first run time after
// the latest one that the clock has shown. Only within a period that is repeated does the clock
// show less than that, and only there can a run by second moments come before it.
std::optional<std::int64_t> next_run(const Schedule& schedule, const absl::TimeZone& zone,
                                     std::int64_t after) {
  const absl::Time now = absl::FromUnixSeconds(std::clamp(after, kBeforeAllRuns, kAfterAllRuns));
  const absl::CivilSecond wall = zone.At(now).cs;
  const absl::TimeZone::TimeInfo clock = zone.At(wall);
  const bool in_repeated = clock.kind == absl::TimeZone::TimeInfo::REPEATED;
  const bool second_pass = in_repeated && now >= clock.trans;

  std::optional<absl::Time> next;
  const absl::CivilSecond shown = second_pass ? zone.At(clock.trans - absl::Seconds(1)).cs : wall;
  if (const auto run = run_time_after(schedule, shown)) {
    next = first_moment_of(zone, *run);
  }
  const absl::Duration interval = absl::Minutes(schedule.interval());
  if (in_repeated && interval > absl::ZeroDuration() && interval <= clock.post - clock.pre) {
    const absl::CivilSecond shown_again = second_pass ? wall : zone.At(clock.trans).cs - 1;
    if (const auto run = run_time_after(schedule, shown_again)) {
      const absl::TimeZone::TimeInfo again = zone.At(*run);
      if (again.kind == absl::TimeZone::TimeInfo::REPEATED) {
        next = next ? std::min(*next, again.post) : again.post;
      }
    }
  }
  return next ? std::optional(absl::ToUnixSeconds(*next)) : std::nullopt;
}

}  // namespace kavo
