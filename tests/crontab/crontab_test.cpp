// Crontabs line by line: what becomes of each, and why. What a command line does in a shell is
// tried in one.

#include "crontab/crontab.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>

#include "schedule/fixture.h"

namespace kavo {
namespace {

using testing::HasSubstr;

using Rows = std::vector<std::pair<std::string, std::string>>;

constexpr std::int64_t kNow = 1705360000;  // 2024-01-15 23:06 UTC, the fixture's today

TranslatedCrontab own_crontab(const std::string& text) {
  return translate_crontab(text, {"ann", nullptr}, kNow);
}

std::string command_line_below(const std::string& assignments, const std::string& command) {
  const TranslatedCrontab crontab = own_crontab(assignments + "\n@daily " + command + "\n");
  return crontab.entries.empty() ? "left out: " + crontab.left_out.back().reason
                                 : crontab.entries[0].command_line;
}

// What the shell writes when it runs the command line as a task's runner has it run.
std::string output_of(const std::string& command_line) {
  std::FILE* const pipe = popen(command_line.c_str(), "r");
  std::array<char, 4096> buffer{};
  const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), pipe);
  pclose(pipe);
  return {buffer.data(), size};
}

TEST(CrontabTest, TimesThatAScheduleExpresses) {
  const Rows rows = {
      {"5 4 * * *", "4:05"},
      {"* * * * *", "/0:01"},
      {"*/5 * * * *", "/0:05 -23:55"},
      {"*/10 9-17 * * *", "9:00 /0:10 -17:50"},
      {"0 9-17 * * *", "9:00 /1:00 -17:00"},
      {"*/7 3 * * *", "3:00 /0:07 -3:56"},
      {"50-59/90 23 * * *", "23:50"},
      // Two runs are evenly spaced whatever lies between; more, when the minutes follow suit.
      {"0,59 7 * * *", "7:00 /0:59 -7:59"},
      {"30 0,23 * * *", "0:30 /23:00 -23:30"},
      {"15,45 8,9,10 * * *", "8:15 /0:30 -10:45"},
      {"05 1,4-7/3,10 * * *", "1:05 /3:00 -10:05"},
      {"0 0 * * 1-5", "w1,2,3,4,5"},
      {"0 0 * * mon-FRI", "w1,2,3,4,5"},
      {"0 0 * * 0,7", "w0"},
      {"0 0 * * 5-7", "w0,5,6"},
      {"0 0 * * */2", "w0,2,4,6"},
      {"0 0 1-31 1-12 *", ""},
      {"0 0 */1 jan-dec 3", "w3"},
      {"0 0 1-31 * 3", ""},  // every day of the month, or Wednesdays
      // Dates start with the next one, today included.
      {"0 0 1 * *", "2024-02-01 monthly"},
      {"0 1 15 * *", "2024-01-15 monthly 1:00"},
      {"0 0 28 1-12 0-6", ""},
      {"0 0 30 3,6,9,12 *", "2024-03-30 quarterly"},
      {"0 0 14 */3 *", "2024-04-14 quarterly"},
      {"0 0 31 1,7 *", "2024-01-31 half_yearly"},
      {"0 0 31 1,2,4,7 *", "2024-01-31 half_yearly"},  // not all of these months have the day
      {"0 0 28 feb *", "2024-02-28 yearly"},
      {"0 0 31 Dec */1", "2024-12-31 yearly"},
      {"@hourly", "/1:00 -23:00"},
      {"@daily", ""},
      {"@midnight", ""},
      {"@weekly", "w0"},
      {"@monthly", "2024-02-01 monthly"},
      {"@yearly", "2025-01-01 yearly"},
      {"@annually", "2025-01-01 yearly"}};
  for (const auto& [times, words] : rows) {
    const TranslatedCrontab crontab = own_crontab(times + " true\n");
    ASSERT_EQ(crontab.entries.size(), 1U) << times << crontab.left_out.at(0).reason;
    EXPECT_TRUE(crontab.left_out.empty());
    EXPECT_EQ(crontab.entries[0].schedule, schedule_of_words(words))
        << times << print_schedule(crontab.entries[0].schedule);
  }
}

