#include <absl/strings/str_cat.h>
#include <gmock/gmock.h>

#include <limits>
#include <vector>

#include "schedule/fixture.h"

namespace kavo {
namespace {

constexpr char kFormat[] = "%E4Y-%m-%dT%H:%M:%S%Ez";
constexpr char kNever[] = "never";

// The runs that follow each other after a moment, as the clock of the zone shows them.
struct Row {
  const char* name;
  const char* zone;
  const char* section;
  const char* after;
  std::vector<std::string> runs;
};

std::int64_t moment(const std::string& text) {
  absl::Time time;
  std::string error;
  EXPECT_TRUE(absl::ParseTime(absl::RFC3339_sec, text, &time, &error)) << text << error;
  return absl::ToUnixSeconds(time);
}

std::string shown(std::optional<std::int64_t> run, const absl::TimeZone& zone) {
  return run ? absl::FormatTime(kFormat, absl::FromUnixSeconds(*run), zone) : kNever;
}

void check(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    const absl::TimeZone zone = zone_named(row.zone);
    const Schedule schedule = schedule_of(row.section);
    std::vector<std::string> runs;
    std::optional<std::int64_t> run = moment(row.after);
    while (run && runs.size() < row.runs.size()) {
      run = next_run(schedule, zone, *run);
      runs.push_back(shown(run, zone));
    }
    EXPECT_THAT(runs, testing::ElementsAreArray(row.runs)) << row.name;
  }
}

TEST(NextRunTest, RunTimesOfADay) {
  check({
      {"every day by default",
       "UTC",
       R"({})",
       "2024-02-28T00:00:00Z",
       {"2024-02-29T00:00:00+00:00", "2024-03-01T00:00:00+00:00"}},
      {"a second before",
       "UTC",
       R"({"hour":23,"min":59})",
       "2024-03-03T23:58:59Z",
       {"2024-03-03T23:59:00+00:00", "2024-03-04T23:59:00+00:00"}},
      {"weekdays",
       "UTC",
       R"({"week_name":"1,5","hour":8,"min":30})",
       "2024-03-01T08:30:00Z",
       {"2024-03-04T08:30:00+00:00", "2024-03-08T08:30:00+00:00", "2024-03-11T08:30:00+00:00"}},
      {"weekdays know no date",
       "UTC",
       R"({"week_name":"0","date":"2030-01-01"})",
       "2024-03-02T12:00:00Z",
       {"2024-03-03T00:00:00+00:00", "2024-03-10T00:00:00+00:00"}},
      {"an interval meets the last moment",
       "UTC",
       R"({"week_name":"2","hour":9,"repeat_hour":1,"repeat_min":30,"last_hour":12,"last_min":0})",
       "2024-03-05T08:00:00Z",
       {"2024-03-05T09:00:00+00:00", "2024-03-05T10:30:00+00:00", "2024-03-05T12:00:00+00:00",
        "2024-03-12T09:00:00+00:00"}},
      {"the last moment falls between",
       "UTC",
       R"({"hour":9,"repeat_min":20,"last_hour":9,"last_min":59})",
       "2024-03-05T09:20:30Z",
       {"2024-03-05T09:40:00+00:00", "2024-03-06T09:00:00+00:00"}},
      {"the last moment is the first",
       "UTC",
       R"({"hour":9,"min":7,"repeat_min":1,"last_hour":9,"last_min":7})",
       "2024-03-05T09:07:00Z",
       {"2024-03-06T09:07:00+00:00", "2024-03-07T09:07:00+00:00"}},
      {"an interval starts anew each day",
       "UTC",
       R"({"repeat_hour":7})",
       "2024-12-31T13:59:59Z",
       {"2024-12-31T14:00:00+00:00", "2024-12-31T21:00:00+00:00", "2025-01-01T00:00:00+00:00"}},
      {"no interval, and a last moment before",
       "UTC",
       R"({"hour":9,"last_hour":3})",
       "2024-03-05T09:00:00Z",
       {"2024-03-06T09:00:00+00:00"}},
      {"the weekday of the zone",
       "Asia/Kolkata",
       R"({"week_name":"1"})",
       "2024-03-03T18:29:59Z",
       {"2024-03-04T00:00:00+05:30", "2024-03-11T00:00:00+05:30"}},
      {"the last second of 31 bits",
       "UTC",
       R"({"repeat_min":1})",
       "2038-01-19T03:14:07Z",
       {"2038-01-19T03:15:00+00:00", "2038-01-19T03:16:00+00:00"}},
  });
}

TEST(NextRunTest, RunDaysFromADate) {
  check({
      {"once",
       "UTC",
       R"({"type":"date","date":"2024-05-05","hour":6})",
       "2024-01-01T00:00:00Z",
       {"2024-05-05T06:00:00+00:00", kNever}},
      {"once, at intervals",
       "UTC",
       R"({"type":"date","date":"2024-05-05","hour":6,"repeat_hour":9})",
       "2024-05-05T05:00:00Z",
       {"2024-05-05T06:00:00+00:00", "2024-05-05T15:00:00+00:00", kNever}},
      {"daily, none before the date",
       "UTC",
       R"({"type":"date","date":"2024-05-05","repeat":"daily"})",
       "2024-01-01T00:00:00Z",
       {"2024-05-05T00:00:00+00:00", "2024-05-06T00:00:00+00:00"}},
      {"weekly",
       "UTC",
       R"({"type":"date","date":"2024-01-31","repeat":"weekly"})",
       "2024-01-31T00:00:00Z",
       {"2024-02-07T00:00:00+00:00", "2024-02-14T00:00:00+00:00"}},
      {"weekly, years later",
       "UTC",
       R"({"type":"date","date":"2024-01-31","repeat":"weekly"})",
       "2031-06-10T12:00:00Z",
       {"2031-06-11T00:00:00+00:00", "2031-06-18T00:00:00+00:00"}},
      {"monthly on the 31st",
       "UTC",
       R"({"type":"date","date":"2024-01-31","repeat":"monthly"})",
       "2024-01-31T00:00:00Z",
       {"2024-02-29T00:00:00+00:00", "2024-03-31T00:00:00+00:00", "2024-04-30T00:00:00+00:00",
        "2024-05-31T00:00:00+00:00"}},
      {"monthly on the 30th",
       "UTC",
       R"({"type":"date","date":"2024-12-30","repeat":"monthly","hour":1,"repeat_hour":20})",
       "2025-01-30T21:00:00Z",
       {"2025-02-28T01:00:00+00:00", "2025-02-28T21:00:00+00:00", "2025-03-30T01:00:00+00:00"}},
      {"quarterly",
       "UTC",
       R"({"type":"date","date":"2023-11-30","repeat":"quarterly"})",
       "2024-01-01T00:00:00Z",
       {"2024-02-29T00:00:00+00:00", "2024-05-30T00:00:00+00:00", "2024-08-30T00:00:00+00:00",
        "2024-11-30T00:00:00+00:00", "2025-02-28T00:00:00+00:00"}},
      {"half-yearly",
       "UTC",
       R"({"type":"date","date":"2023-08-31","repeat":"half_yearly"})",
       "2023-08-31T00:00:00Z",
       {"2024-02-29T00:00:00+00:00", "2024-08-31T00:00:00+00:00", "2025-02-28T00:00:00+00:00"}},
      {"yearly",
       "UTC",
       R"({"type":"date","date":"2023-12-31","repeat":"yearly"})",
       "2023-12-31T00:00:00Z",
       {"2024-12-31T00:00:00+00:00", "2025-12-31T00:00:00+00:00"}},
      {"yearly on a leap day",
       "UTC",
       R"({"type":"date","date":"2024-02-29","repeat":"yearly"})",
       "2026-03-01T00:00:00Z",
       {"2027-02-28T00:00:00+00:00", "2028-02-29T00:00:00+00:00", "2029-02-28T00:00:00+00:00"}},
      {"eight years between leap days",
       "UTC",
       R"({"type":"date","date":"2096-02-29","repeat":"yearly"})",
       "2099-12-31T00:00:00Z",
       {"2100-02-28T00:00:00+00:00", "2101-02-28T00:00:00+00:00", "2102-02-28T00:00:00+00:00",
        "2103-02-28T00:00:00+00:00", "2104-02-29T00:00:00+00:00"}},
      {"the date of the zone",
       "Pacific/Auckland",
       R"({"type":"date","date":"2024-03-31","repeat":"monthly"})",
       "2024-03-30T10:59:59Z",
       {"2024-03-31T00:00:00+13:00", "2024-04-30T00:00:00+12:00"}},
  });
}

TEST(NextRunTest, TheEndOfTheCalendar) {
  check({
      {"the last day",
       "UTC",
       R"({"type":"date","date":"9999-12-31","repeat":"daily","hour":23,"min":59})",
       "2024-01-01T00:00:00Z",
       {"9999-12-31T23:59:00+00:00", kNever}},
      {"weekdays",
       "Pacific/Kiritimati",
       R"({"hour":12})",
       "9999-12-29T22:00:00Z",
       {"9999-12-31T12:00:00+14:00", kNever}},
      {"monthly",
       "America/New_York",
       R"({"type":"date","date":"2000-01-31","repeat":"monthly","hour":22})",
       "9999-12-01T12:00:00Z",
       {"9999-12-31T22:00:00-05:00", kNever}},
      {"yearly",
       "Europe/Berlin",
       R"({"type":"date","date":"2000-02-29","repeat":"yearly"})",
       "9999-02-01T00:00:00Z",
       {"9999-02-28T00:00:00+01:00", kNever}},
  });
}

TEST(NextRunTest, AnyMomentMayBeAskedAbout) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (const char* name : {"UTC", "America/New_York", "Pacific/Apia"}) {
    const absl::TimeZone zone = zone_named(name);
    for (const char* repeat : {"never", "daily", "weekly", "monthly", "yearly"}) {
      const Schedule dated = schedule_of(
          absl::StrCat(R"({"type":"date","date":"2001-02-03","repeat":")", repeat, R"("})"));
      EXPECT_EQ(next_run(dated, zone, kMin), next_run(dated, zone, 0)) << name << repeat;
      EXPECT_EQ(next_run(dated, zone, kMax), std::nullopt) << name << repeat;
    }
    const std::optional<std::int64_t> first = next_run(schedule_of("{}"), zone, kMin);
    ASSERT_TRUE(first);
    EXPECT_GE(*first, 0);
    EXPECT_LT(*first, 86400);
    EXPECT_EQ(next_run(schedule_of("{}"), zone, kMax), std::nullopt);
  }
}

