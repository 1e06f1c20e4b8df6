// The next run against a search that is too simple to be wrong: it follows the clock of the zone
// minute by minute and looks at nothing but its face.

#include <absl/strings/str_cat.h>
#include <absl/strings/str_split.h>

#include <fstream>
#include <random>
#include <vector>

#include "schedule/fixture.h"

namespace kavo {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kDay = 86400;

// Every `step` months, or on the last day of a month that is too short.
bool is_monthly_run_day(absl::CivilDay date, int step, absl::CivilDay day) {
  const absl::CivilMonth month(day);
  const int last = (absl::CivilDay(month + 1) - 1).day();
  return (month - absl::CivilMonth(date)) % step == 0 && day.day() == std::min(date.day(), last);
}

bool is_run_day(const Schedule& schedule, absl::CivilDay day) {
  if (schedule.type == Schedule::Type::kWeekly) {
    const auto since_a_sunday = day - absl::CivilDay(1969, 12, 28);
    return (schedule.weekdays >> (since_a_sunday % 7) & 1) != 0;
  }
  const auto days = day - schedule.date;
  if (days <= 0 || schedule.repeat == Schedule::Repeat::kNever) return days == 0;
  if (schedule.repeat == Schedule::Repeat::kDaily) return true;
  if (schedule.repeat == Schedule::Repeat::kWeekly) return days % 7 == 0;
  const int months[] = {1, 3, 6, 12};
  const int step = static_cast<int>(schedule.repeat) - static_cast<int>(Schedule::Repeat::kMonthly);
  return is_monthly_run_day(schedule.date, months[step], day);
}

bool is_run_time(const Schedule& schedule, absl::CivilSecond wall) {
  const int since_first = wall.hour() * 60 + wall.minute() - schedule.first_run();
  const bool at_interval = schedule.interval() > 0 && since_first > 0 &&
                           since_first % schedule.interval() == 0 &&
                           since_first <= schedule.last_moment() - schedule.first_run();
  return wall.second() == 0 && (since_first == 0 || at_interval) &&
         is_run_day(schedule, absl::CivilDay(wall));
}

// The first run after `after` and no later than `end`.
std::optional<std::int64_t> search(const Schedule& schedule, const absl::TimeZone& zone,
                                   std::int64_t after, std::int64_t end) {
  std::int64_t now = after / kMinute * kMinute - 2 * kDay;
  absl::CivilSecond shown = zone.At(absl::FromUnixSeconds(now)).cs;
  absl::CivilSecond latest = shown;
  absl::civil_diff_t set_back = 0;
  for (now += kMinute; now <= end; now += kMinute) {
    const absl::CivilSecond wall = zone.At(absl::FromUnixSeconds(now)).cs;
    const absl::CivilSecond expected = shown + kMinute;
    if (wall < expected) set_back = expected - wall;
    const bool again = wall <= latest;
    const bool runs_again = schedule.interval() > 0 && schedule.interval() * kMinute <= set_back;
    bool due = is_run_time(schedule, wall) && (!again || runs_again);
    for (absl::CivilSecond skipped = expected; skipped < wall; skipped += kMinute) {
      due = due || is_run_time(schedule, skipped);
    }
    if (due && now > after) return now;
    shown = wall;
    latest = std::max(latest, wall);
  }
  return std::nullopt;
}

std::vector<std::string> zone_names() {
  std::vector<std::string> names;
  std::ifstream file("/usr/share/zoneinfo/zone1970.tab");
  for (std::string line; std::getline(file, line);) {
    const std::vector<std::string> columns = absl::StrSplit(line, '\t');
    if (!line.starts_with('#')) names.push_back(columns.at(2));
  }
  return names;
}

class NextRunPropertyTest : public testing::Test {
 protected:
  std::int64_t between(std::int64_t low, std::int64_t high) {
    return std::uniform_int_distribution<std::int64_t>(low, high)(random_);
  }
  int number(int low, int high) { return static_cast<int>(between(low, high)); }
  bool one_in(int count) { return between(1, count) == 1; }

