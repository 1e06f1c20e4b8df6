// Random time fields, made from sets and printed in many ways: the schedules they give against the
// sets themselves, minute by minute and day by day; and what is refused against every schedule that
// there is.

#include "crontab/cron_schedule.h"

#include <absl/strings/str_cat.h>
#include <absl/strings/str_join.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "crontab/inexpressible.h"
#include "schedule/schedule.h"

namespace kavo {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kDay = 86400;
const absl::CivilDay kFirstDay(2023, 1, 1);
const absl::CivilDay kEnd(2031, 1, 1);  // two leap years and more

// A field, as the set that was meant and as a text for it.
struct RandomField {
  std::set<int> numbers;
  std::string text;
};

class RandomCron {
 public:
  explicit RandomCron(unsigned seed) : random_(seed) {}

  int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

  RandomField field(int first, int last) {
    if (below(3) == 0) {
      return star(first, last, 1);
    }
    RandomField field;
    std::vector<std::string> items;
    for (int count = 1 + below(3) * below(2); count > 0; --count) {
      const RandomField item = this->item(first, last);
      field.numbers.insert(item.numbers.begin(), item.numbers.end());
      items.push_back(item.text);
    }
    field.text = absl::StrJoin(items, ",");
    return field;
  }

 private:
  static void fill(int first, int last, int step, std::set<int>& numbers) {
    for (int i = first; i <= last; i += step) {
      numbers.insert(i);
    }
  }

  static RandomField star(int first, int last, int step) {
    RandomField field{{}, step == 1 ? "*" : absl::StrCat("*/", step)};
    fill(first, last, step, field.numbers);
    return field;
  }

  RandomField item(int first, int last) {
    static constexpr int kSteps[] = {1, 2, 3, 4, 5, 6, 10, 12, 15, 20, 30, 7};
    const int step = kSteps[below(std::size(kSteps))];
    const int low = first + below(last - first + 1);
    switch (below(4)) {
      case 0:
        return star(first, last, step);
      case 1: {
        const int high = low + below(last - low + 1);
        RandomField field{{}, absl::StrCat(low, "-", high, "/", step)};
        fill(low, high, step, field.numbers);
        return field;
      }
      default:
        return {{low}, absl::StrCat(low)};
    }
  }

  std::mt19937 random_;
};

struct Cron {
  RandomField minute, hour, day, month, weekday;

  explicit Cron(RandomCron& random)
      : minute(random.field(0, 59)),
        hour(random.field(0, 23)),
        day(random.field(1, 31)),
        month(random.field(1, 12)),
        weekday(random.field(0, 7)) {
    // Entries on a date are rare among all combinations.
    if (random.below(2) == 0) {
      weekday = {{0, 1, 2, 3, 4, 5, 6, 7}, "*"};
    }
  }

  std::string text() const {
    return absl::StrCat(minute.text, " ", hour.text, " ", day.text, " ", month.text, " ",
                        weekday.text);
  }

  CronFields fields() const {
    return parse_cron_fields({minute.text, hour.text, day.text, month.text, weekday.text});
  }