TEST(NextRunTest, AGapOfTheClock) {
  check({
      {"one run in it",
       "Europe/Berlin",
       R"({"hour":2,"min":30})",
       "2024-03-29T12:00:00Z",
       {"2024-03-30T02:30:00+01:00", "2024-03-31T03:00:00+02:00", "2024-04-01T02:30:00+02:00"}},
      {"several, and one at its end",
       "Europe/Berlin",
       R"({"hour":1,"min":30,"repeat_min":15,"last_hour":3,"last_min":15})",
       "2024-03-30T23:00:00Z",
       {"2024-03-31T01:30:00+01:00", "2024-03-31T01:45:00+01:00", "2024-03-31T03:00:00+02:00",
        "2024-03-31T03:15:00+02:00", "2024-04-01T01:30:00+02:00"}},
      {"all of them",
       "Europe/Berlin",
       R"({"hour":2,"min":10,"repeat_min":10,"last_hour":2,"last_min":50})",
       "2024-03-31T00:00:00Z",
       {"2024-03-31T03:00:00+02:00", "2024-04-01T02:10:00+02:00"}},
      {"once only, in it",
       "America/New_York",
       R"({"type":"date","date":"2024-03-10","hour":2,"min":59})",
       "2024-03-10T00:00:00Z",
       {"2024-03-10T03:00:00-04:00", kNever}},
      {"the south",
       "Australia/Sydney",
       R"({"hour":2,"repeat_hour":1,"last_hour":3,"last_min":0})",
       "2024-10-05T12:00:00Z",
       {"2024-10-06T03:00:00+11:00", "2024-10-07T02:00:00+11:00", "2024-10-07T03:00:00+11:00"}},
      {"beyond 2037",
       "Europe/Berlin",
       R"({"hour":2,"min":30})",
       "2045-03-24T12:00:00Z",
       {"2045-03-25T02:30:00+01:00", "2045-03-26T03:00:00+02:00", "2045-03-27T02:30:00+02:00"}},
      {"30 minutes",
       "Australia/Lord_Howe",
       R"({"repeat_min":15})",
       "2024-10-05T15:00:00Z",
       {"2024-10-06T01:45:00+10:30", "2024-10-06T02:30:00+11:00", "2024-10-06T02:45:00+11:00"}},
      {"two hours",
       "Antarctica/Troll",
       R"({"min":30,"repeat_hour":1})",
       "2024-03-31T00:00:00Z",
       {"2024-03-31T00:30:00+00:00", "2024-03-31T03:00:00+02:00", "2024-03-31T03:30:00+02:00"}},
      {"at midnight",
       "America/Sao_Paulo",
       R"({})",
       "2018-11-03T00:00:00-03:00",
       {"2018-11-04T01:00:00-02:00", "2018-11-05T00:00:00-02:00"}},
      {"past midnight",
       "Asia/Beirut",
       R"({"min":15})",
       "2024-03-29T22:15:00Z",
       {"2024-03-31T01:00:00+03:00", "2024-04-01T00:15:00+03:00"}},
      {"at midnight, the last of a month",
       "Asia/Beirut",
       R"({"type":"date","date":"2024-01-31","repeat":"monthly"})",
       "2024-02-28T22:00:00Z",
       {"2024-03-31T01:00:00+03:00", "2024-04-30T00:00:00+03:00"}},
      {"up to midnight, and on",
       "Africa/Cairo",
       R"({"min":0,"repeat_hour":23,"repeat_min":30})",
       "2024-04-25T20:00:00Z",
       {"2024-04-25T23:30:00+02:00", "2024-04-26T01:00:00+03:00", "2024-04-26T23:30:00+03:00"}},
  });
}

