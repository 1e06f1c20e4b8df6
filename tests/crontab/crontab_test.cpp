// Crontabs line by line: what becomes of each, and why.

#include "crontab/crontab.h"

#include <gmock/gmock.h>

#include "schedule/fixture.h"

namespace kavo {
namespace {

using testing::HasSubstr;

constexpr std::int64_t kNow = 1705320000;  // 2024-01-15 12:00 UTC, the fixture's today

TranslatedCrontab system_crontab(const std::string& text) {
  return translate_crontab(
      text, {std::nullopt, [](const std::string& user) { return user == "ann"; }}, kNow);
}

TranslatedCrontab own_crontab(const std::string& text) {
  return translate_crontab(text, {"ann", nullptr}, kNow);
}

TEST(CrontabTest, TimesThatAScheduleExpresses) {
  struct Row {
    const char* times;
    const char* schedule;
  };
  for (const Row& row : {
           Row{"5 4 * * *", R"({"hour": 4, "min": 5})"},
           Row{"* * * * *", R"({"repeat_min": 1})"},
           Row{"*/5 * * * *", R"({"repeat_min": 5, "last_min": 55})"},
           Row{"*/10 9-17 * * *",
               R"({"hour": 9, "repeat_min": 10, "last_hour": 17, "last_min": 50})"},
           Row{"0 9-17 * * *", R"({"hour": 9, "repeat_hour": 1, "last_hour": 17, "last_min": 0})"},
           Row{"*/7 3 * * *", R"({"hour": 3, "repeat_min": 7, "last_hour": 3, "last_min": 56})"},
           Row{"50-59/90 23 * * *", R"({"hour": 23, "min": 50})"},
           // Two runs are evenly spaced whatever lies between; more, when the minutes follow suit.
           Row{"0,59 7 * * *", R"({"hour": 7, "repeat_min": 59, "last_hour": 7})"},
           Row{"30 0,23 * * *", R"({"min": 30, "repeat_hour": 23, "last_min": 30})"},
           Row{"15,45 8,9,10 * * *",
               R"({"hour": 8, "min": 15, "repeat_min": 30, "last_hour": 10, "last_min": 45})"},
           Row{"05 1,4-7/3,10 * * *",
               R"({"hour": 1, "min": 5, "repeat_hour": 3, "last_hour": 10, "last_min": 5})"},
           // Days of the week.
           Row{"0 0 * * 1-5", R"({"week_name": "1,2,3,4,5"})"},
           Row{"0 0 * * mon-FRI", R"({"week_name": "1,2,3,4,5"})"},
           Row{"0 0 * * 0,7", R"({"week_name": "0"})"},
           Row{"0 0 * * 5-7", R"({"week_name": "0,5,6"})"},
           Row{"0 0 * * */2", R"({"week_name": "0,2,4,6"})"},
           Row{"0 0 1-31 1-12 *", "{}"},
           Row{"0 0 */1 jan-dec 3", R"({"week_name": "3"})"},
           Row{"0 0 1-31 * 3", "{}"},  // every day of the month, or Wednesdays
           // Dates start with the next one, today included.
           Row{"0 0 1 * *", R"({"type": "date", "date": "2024-02-01", "repeat": "monthly"})"},
           Row{"0 1 15 * *",
               R"({"type": "date", "date": "2024-01-15", "repeat": "monthly", "hour": 1})"},
           Row{"0 0 28 1-12 0-6", "{}"},
           Row{"0 0 30 3,6,9,12 *",
               R"({"type": "date", "date": "2024-03-30", "repeat": "quarterly"})"},
           Row{"0 0 14 */3 *", R"({"type": "date", "date": "2024-04-14", "repeat": "quarterly"})"},
           Row{"0 0 31 1,7 *",
               R"({"type": "date", "date": "2024-01-31", "repeat": "half_yearly"})"},
           // The months that lack the day do not count.
           Row{"0 0 31 1,2,4,7 *",
               R"({"type": "date", "date": "2024-01-31", "repeat": "half_yearly"})"},
           Row{"0 0 28 feb *", R"({"type": "date", "date": "2024-02-28", "repeat": "yearly"})"},
           Row{"0 0 31 Dec */1", R"({"type": "date", "date": "2024-12-31", "repeat": "yearly"})"},
           Row{"@hourly", R"({"repeat_hour": 1, "last_min": 0})"},
           Row{"@daily", "{}"},
           Row{"@midnight", "{}"},
           Row{"@weekly", R"({"week_name": "0"})"},
           Row{"@monthly", R"({"type": "date", "date": "2024-02-01", "repeat": "monthly"})"},
           Row{"@yearly", R"({"type": "date", "date": "2025-01-01", "repeat": "yearly"})"},
           Row{"@annually", R"({"type": "date", "date": "2025-01-01", "repeat": "yearly"})"},
       }) {
    SCOPED_TRACE(row.times);
    const TranslatedCrontab crontab = own_crontab(std::string(row.times) + " true\n");
    ASSERT_EQ(crontab.entries.size(), 1U) << crontab.left_out.at(0).reason;
    EXPECT_EQ(crontab.entries[0].schedule, schedule_of(json(row.schedule)))
        << print_schedule(crontab.entries[0].schedule);
    EXPECT_TRUE(crontab.left_out.empty());
  }
}

TEST(CrontabTest, WhatATaskCannotExpressIsLeftOutWithTheReason) {
  struct Row {
    const char* entry;
    const char* reason;
  };
  for (const Row& row : {
           Row{"*/7 * * * * true", "not evenly spaced: 00:00 and 00:07, but 00:56 and 01:00"},
           Row{"0 9,12,17 * * * true", "not evenly spaced"},
           Row{"0,30 1,3 * * * true", "not evenly spaced"},
           Row{"0 0 1 * 1 true", "days of the month and on days of the week as well"},
           Row{"0 0 */2 * 1 true", "match by month and by week at once"},
           Row{"0 0 1,15 * * true", "several"},
           Row{"0 0 * 6 * true", "several days of some months"},
           Row{"0 0 * 6 1 true", "several days of some months"},
           Row{"0 0 29 * * true", "29 February"},
           Row{"0 0 29 2 * true", "29 February"},
           Row{"0 0 31 * * true", "every one, three, six or twelve months"},
           Row{"0 0 31 4 * true", "it never runs"},
           Row{"0 0 1 1,2 * true", "every one, three, six or twelve months"},
           Row{"0 0 1 1-11 * true", "every one, three, six or twelve months"},
           Row{"0 0 1 1,5,9 * true", "does not repeat every 4 months"},
           Row{"@reboot true", "not by the start of the system"},
           Row{"@Daily true", "\"@Daily\" is not known"},
           Row{"60 * * * * true",
               "the minute \"60\" cannot be read: expected are numbers from 0 to 59"},
           Row{"0 0 0 * * true", "the day of the month \"0\""},
           Row{"0 0 * * 8 true", "the day of the week \"8\""},
           Row{"0 0 * mon * true", "the month \"mon\""},
           Row{"0 0 * * fri-sun true", "ends before it starts"},
           Row{"0 22-4 * * * true", "ends before it starts"},
           Row{"5/10 * * * * true", "a step after a single number"},
           Row{"*/0 * * * * true", "at least 1"},
           Row{"*/x * * * * true", "at least 1"},
           Row{"*/99999999999 * * * * true", "at least 1"},
           Row{"*/2147483647 5,6,8 * * * true", "not evenly spaced"},
           Row{"1,,2 * * * * true", "the minute \"1,,2\""},
           Row{"1, * * * * true", "the minute \"1,\""},
           Row{"-1 * * * * true", "the minute \"-1\""},
           Row{"1-2-3 * * * * true", "the minute \"1-2-3\""},
           Row{"*5 * * * * true", "the minute \"*5\""},
           Row{"+5 * * * * true", "the minute \"+5\""},
           Row{"0 0 * * L true", "the day of the week \"L\""},
           Row{"0~30 0 * * * true", "the minute \"0~30\""},
           Row{"0 0 * *", "five fields"},
           Row{"0 0 * * *", "no command"},
           Row{"@daily", "no command"},
           Row{"0 0 * * * cat % text", "standard input"},
           Row{"0 0 * * * date +\\%%", "standard input"},
           Row{"0 0 * * * date +\\\\%F", "differ between crons"},
           Row{"0 0 * * * caf\xe9", "not UTF-8"},
           Row{"0 0 * * * true\r", "carriage return"},
       }) {
    SCOPED_TRACE(row.entry);
    const TranslatedCrontab crontab =
        own_crontab("# one\n" + std::string(row.entry) + "\n0 0 * * * kept\n");
    ASSERT_EQ(crontab.left_out.size(), 1U);
    EXPECT_EQ(crontab.left_out[0].line, 2);
    EXPECT_THAT(crontab.left_out[0].reason, HasSubstr(row.reason));
    ASSERT_EQ(crontab.entries.size(), 1U);
    EXPECT_EQ(crontab.entries[0].line, 3);
  }
}

TEST(CrontabTest, LinesOfAFile) {
  std::string text =
      "# a comment in Latin-1: \xe9\r\n"
      "\n"
      " \t \n"
      "  \t# another\n"
      "\t0\t4 * * *   echo  100\\% ä ; true # not a comment \n"
      "0 5 * * * zero\n"
      "0 6 * * * last";
  text[text.find("zero") + 1] = '\0';
  const TranslatedCrontab crontab = own_crontab(text);
  ASSERT_EQ(crontab.entries.size(), 1U);
  EXPECT_EQ(crontab.entries[0].line, 5);
  EXPECT_EQ(crontab.entries[0].owner, "ann");
  EXPECT_EQ(crontab.entries[0].command, "echo  100% ä ; true # not a comment ");
  EXPECT_EQ(crontab.entries[0].command_line, crontab.entries[0].command);
  ASSERT_EQ(crontab.left_out.size(), 2U);
  EXPECT_EQ(crontab.left_out[0].line, 6);
  EXPECT_EQ(crontab.left_out[1].line, 7);
  EXPECT_THAT(crontab.left_out[1].reason, HasSubstr("line feed"));
  EXPECT_TRUE(own_crontab("").left_out.empty());
  EXPECT_TRUE(own_crontab("0 4 * * * true\n# the end").left_out.empty());
}

TEST(CrontabTest, TheSystemsNamesTheUserOfEachEntry) {
  const TranslatedCrontab crontab = system_crontab(
      "0 4 * * * ann\tbackup --all\n"
      "@daily ann true\n"
      "0 4 * * * /usr/bin/backup --all\n"
      "0 4 * * * ann\n"
      "0 4 * * *\n");
  ASSERT_EQ(crontab.entries.size(), 2U);
  EXPECT_EQ(crontab.entries[0].owner, "ann");
  EXPECT_EQ(crontab.entries[0].command, "backup --all");
  EXPECT_EQ(crontab.entries[1].command, "true");
  ASSERT_EQ(crontab.left_out.size(), 3U);
  EXPECT_THAT(crontab.left_out[0].reason, HasSubstr("no user \"/usr/bin/backup\""));
  EXPECT_THAT(crontab.left_out[1].reason, HasSubstr("no command"));
  EXPECT_THAT(crontab.left_out[2].reason, HasSubstr("no user and no command"));
}

}  // namespace
}  // namespace kavo