  bool matches(absl::CivilDay date) const {
    const int number = (static_cast<int>(absl::GetWeekday(date)) + 1) % 7;
    const bool by_week =
        weekday.numbers.contains(number) || (number == 0 && weekday.numbers.contains(7));
    const bool by_month = day.numbers.contains(date.day());
    const bool either = day.text[0] != '*' && weekday.text[0] != '*';
    return month.numbers.contains(date.month()) &&
           (either ? by_month || by_week : by_month && by_week);
  }
};

std::int64_t moment_of(absl::CivilDay day) {
  return (day - absl::CivilDay(1970, 1, 1)) * kDay;
}

// One sign for each day from `first` on, whether it is a run day.
template <typename IsRunDay>
std::string calendar(absl::CivilDay first, IsRunDay is_run_day) {
  std::string days;
  for (absl::CivilDay day = first; day < kEnd; ++day) {
    days += is_run_day(day) ? '1' : '0';
  }
  return days;
}

std::string calendar_of(const Schedule& schedule, absl::CivilDay first) {
  std::string days(static_cast<std::size_t>(kEnd - first), '0');
  const std::int64_t start = moment_of(first);
  std::int64_t after = start - 1;
  while (const auto next = next_run(schedule, absl::UTCTimeZone(), after)) {
    const auto day = static_cast<std::size_t>((*next - start) / kDay);
    if (day >= days.size()) {
      break;
    }
    days[day] = '1';
    after = start + static_cast<std::int64_t>(day + 1) * kDay - 1;
  }
  return days;
}

// The run days of every schedule, from the first day of the calendar on.
std::set<std::string> all_calendars() {
  std::set<std::string> calendars;
  Schedule schedule;
  for (int weekdays = 1; weekdays < 128; ++weekdays) {
    schedule.weekdays = static_cast<std::uint8_t>(weekdays);
    calendars.insert(calendar_of(schedule, kFirstDay));
  }
  schedule.type = Schedule::Type::kDate;
  for (schedule.date = kFirstDay; schedule.date < absl::CivilDay(2025, 1, 1); ++schedule.date) {
    for (const auto repeat :
         {Schedule::Repeat::kNever, Schedule::Repeat::kWeekly, Schedule::Repeat::kMonthly,
          Schedule::Repeat::kQuarterly, Schedule::Repeat::kHalfYearly, Schedule::Repeat::kYearly}) {
      schedule.repeat = repeat;
      calendars.insert(calendar_of(schedule, kFirstDay));
    }
  }
  return calendars;
}

bool evenly_spaced(const std::vector<int>& times) {
  for (std::size_t i = 2; i < times.size(); ++i) {
    if (times[i] - times[i - 1] != times[1] - times[0]) {
      return false;
    }
  }
  return true;
}

std::vector<int> times_of(const Cron& cron) {
  std::vector<int> times;
  for (int minute = 0; minute < kDay / kMinute; ++minute) {
    if (cron.hour.numbers.contains(minute / 60) && cron.minute.numbers.contains(minute % 60)) {
      times.push_back(minute);
    }
  }
  return times;
}

// The moments of two weeks by the schedule, and by the sets.
void expect_same_minutes(const Cron& cron, const Schedule& schedule, absl::CivilDay first) {
  const std::int64_t end = moment_of(first) + 14 * kDay;
  std::vector<std::int64_t> scheduled;
  for (auto next = next_run(schedule, absl::UTCTimeZone(), moment_of(first) - 1);
       next && *next < end; next = next_run(schedule, absl::UTCTimeZone(), *next)) {
    scheduled.push_back(*next);
  }
  std::vector<std::int64_t> matched;
  for (std::int64_t moment = moment_of(first); moment < end; moment += kMinute) {
    const auto wall = absl::ToCivilMinute(absl::FromUnixSeconds(moment), absl::UTCTimeZone());
    if (cron.minute.numbers.contains(wall.minute()) && cron.hour.numbers.contains(wall.hour()) &&
        cron.matches(absl::CivilDay(wall))) {
      matched.push_back(moment);
    }
  }
  EXPECT_EQ(scheduled, matched);
}

TEST(CronScheduleTest, IsExactWhereItIsAndRefusedWhereNoScheduleIs) {
  const std::set<std::string> calendars = all_calendars();
  RandomCron random(20240115);
  int accepted_dates = 0;
  int accepted_weeks = 0;
  int refused = 0;
  for (int round = 0; round < 4000; ++round) {
    const Cron cron(random);
    SCOPED_TRACE(cron.text());
    const auto is_run_day = [&](absl::CivilDay day) { return cron.matches(day); };
    try {
      const absl::CivilDay today = kFirstDay + random.below(1200);
      const Schedule schedule = schedule_of(cron.fields(), today);
      ASSERT_EQ(calendar_of(schedule, today), calendar(today, is_run_day));
      // From a run day or just before one, so that rare ones are looked at, too.
      const std::size_t day = calendar_of(schedule, today).find('1');
      expect_same_minutes(cron, schedule, today + static_cast<std::int64_t>(day) - random.below(2));
      ++(schedule.type == Schedule::Type::kDate ? accepted_dates : accepted_weeks);
    } catch (const Inexpressible& refusal) {
      ++refused;
      const std::string days = calendar(kFirstDay, is_run_day);
      EXPECT_TRUE(days.find('1') == std::string::npos || !calendars.contains(days) ||
                  !evenly_spaced(times_of(cron)))
          << refusal.what();
    }
    if (HasFailure()) {
      return;
    }
  }
  // The test has looked at enough of each.
  EXPECT_GT(accepted_dates, 50);
  EXPECT_GT(accepted_weeks, 200);
  EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace kavo