TEST(NextRunTest, ADayThatTheClockLeavesOut) {
  check({
      {"noon",
       "Pacific/Apia",
       R"({"hour":12})",
       "2011-12-28T00:00:00Z",
       {"2011-12-28T12:00:00-10:00", "2011-12-29T12:00:00-10:00", "2011-12-31T00:00:00+14:00",
        "2011-12-31T12:00:00+14:00"}},
      {"midnight meets the next day's",
       "Pacific/Apia",
       R"({})",
       "2011-12-29T00:00:00-10:00",
       {"2011-12-31T00:00:00+14:00", "2012-01-01T00:00:00+14:00"}},
      {"its weekday",
       "Pacific/Apia",
       R"({"week_name":"5","hour":12,"repeat_hour":1})",
       "2011-12-23T22:30:00-10:00",
       {"2011-12-23T23:00:00-10:00", "2011-12-31T00:00:00+14:00", "2012-01-06T12:00:00+14:00"}},
      {"its date",
       "Pacific/Apia",
       R"({"type":"date","date":"2011-12-30","hour":8})",
       "2011-12-01T00:00:00Z",
       {"2011-12-31T00:00:00+14:00", kNever}},
      {"its day of the month",
       "Pacific/Apia",
       R"({"type":"date","date":"2011-11-30","repeat":"monthly","hour":8})",
       "2011-12-01T00:00:00Z",
       {"2011-12-31T00:00:00+14:00", "2012-01-30T08:00:00+14:00"}},
      {"another one",
       "Pacific/Kwajalein",
       R"({"hour":8})",
       "1993-08-20T00:00:00-12:00",
       {"1993-08-20T08:00:00-12:00", "1993-08-22T00:00:00+12:00", "1993-08-22T08:00:00+12:00"}},
  });
}

