// Random time fields, made from sets and printed in several ways: the runs of the schedules they
// give against the sets themselves.

#include "crontab/cron_schedule.h"

#include <absl/strings/str_cat.h>
#include <gmock/gmock.h>

#include <random>
#include <set>

#include "crontab/inexpressible.h"
#include "schedule/schedule.h"

namespace kavo {
namespace {

// A field, as a text and as the set that is meant.
struct RandomField {
  std::string text;
  std::set<int> numbers;
};

class RandomCron {
 public:
  int below(int end) { return static_cast<int>(random_() % static_cast<unsigned>(end)); }

  RandomField field(int first, int last) {
    if (below(3) == 0) return stepped("*", first, last, 1);
    RandomField field = item(first, last);
    for (int more = below(3) * below(2); more > 0; --more) {
      const RandomField next = item(first, last);
      field.text += "," + next.text;
      field.numbers.insert(next.numbers.begin(), next.numbers.end());
    }
    return field;
  }

 private:
  RandomField item(int first, int last) {
    constexpr int kSteps[] = {1, 2, 3, 4, 5, 6, 10, 12, 15, 20, 30, 7};
    const int step = kSteps[below(std::size(kSteps))];
    const int low = first + below(last - first + 1);
    const int high = low + below(last - low + 1);
    const int kind = below(4);
    if (kind == 0) return stepped(absl::StrCat("*/", step), first, last, step);
    if (kind == 1) return stepped(absl::StrCat(low, "-", high, "/", step), low, high, step);
    return {absl::StrCat(low), {low}};
  }
  static RandomField stepped(const std::string& text, int low, int high, int step) {
    RandomField field{text, {}};
    for (int i = low; i <= high; i += step) field.numbers.insert(i);
    return field;
  }

  std::mt19937 random_{20240115};
};

struct Cron {
  RandomField minute, hour, day, month, weekday;

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
  return (day - absl::CivilDay(1970, 1, 1)) * 86400;
}

// Follows the runs of eight years, or the first 3000.
void expect_same_runs(const Cron& cron, const Schedule& schedule, absl::CivilDay today) {
  const absl::TimeZone utc = absl::UTCTimeZone();
  const absl::CivilDay end = today + 8 * 366;
  std::int64_t latest = moment_of(today) - 1;
  int runs = 0;
  for (absl::CivilDay day = today; day < end && runs < 3000; ++day) {
    if (!cron.matches(day)) continue;
    for (const int hour : cron.hour.numbers) {
      for (const int minute : cron.minute.numbers) {
        const std::int64_t run = moment_of(day) + (hour * 60 + minute) * 60;
        ASSERT_EQ(next_run(schedule, utc, latest), run) << day;
        latest = run;
        ++runs;
      }
    }
  }
  if (runs < 3000) {
    ASSERT_GE(next_run(schedule, utc, latest), moment_of(end));
  }
}

TEST(CronScheduleTest, RunsWhenTheEntryDoes) {
  RandomCron random;
  int dates = 0, weeks = 0;
  for (int round = 0; round < 4000 && !testing::Test::HasFailure(); ++round) {
    Cron cron{random.field(0, 59), random.field(0, 23), random.field(1, 31), random.field(1, 12),
              random.field(0, 7)};
    // Entries on a date are rare among all combinations.
    if (random.below(2) == 0) cron.weekday = {"*", {0, 1, 2, 3, 4, 5, 6, 7}};
    const std::array<std::string_view, 5> texts{cron.minute.text, cron.hour.text, cron.day.text,
                                                cron.month.text, cron.weekday.text};
    SCOPED_TRACE(testing::PrintToString(texts));
    const absl::CivilDay today = absl::CivilDay(2023, 1, 1) + random.below(1200);
    try {
      const Schedule schedule = schedule_of(parse_cron_fields(texts), today);
      expect_same_runs(cron, schedule, today);
      ++(schedule.type == Schedule::Type::kDate ? dates : weeks);
    } catch (const Inexpressible&) {
      // Which entries no schedule expresses is told by rows of their own.
    }
  }
  // Enough of each can be expressed.
  EXPECT_GT(dates, 50);
  EXPECT_GT(weeks, 200);
}

}  // namespace
}  // namespace kavo