TEST(CrontabTest, WhatATaskCannotExpressIsLeftOutWithTheReason) {
  const Rows rows = {
      {"*/7 * * * * true", "not evenly spaced: 00:00 and 00:07, but 00:56 and 01:00"},
      {"0 9,12,17 * * * true", "not evenly spaced"},
      {"0,30 1,3 * * * true", "not evenly spaced"},
      {"0 0 1 * 1 true", "days of the month and on days of the week as well"},
      {"0 0 */2 * 1 true", "match by month and by week at once"},
      {"0 0 1,15 * * true", "several"},
      {"0 0 * 6 1 true", "several days of some months"},
      {"0 0 29 * * true", "29 February"},
      {"0 0 29 2 * true", "29 February"},
      {"0 0 31 * * true", "every one, three, six or twelve months"},
      {"0 0 31 4 * true", "it never runs"},
      {"0 0 1 1,2 * true", "every one, three, six or twelve months"},
      {"0 0 1 1,5,9 * true", "does not repeat every 4 months"},
      {"@reboot true", "not by the start of the system"},
      {"@Daily true", "\"@Daily\" is not known"},
      {"60 * * * * true", "the minute \"60\" cannot be read: expected are numbers from 0 to 59"},
      {"0 0 0 * * true", "the day of the month \"0\""},
      {"0 0 * * 8 true", "the day of the week \"8\""},
      {"0 0 * mon * true", "the month \"mon\""},
      {"0 0 * * fri-sun true", "ends before it starts"},
      {"5/10 * * * * true", "a step after a single number"},
      {"*/0 * * * * true", "at least 1"},
      {"*/99999999999 * * * * true", "at least 1"},
      {"*/2147483647 5,6,8 * * * true", "not evenly spaced"},
      {"1,,2 * * * * true", "the minute \"1,,2\""},
      {"1, * * * * true", "the minute \"1,\""},
      {"-1 * * * * true", "the minute \"-1\""},
      {"1-2-3 * * * * true", "the minute \"1-2-3\""},
      {"*5 * * * * true", "the minute \"*5\""},
      {"+5 * * * * true", "the minute \"+5\""},
      {"0~30 0 * * * true", "the minute \"0~30\""},
      {"0 0 * *", "five fields"},
      {"0 0 * * *", "no command"},
      {"@daily", "no command"},
      {"0 0 * * * cat % text", "standard input"},
      {"0 0 * * * date +\\%%", "standard input"},
      {"0 0 * * * date +\\\\%F", "differ between crons"},
      {"0 0 * * * caf\xe9", "not UTF-8"},
      {std::string("0 0 * * * z\0", 12), "not UTF-8"},
      {"0 0 * * * true\r", "carriage return"}};
  for (const auto& [line, reason] : rows) {
    const TranslatedCrontab crontab = own_crontab("# one\n" + line + "\n@daily kept\n");
    ASSERT_EQ(crontab.left_out.size(), 1U) << line;
    EXPECT_EQ(crontab.left_out[0].line, 2);
    EXPECT_THAT(crontab.left_out[0].reason, HasSubstr(reason));
    ASSERT_EQ(crontab.entries.size(), 1U) << line;
    EXPECT_EQ(crontab.entries[0].line, 3);
  }
}

TEST(CrontabTest, LinesOfAFile) {
  const TranslatedCrontab crontab = own_crontab(
      "# a comment in Latin-1: \xe9\r\n\n \t \n  \t# another\n"
      "\t0\t4 * * *   echo  100\\% ä ; true # not a comment \n"
      "0 6 * * * last");
  ASSERT_EQ(crontab.entries.size(), 1U);
  EXPECT_EQ(crontab.entries[0].line, 5);
  EXPECT_EQ(crontab.entries[0].owner, "ann");
  EXPECT_EQ(crontab.entries[0].command, "echo  100% ä ; true # not a comment ");
  EXPECT_EQ(crontab.entries[0].command_line, crontab.entries[0].command);
  ASSERT_EQ(crontab.left_out.size(), 1U);
  EXPECT_EQ(crontab.left_out[0].line, 6);
  EXPECT_THAT(crontab.left_out[0].reason, HasSubstr("line feed"));
  EXPECT_TRUE(own_crontab("").left_out.empty());
  EXPECT_TRUE(own_crontab("0 4 * * * true\n# the end").left_out.empty());
}

TEST(CrontabTest, TheSystemsNamesTheUserOfEachEntry) {
  const TranslatedCrontab crontab = translate_crontab(
      "0 4 * * * ann\tbackup --all\n@daily ann true\n0 4 * * * /usr/bin/backup --all\n"
      "0 4 * * * ann\n0 4 * * *\n",
      {std::nullopt, [](const std::string& user) { return user == "ann"; }}, kNow);
  ASSERT_EQ(crontab.entries.size(), 2U);
  EXPECT_EQ(crontab.entries[0].owner, "ann");
  EXPECT_EQ(crontab.entries[0].command, "backup --all");
  EXPECT_EQ(crontab.entries[1].command, "true");
  ASSERT_EQ(crontab.left_out.size(), 3U);
  EXPECT_THAT(crontab.left_out[0].reason, HasSubstr("no user \"/usr/bin/backup\""));
  EXPECT_THAT(crontab.left_out[1].reason, HasSubstr("no command"));
  EXPECT_THAT(crontab.left_out[2].reason, HasSubstr("no user and no command"));
}

