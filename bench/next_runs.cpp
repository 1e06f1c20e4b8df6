// How long one next run takes to work out, and how many are worked out a second, in Europe/Berlin.

#include <absl/time/time.h>
#include <benchmark/benchmark.h>

#include "schedule/schedule.h"

namespace {

kavo::Schedule weekly(int hour, int repeat_minute, std::uint8_t weekdays = 0x7f) {
  kavo::Schedule schedule;
  schedule.hour = hour;
  schedule.repeat_minute = repeat_minute;
  schedule.weekdays = weekdays;
  return schedule;
}

kavo::Schedule dated(kavo::Schedule::Repeat repeat, const absl::CivilDay& date) {
  kavo::Schedule schedule;
  schedule.type = kavo::Schedule::Type::kDate;
  schedule.repeat = repeat;
  schedule.date = date;
  return schedule;
}

void next_run(benchmark::State& state, const kavo::Schedule& schedule,
              const absl::CivilMinute& after) {
  absl::TimeZone zone;
  if (!absl::LoadTimeZone("Europe/Berlin", &zone)) {
    state.SkipWithError("There is no such zone");
    return;
  }
  std::int64_t moment = absl::ToUnixSeconds(absl::FromCivil(after, zone));
  for ([[maybe_unused]] const auto iteration : state) {
    benchmark::DoNotOptimize(moment);
    benchmark::DoNotOptimize(kavo::next_run(schedule, zone, moment));
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

using Repeat = kavo::Schedule::Repeat;
constexpr std::uint8_t kMondays = 1 << 1;

BENCHMARK_CAPTURE(next_run, daily, weekly(3, 0), absl::CivilMinute(2026, 11, 5, 12, 0));
BENCHMARK_CAPTURE(next_run, every_5_minutes, weekly(0, 5), absl::CivilMinute(2026, 11, 5, 12, 0));
BENCHMARK_CAPTURE(next_run, every_5_minutes_of_mondays, weekly(0, 5, kMondays),
                  absl::CivilMinute(2026, 11, 9, 23, 57));
BENCHMARK_CAPTURE(next_run, every_minute_of_the_repeated_hour, weekly(0, 1),
                  absl::CivilMinute(2026, 10, 25, 2, 30));
BENCHMARK_CAPTURE(next_run, monthly_on_the_31st,
                  dated(Repeat::kMonthly, absl::CivilDay(2024, 1, 31)),
                  absl::CivilMinute(2026, 11, 5, 12, 0));
BENCHMARK_CAPTURE(next_run, yearly_on_29_february,
                  dated(Repeat::kYearly, absl::CivilDay(2024, 2, 29)),
                  absl::CivilMinute(2028, 3, 1, 0, 0));

}  // namespace

BENCHMARK_MAIN();
