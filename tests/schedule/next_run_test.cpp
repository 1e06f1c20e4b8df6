// Rows of the runs that follow each other after a moment.
#include <absl/strings/str_cat.h>
#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>

#include <limits>
#include <vector>

#include "schedule/fixture.h"

namespace kavo {
namespace {

// The runs are those after `after`, as the clock of the zone shows them.
struct Row {
  const char* zone;
  const char* schedule;
  const char* after;
  std::string runs;
};

void check(const char* format, const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    const absl::TimeZone zone = zone_named(row.zone);
    const Schedule schedule = schedule_of_words(row.schedule);
    absl::Time after;
    ASSERT_TRUE(absl::ParseTime("%Y-%m-%d %H:%M:%S%Ez", row.after, &after, nullptr) ||
                absl::ParseTime("%Y-%m-%d %H:%M%Ez", row.after, &after, nullptr));
    std::optional<std::int64_t> run = absl::ToUnixSeconds(after);
    std::vector<std::string> runs = absl::StrSplit(row.runs, ", ");
    for (std::string& shown : runs) {
      run = run ? next_run(schedule, zone, *run) : run;
      shown = run ? absl::FormatTime(format, absl::FromUnixSeconds(*run), zone) : "never";
    }
    EXPECT_EQ(absl::StrJoin(runs, ", "), row.runs) << row.zone << " " << row.schedule;
  }
}

// clang-format off
TEST(NextRunTest, RunTimesAndRunDays) {
  check("%y-%m-%d %H:%M", {
      {"UTC", "", "2024-02-28 00:00Z", "24-02-29 00:00, 24-03-01 00:00"},
      {"UTC", "23:59", "2024-03-03 23:58:59Z", "24-03-03 23:59, 24-03-04 23:59"},
      {"UTC", "w1,5 8:30", "2024-03-01 08:30Z", "24-03-04 08:30, 24-03-08 08:30, 24-03-11 08:30"},
      {"UTC", "w0 2030-01-01", "2024-03-02 12:00Z", "24-03-03 00:00, 24-03-10 00:00"},
      {"UTC", "w2 9:00 /1:30 -12:00", "2024-03-05 09:00Z", "24-03-05 10:30, 24-03-05 12:00, 24-03-12 09:00"},
      {"UTC", "9:00 /0:20 -9:59", "2024-03-05 09:20:30Z", "24-03-05 09:40, 24-03-06 09:00"},
      {"UTC", "9:07 /0:01 -9:07", "2024-03-05 09:07Z", "24-03-06 09:07, 24-03-07 09:07"},
      {"UTC", "/7:00", "2024-12-31 13:59:59Z", "24-12-31 14:00, 24-12-31 21:00, 25-01-01 00:00"},
      {"UTC", "9:00 -3:59", "2024-03-05 09:00Z", "24-03-06 09:00"},
      {"Asia/Kolkata", "w1", "2024-03-03 18:29:59Z", "24-03-04 00:00, 24-03-11 00:00"},
      {"UTC", "/0:01", "2038-01-19 03:14:07Z", "38-01-19 03:15, 38-01-19 03:16"},
      {"UTC", "2024-05-05 6:00", "2024-01-01 00:00Z", "24-05-05 06:00, never"},
      {"UTC", "2024-05-05 6:00 /9:00", "2024-05-05 05:00Z", "24-05-05 06:00, 24-05-05 15:00, never"},
      {"UTC", "2024-05-05 daily", "2024-01-01 00:00Z", "24-05-05 00:00, 24-05-06 00:00"},
      {"UTC", "2024-01-31 weekly", "2024-01-31 00:00Z", "24-02-07 00:00, 24-02-14 00:00"},
      {"UTC", "2024-01-31 weekly", "2031-06-10 12:00Z", "31-06-11 00:00, 31-06-18 00:00"},
      {"UTC", "2024-01-31 monthly", "2024-01-31 00:00Z", "24-02-29 00:00, 24-03-31 00:00, 24-04-30 00:00"},
      {"UTC", "2024-12-30 monthly 1:00 /20:00", "2025-01-30 21:00Z", "25-02-28 01:00, 25-02-28 21:00, 25-03-30 01:00"},
      {"UTC", "2023-11-30 quarterly", "2024-03-01 00:00Z", "24-05-30 00:00, 24-08-30 00:00, 24-11-30 00:00, 25-02-28 00:00"},
      {"UTC", "2023-08-31 half_yearly", "2023-08-31 00:00Z", "24-02-29 00:00, 24-08-31 00:00, 25-02-28 00:00"},
      {"UTC", "2023-12-31 yearly", "2023-12-31 00:00Z", "24-12-31 00:00, 25-12-31 00:00"},
      {"UTC", "2024-02-29 yearly", "2026-03-01 00:00Z", "27-02-28 00:00, 28-02-29 00:00, 29-02-28 00:00"},
      {"UTC", "2096-02-29 yearly", "2099-12-31 00:00Z", "00-02-28 00:00, 01-02-28 00:00, 02-02-28 00:00, "
                                                        "03-02-28 00:00, 04-02-29 00:00"},
      {"Pacific/Auckland", "2024-03-31 monthly", "2024-03-30 10:59:59Z", "24-03-31 00:00, 24-04-30 00:00"},
      // The end of the calendar.
      {"UTC", "9999-12-31 daily 23:59", "2024-01-01 00:00Z", "99-12-31 23:59, never"},
      {"Pacific/Kiritimati", "12:00", "9999-12-29 22:00Z", "99-12-31 12:00, never"},
      {"America/New_York", "2000-01-31 monthly 22:00", "9999-12-01 12:00Z", "99-12-31 22:00, never"},
      {"Europe/Berlin", "2000-02-29 yearly", "9999-02-01 00:00Z", "99-02-28 00:00, never"},
  });
}

TEST(NextRunTest, AGapOfTheClock) {
  check("%d %H:%M%z", {
      {"Europe/Berlin", "2:30", "2024-03-29 12:00Z", "30 02:30+0100, 31 03:00+0200, 01 02:30+0200"},
      {"Europe/Berlin", "1:30 /0:15 -3:15", "2024-03-31 00:30Z", "31 01:45+0100, 31 03:00+0200, 31 03:15+0200, 01 01:30+0200"},
      {"Europe/Berlin", "2:10 /0:10 -2:50", "2024-03-31 00:00Z", "31 03:00+0200, 01 02:10+0200"},
      {"America/New_York", "2024-03-10 2:59", "2024-03-10 00:00Z", "10 03:00-0400, never"},
      {"Australia/Sydney", "2:00 /1:00 -3:00", "2024-10-05 12:00Z", "06 03:00+1100, 07 02:00+1100, 07 03:00+1100"},
      {"Europe/Berlin", "2:30", "2045-03-24 12:00Z", "25 02:30+0100, 26 03:00+0200, 27 02:30+0200"},
      {"Australia/Lord_Howe", "/0:15", "2024-10-05 15:00Z", "06 01:45+1030, 06 02:30+1100, 06 02:45+1100"},
      {"Antarctica/Troll", "0:30 /1:00", "2024-03-31 00:00Z", "31 00:30+0000, 31 03:00+0200, 31 03:30+0200"},
      {"America/Sao_Paulo", "", "2018-11-03 00:00-03:00", "04 01:00-0200, 05 00:00-0200"},
      {"Asia/Beirut", "0:15", "2024-03-29 22:15Z", "31 01:00+0300, 01 00:15+0300"},
      {"Asia/Beirut", "2024-01-31 monthly", "2024-02-28 22:00Z", "31 01:00+0300, 30 00:00+0300"},
      {"Africa/Cairo", "0:00 /23:30", "2024-04-25 20:00Z", "25 23:30+0200, 26 01:00+0300, 26 23:30+0300"},
      // A whole day that the clock leaves out.
      {"Pacific/Apia", "12:00", "2011-12-28 00:00Z", "28 12:00-1000, 29 12:00-1000, 31 00:00+1400, 31 12:00+1400"},
      {"Pacific/Apia", "", "2011-12-29 00:00-10:00", "31 00:00+1400, 01 00:00+1400"},
      {"Pacific/Apia", "w5 12:00 /1:00", "2011-12-23 22:30-10:00", "23 23:00-1000, 31 00:00+1400, 06 12:00+1400"},
      {"Pacific/Apia", "2011-12-30 8:00", "2011-12-01 00:00Z", "31 00:00+1400, never"},
      {"Pacific/Apia", "2011-11-30 monthly 8:00", "2011-12-01 00:00Z", "31 00:00+1400, 30 08:00+1400"},
      {"Pacific/Kwajalein", "8:00", "1993-08-20 00:00-12:00", "20 08:00-1200, 22 00:00+1200, 22 08:00+1200"},
  });
}

TEST(NextRunTest, APeriodThatTheClockRepeats) {
  check("%d %H:%M%z", {
      {"Europe/Berlin", "2:30", "2024-10-26 12:00Z", "27 02:30+0200, 28 02:30+0100"},
      {"Europe/Berlin", "2:30", "2024-10-27 02:10+01:00", "28 02:30+0100"},
      {"Europe/Berlin", "2024-10-27 2:00", "2024-10-27 01:59:59+02:00", "27 02:00+0200, never"},
      {"Europe/Berlin", "1:00 /1:30", "2024-10-27 01:00+02:00", "27 02:30+0200, 27 04:00+0100, 27 05:30+0100"},
      {"Europe/Berlin", "0:30 /1:00", "2024-10-27 01:30+02:00", "27 02:30+0200, 27 02:30+0100, 27 03:30+0100"},
      {"Europe/Berlin", "2:00 /0:30 -2:30", "2024-10-27 02:00+02:00", "27 02:30+0200, 27 02:00+0100, 27 02:30+0100, 28 02:00+0100"},
      {"Europe/Berlin", "2024-10-27 2:45 /0:45", "2024-10-27 02:50+02:00", "27 02:45+0100, 27 03:30+0100"},
      {"Europe/Berlin", "2:30 /1:00", "2045-10-29 02:00+02:00", "29 02:30+0200, 29 02:30+0100, 29 03:30+0100"},
      {"America/New_York", "1:30", "2024-11-02 12:00Z", "03 01:30-0400, 04 01:30-0500"},
      {"Australia/Sydney", "/1:00", "2024-04-07 01:00+11:00", "07 02:00+1100, 07 02:00+1000, 07 03:00+1000"},
      {"Australia/Lord_Howe", "0:45 /1:00", "2024-04-07 01:00+11:00", "07 01:45+1100, 07 02:45+1030, 07 03:45+1030"},
      {"Australia/Lord_Howe", "/0:30", "2024-04-07 01:00+11:00", "07 01:30+1100, 07 01:30+1030, 07 02:00+1030"},
      {"Antarctica/Troll", "/2:00", "2024-10-27 00:00+02:00", "27 02:00+0200, 27 02:00+0000, 27 04:00+0000"},
      {"Antarctica/Troll", "/2:30", "2024-10-27 00:00+02:00", "27 02:30+0200, 27 05:00+0000"},
      {"America/Sao_Paulo", "23:30", "2018-02-16 12:00-02:00", "16 23:30-0200, 17 23:30-0200, 18 23:30-0300"},
      {"America/Sao_Paulo", "w6 23:00 /0:30", "2018-02-17 23:00-02:00", "17 23:30-0200, 17 23:00-0300, 17 23:30-0300, 24 23:00-0300"},
      {"America/Sao_Paulo", "", "2018-02-17 00:00-02:00", "18 00:00-0300, 19 00:00-0300"},
      {"Asia/Beirut", "23:00", "2024-10-25 23:00+03:00", "26 23:00+0300, 27 23:00+0200"},
      {"America/Havana", "", "2024-11-02 12:00-04:00", "03 00:00-0400, 04 00:00-0500"},
  });
}
// clang-format on

TEST(NextRunTest, AnyMomentMayBeAskedAbout) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (const char* name : {"UTC", "America/New_York", "Pacific/Apia"}) {
    const absl::TimeZone zone = zone_named(name);
    for (const char* repeat : {"", "daily", "weekly", "monthly", "yearly"}) {
      const Schedule dated = schedule_of_words(absl::StrCat("2001-02-03 ", repeat));
      EXPECT_EQ(next_run(dated, zone, kMin), next_run(dated, zone, 0)) << name << repeat;
      EXPECT_EQ(next_run(dated, zone, kMax), std::nullopt) << name << repeat;
    }
    const std::int64_t first = next_run(schedule_of_words(""), zone, kMin).value_or(-1);
    EXPECT_TRUE(first >= 0 && first < 86400) << first;
    EXPECT_EQ(next_run(schedule_of_words(""), zone, kMax), std::nullopt);
  }
}

}  // namespace
}  // namespace kavo