  // A schedule with runs around `day`, most of them in the hours in which clocks are changed.
  Schedule schedule_around(absl::CivilDay day) {
    Schedule schedule;
    schedule.type = one_in(2) ? Schedule::Type::kWeekly : Schedule::Type::kDate;
    schedule.weekdays = static_cast<std::uint8_t>(one_in(2) ? 0x7f : number(1, 0x7f));
    schedule.repeat = static_cast<Schedule::Repeat>(number(0, 6));
    const int months = one_in(3) ? 0 : number(0, 48);
    schedule.date = one_in(3) ? day - number(-2, 2)
                              : absl::CivilDay(absl::CivilMonth(day) - months) + number(0, 30);
    schedule.hour = one_in(4) ? number(0, 23) : one_in(4) ? 23 : number(0, 3);
    schedule.minute = one_in(2) ? number(0, 59) : number(0, 3) * 15;
    schedule.repeat_hour = one_in(2) ? 0 : number(0, 3);
    schedule.repeat_minute = one_in(3) ? 0 : one_in(2) ? number(0, 59) : number(1, 3) * 15;
    if (one_in(2)) {
      schedule.last_hour = number(schedule.hour, 23);
      schedule.last_minute = schedule.last_hour == schedule.hour ? 59 : number(0, 59);
    }
    return schedule;
  }

  // A change of the zone's clock after a random moment from 1973 on, or that moment if there is
  // none.
  std::int64_t change_of(const absl::TimeZone& zone) {
    const absl::Time start = absl::FromUnixSeconds(between(kDay * 366 * 3, kDay * 365 * 90));
    absl::TimeZone::CivilTransition change;
    return absl::ToUnixSeconds(zone.NextTransition(start, &change) ? zone.At(change.to).post
                                                                   : start);
  }

  std::mt19937_64 random_{20240331};
};

std::string described(const Schedule& schedule, const absl::TimeZone& zone, std::int64_t after) {
  return absl::StrCat(print_schedule(schedule).toStyledString(), after, " in ", zone.name());
}

TEST_F(NextRunPropertyTest, AgreesWithASearchAroundEveryKindOfChange) {
  const std::vector<std::string> names = zone_names();
  ASSERT_GT(names.size(), 200U);
  int found = 0;
  for (int i = 0; i < 3000; ++i) {
    const auto which = static_cast<std::size_t>(number(0, static_cast<int>(names.size()) - 1));
    const absl::TimeZone zone = zone_named(names[which]);
    const std::int64_t change = change_of(zone);
    const Schedule schedule =
        schedule_around(absl::CivilDay(zone.At(absl::FromUnixSeconds(change)).cs));
    std::int64_t after = change + between(one_in(2) ? -2 * kDay : -7200, one_in(2) ? kDay : 7200);
    after = one_in(2) ? after / kMinute * kMinute : after;
    const std::int64_t end = after + 2 * kDay;

    const std::optional<std::int64_t> expected = search(schedule, zone, after, end);
    const std::optional<std::int64_t> run = next_run(schedule, zone, after);
    found += expected ? 1 : 0;
    ASSERT_TRUE(expected ? run == expected : !run || *run > end)
        << described(schedule, zone, after);
  }
  EXPECT_GT(found, 1000);
}

TEST_F(NextRunPropertyTest, AgreesWithASearchThroughTheYears) {
  const absl::TimeZone utc = absl::UTCTimeZone();
  for (int i = 0; i < 2000; ++i) {
    const absl::CivilDay today = absl::CivilDay(1980, 1, 1) + number(0, 200 * 365);
    Schedule schedule = schedule_around(today);
    schedule.repeat_hour = schedule.repeat_minute = 0;
    const absl::CivilSecond wall = absl::CivilSecond(today) + number(0, kDay - 1);
    const std::int64_t after = absl::ToUnixSeconds(absl::FromCivil(wall, utc));
    std::optional<std::int64_t> expected;
    for (absl::CivilDay day = today; !expected && day < today + 400; ++day) {
      const absl::CivilSecond run = absl::CivilSecond(day) + schedule.first_run() * kMinute;
      if (run > wall && is_run_day(schedule, day)) {
        expected = absl::ToUnixSeconds(absl::FromCivil(run, utc));
      }
    }
    ASSERT_EQ(next_run(schedule, utc, after), expected) << described(schedule, utc, after);
  }
}

}  // namespace
}  // namespace kavo