TEST(CronEnvironmentTest, VariablesHoldAsTheyStand) {
  const std::string awkward = "$HOME/`id`:$(id) \\ ! * ~ ; & 'x' \"y\" \\\\$$";
  const Rows rows = {{"X=plain", "plain"},
                     {"X = two words \t", "two words"},
                     {"X=\"  kept  \"", "  kept  "},
                     {"'X'=' single \" '", " single \" "},
                     {"X=", ""},
                     {"X=\"\"", ""},
                     {"X=" + awkward, awkward},
                     {"X=~/bin:~root", "~/bin:~root"},
                     {"X=ä=b", "ä=b"},
                     {"X=first\nX=second", "second"},
                     {"SHELL=/bin/sh\nX=1\nSHELL=/bin/bash\nSHELL=/bin/sh", "1"}};
  for (const auto& [assignment, value] : rows) {
    EXPECT_EQ(output_of(command_line_below(assignment, "sh -c 'printf \"[\\%s]\" \"$X\"'")),
              "[" + value + "]");
  }
  // Arrays and their like are the other shell's; quotes and dollars reach it as they stand.
  EXPECT_EQ(output_of(command_line_below(
                "X=a b\nSHELL=/bin/bash",
                R"(y=("$X" '$X'); printf '[\%s]' "${y[@]}" "$SHELL" "$0" \\\$)")),
            "[a b][$X][/bin/bash][/bin/bash][\\$]");
  EXPECT_EQ(command_line_below("MAILTO=me\nSHELL=/bin/sh\nLOGNAME=x", "true"), "true");
  EXPECT_EQ(command_line_below("A=1\nPATH = /bin:/usr/bin", "true; false"),
            "export A=1 PATH=/bin:/usr/bin; true; false");
}

TEST(CronEnvironmentTest, ZoneOfTheTimesAndOfToday) {
  const TranslatedCrontab crontab =
      own_crontab("0 3 15 * * true\nCRON_TZ=Asia/Tokyo\n0 3 15 * * true\n");
  ASSERT_EQ(crontab.entries.size(), 2U);
  EXPECT_EQ(crontab.entries[0].schedule.timezone, "");
  EXPECT_EQ(crontab.entries[1].schedule.timezone, "Asia/Tokyo");
  EXPECT_EQ(crontab.entries[1].schedule.date, absl::CivilDay(2024, 2, 15));  // there it is the 16th
  EXPECT_EQ(crontab.entries[1].command_line, "true");
  // The variable of the command's own zone changes no times.
  EXPECT_EQ(command_line_below("TZ=Asia/Tokyo", "date"), "export TZ=Asia/Tokyo; date");
}

TEST(CronEnvironmentTest, WhatCannotBeSetForTheEntriesBelowLeavesThemOut) {
  const Rows rows = {{"HOME=/srv", "HOME in line 2: it moves the folder"},
                     {"SHELL=bash", "SHELL in line 2: the shell is not given by its whole path"},
                     {"SHELL=", "whole path"},
                     {"CRON_TZ=Nowhere/Town", "\"Nowhere/Town\" is not a time zone"},
                     {"CRON_TZ=", "is not a time zone"},
                     {"RANDOM_DELAY=5", "random delay"},
                     {"IFS=:", "does not export it"},
                     {"LD_PRELOAD=/x.so", "does not export it"},
                     {"BASHOPTS=x", "does not export it"},
                     {"a.b=1", "does not export it"},
                     {"1A=1", "does not export it"},
                     {"X=\"open", "line 2: it cannot be used"},
                     {"X=\"a\" b", "line 2: it cannot be used"},
                     {"X=\xe9", "line 2: it cannot be used"},
                     {"X=1\r", "line 2: it cannot be used"}};
  for (const auto& [assignment, reason] : rows) {
    const TranslatedCrontab crontab =
        own_crontab("@daily above\n" + assignment + "\n@daily below\n");
    ASSERT_EQ(crontab.entries.size(), 1U) << assignment;
    EXPECT_EQ(crontab.entries[0].command, "above");
    EXPECT_EQ(crontab.left_out.back().line, 3);
    EXPECT_THAT(crontab.left_out.back().reason, HasSubstr(reason));
  }
  // Set anew, it holds; what could not be read at all stays unknown.
  EXPECT_EQ(command_line_below("SHELL=bash\nSHELL=/bin/sh", "true"), "true");
  EXPECT_THAT(command_line_below("X=\"open\nX=1", "true"), HasSubstr("line 1: it cannot be used"));
}

}  // namespace
}  // namespace kavo
