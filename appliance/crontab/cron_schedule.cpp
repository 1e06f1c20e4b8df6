#include "crontab/cron_schedule.h"

#include <absl/strings/str_format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "crontab/inexpressible.h"

namespace kavo {
namespace {

constexpr int kMinutesOfHour = 60;
constexpr int kMonthsOfYear = 12;
constexpr int kLeapYear = 2000;
constexpr int kFebruary = 2;

std::vector<int> members(const CronFields::Numbers& numbers) {
  std::vector<int> result;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (numbers.test(i)) {
      result.push_back(static_cast<int>(i));
    }
  }
  return result;
}

std::string clock_time(int minute_of_day) {
  return absl::StrFormat("%02d:%02d", minute_of_day / kMinutesOfHour,
                         minute_of_day % kMinutesOfHour);
}

// The minutes of a run day, ascending.
std::vector<int> run_times(const CronFields& fields) {
  std::vector<int> times;
  for (const int hour : members(fields.hours)) {
    for (const int minute : members(fields.minutes)) {
      times.push_back(hour * kMinutesOfHour + minute);
    }
  }
  return times;
}

void set_run_times(const CronFields& fields, Schedule& schedule) {
  const std::vector<int> times = run_times(fields);
  schedule.hour = times.front() / kMinutesOfHour;
  schedule.minute = times.front() % kMinutesOfHour;
  if (times.size() == 1) {
    return;
  }
  const int interval = times[1] - times[0];
  for (std::size_t i = 2; i < times.size(); ++i) {
    if (times[i] - times[i - 1] != interval) {
      throw Inexpressible("the times of the day are not evenly spaced: " + clock_time(times[0]) +
                          " and " + clock_time(times[1]) + ", but " + clock_time(times[i - 1]) +
                          " and " + clock_time(times[i]));
    }
  }
  schedule.repeat_hour = interval / kMinutesOfHour;
  schedule.repeat_minute = interval % kMinutesOfHour;
  schedule.last_hour = times.back() / kMinutesOfHour;
  schedule.last_minute = times.back() % kMinutesOfHour;
}

int days_of(int month) {
  return (absl::CivilDay(absl::CivilMonth(kLeapYear, month) + 1) - 1).day();
}

// The months that have one of the days, and which day that is. A day that a month lacks is left
// out: there a cron does not run, where a schedule would on the month's last day.
struct MonthDays {
  std::vector<int> months;
  int day = 0;
};

MonthDays month_days(const CronFields& fields) {
  MonthDays result;
  for (const int month : members(fields.months)) {
    for (const int day : members(fields.days)) {
      if (day > days_of(month)) {
        break;
      }
      if (!result.months.empty() && result.months.back() == month) {
        throw Inexpressible("a schedule has one day of a month, not several");
      }
      if (month == kFebruary && day == days_of(kFebruary)) {
        throw Inexpressible("29 February: a schedule runs on the 28th when there is none");
      }
      result.months.push_back(month);
      result.day = day;
    }
  }
  if (result.months.empty()) {
    throw Inexpressible("it never runs: there is no such date");
  }
  return result;
}

Schedule::Repeat repeat_of(const std::vector<int>& months) {
  const int count = static_cast<int>(months.size());
  const int step = kMonthsOfYear / count;
  for (int i = 1; i < count; ++i) {
    if (count * step != kMonthsOfYear || months[i] - months[i - 1] != step) {
      throw Inexpressible(
          "in the months that have the day, it is not due every one, three, six or twelve months");
    }
  }
  switch (step) {
    case 1:
      return Schedule::Repeat::kMonthly;
    case 3:
      return Schedule::Repeat::kQuarterly;
    case 6:
      return Schedule::Repeat::kHalfYearly;
    case 12:
      return Schedule::Repeat::kYearly;
    default:
      throw Inexpressible("a schedule does not repeat every " + std::to_string(step) + " months");
  }
}

void set_dates(const CronFields& fields, absl::CivilDay today, Schedule& schedule) {
  const MonthDays dates = month_days(fields);
  schedule.type = Schedule::Type::kDate;
  schedule.repeat = repeat_of(dates.months);
  for (absl::CivilMonth month(today);; ++month) {
    const absl::CivilDay date = absl::CivilDay(month) + (dates.day - 1);
    if (date >= today &&
        std::find(dates.months.begin(), dates.months.end(), month.month()) != dates.months.end()) {
      schedule.date = date;
      return;
    }
  }
}

void set_run_days(const CronFields& fields, absl::CivilDay today, Schedule& schedule) {
  const bool all_days = fields.days.count() == 31;
  const bool all_weekdays = fields.weekdays.count() == 7;
  schedule.date = today;
  if (fields.either_day && !all_days && !all_weekdays) {
    throw Inexpressible("it runs on days of the month and on days of the week as well");
  }
  const bool every_day = fields.either_day || (all_days && all_weekdays);
  if (!every_day && !all_days && !all_weekdays) {
    throw Inexpressible("it runs on days that match by month and by week at once");
  }
  if (!every_day && !all_days) {
    set_dates(fields, today, schedule);
    return;
  }
  if (fields.months.count() != kMonthsOfYear) {
    throw Inexpressible("it runs on several days of some months only");
  }
  schedule.weekdays = static_cast<std::uint8_t>(every_day ? 0x7f : fields.weekdays.to_ulong());
}

}  // namespace

Schedule schedule_of(const CronFields& fields, absl::CivilDay today) {
  Schedule schedule;
  set_run_times(fields, schedule);
  set_run_days(fields, today, schedule);
  return schedule;
}

}  // namespace kavo