TEST(NextRunTest, APeriodThatTheClockRepeats) {
  check({
      {"one run a day",
       "Europe/Berlin",
       R"({"hour":2,"min":30})",
       "2024-10-26T12:00:00Z",
       {"2024-10-27T02:30:00+02:00", "2024-10-28T02:30:00+01:00"}},
      {"asked within the second pass",
       "Europe/Berlin",
       R"({"hour":2,"min":30})",
       "2024-10-27T02:10:00+01:00",
       {"2024-10-28T02:30:00+01:00"}},
      {"once only",
       "Europe/Berlin",
       R"({"type":"date","date":"2024-10-27","hour":2})",
       "2024-10-27T01:59:59+02:00",
       {"2024-10-27T02:00:00+02:00", kNever}},
      {"a longer interval",
       "Europe/Berlin",
       R"({"hour":1,"repeat_hour":1,"repeat_min":30})",
       "2024-10-27T01:00:00+02:00",
       {"2024-10-27T02:30:00+02:00", "2024-10-27T04:00:00+01:00", "2024-10-27T05:30:00+01:00"}},
      {"an interval as long",
       "Europe/Berlin",
       R"({"min":30,"repeat_hour":1})",
       "2024-10-27T00:30:00+02:00",
       {"2024-10-27T01:30:00+02:00", "2024-10-27T02:30:00+02:00", "2024-10-27T02:30:00+01:00",
        "2024-10-27T03:30:00+01:00"}},
      {"the last moment within",
       "Europe/Berlin",
       R"({"hour":2,"repeat_min":30,"last_hour":2,"last_min":30})",
       "2024-10-27T01:00:00+02:00",
       {"2024-10-27T02:00:00+02:00", "2024-10-27T02:30:00+02:00", "2024-10-27T02:00:00+01:00",
        "2024-10-27T02:30:00+01:00", "2024-10-28T02:00:00+01:00"}},
      {"the first run within, asked after it",
       "Europe/Berlin",
       R"({"type":"date","date":"2024-10-27","hour":2,"min":45,"repeat_min":45})",
       "2024-10-27T02:50:00+02:00",
       {"2024-10-27T02:45:00+01:00", "2024-10-27T03:30:00+01:00"}},
      {"beyond 2037",
       "Europe/Berlin",
       R"({"hour":2,"min":30,"repeat_hour":1})",
       "2045-10-29T02:00:00+02:00",
       {"2045-10-29T02:30:00+02:00", "2045-10-29T02:30:00+01:00", "2045-10-29T03:30:00+01:00"}},
      {"the west",
       "America/New_York",
       R"({"hour":1,"min":30})",
       "2024-11-02T12:00:00Z",
       {"2024-11-03T01:30:00-04:00", "2024-11-04T01:30:00-05:00"}},
      {"the south",
       "Australia/Sydney",
       R"({"repeat_hour":1})",
       "2024-04-07T01:00:00+11:00",
       {"2024-04-07T02:00:00+11:00", "2024-04-07T02:00:00+10:00", "2024-04-07T03:00:00+10:00"}},
      {"30 minutes, hourly",
       "Australia/Lord_Howe",
       R"({"min":45,"repeat_hour":1})",
       "2024-04-07T01:00:00+11:00",
       {"2024-04-07T01:45:00+11:00", "2024-04-07T02:45:00+10:30", "2024-04-07T03:45:00+10:30"}},
      {"30 minutes, half-hourly",
       "Australia/Lord_Howe",
       R"({"repeat_min":30})",
       "2024-04-07T01:00:00+11:00",
       {"2024-04-07T01:30:00+11:00", "2024-04-07T01:30:00+10:30", "2024-04-07T02:00:00+10:30"}},
      {"two hours, every two",
       "Antarctica/Troll",
       R"({"repeat_hour":2})",
       "2024-10-27T00:00:00+02:00",
       {"2024-10-27T02:00:00+02:00", "2024-10-27T02:00:00+00:00", "2024-10-27T04:00:00+00:00"}},
      {"two hours, longer",
       "Antarctica/Troll",
       R"({"repeat_hour":2,"repeat_min":30})",
       "2024-10-27T00:00:00+02:00",
       {"2024-10-27T02:30:00+02:00", "2024-10-27T05:00:00+00:00"}},
      {"before midnight",
       "America/Sao_Paulo",
       R"({"hour":23,"min":30})",
       "2018-02-16T12:00:00-02:00",
       {"2018-02-16T23:30:00-02:00", "2018-02-17T23:30:00-02:00", "2018-02-18T23:30:00-03:00"}},
      {"before midnight, at intervals",
       "America/Sao_Paulo",
       R"({"week_name":"6","hour":23,"repeat_min":30})",
       "2018-02-17T12:00:00-02:00",
       {"2018-02-17T23:00:00-02:00", "2018-02-17T23:30:00-02:00", "2018-02-17T23:00:00-03:00",
        "2018-02-17T23:30:00-03:00", "2018-02-24T23:00:00-03:00"}},
      {"at the midnight that ends it",
       "America/Sao_Paulo",
       R"({})",
       "2018-02-17T00:00:00-02:00",
       {"2018-02-18T00:00:00-03:00", "2018-02-19T00:00:00-03:00"}},
      {"before midnight, in the east",
       "Asia/Beirut",
       R"({"hour":23})",
       "2024-10-25T23:00:00+03:00",
       {"2024-10-26T23:00:00+03:00", "2024-10-27T23:00:00+02:00"}},
      {"from midnight",
       "America/Havana",
       R"({})",
       "2024-11-02T12:00:00-04:00",
       {"2024-11-03T00:00:00-04:00", "2024-11-04T00:00:00-05:00"}},
  });
}

}  // namespace
}  // namespace kavo
