// The variables of a crontab. What a command line does in a shell is tried in one.

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "crontab/crontab.h"
#include "schedule/fixture.h"

namespace kavo {
namespace {

using testing::HasSubstr;

constexpr std::int64_t kNow = 1705360000;  // 2024-01-15 23:06 UTC

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
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe(ends.data()), 0);
  const pid_t shell = fork();
  if (shell == 0) {
    dup2(ends[1], STDOUT_FILENO);
    execl("/bin/sh", "sh", "-c", command_line.c_str(), nullptr);
    _exit(127);
  }
  close(ends[1]);
  std::string output;
  std::array<char, 4096> buffer{};
  for (ssize_t count = 0; (count = read(ends[0], buffer.data(), buffer.size())) > 0;) {
    output.append(buffer.data(), static_cast<std::size_t>(count));
  }
  close(ends[0]);
  EXPECT_EQ(waitpid(shell, nullptr, 0), shell);
  return output;
}

TEST(CronEnvironmentTest, VariablesHoldAsTheyStand) {
  struct Row {
    const char* assignment;
    const char* value;
  };
  for (const Row& row : {
           Row{"X=plain", "plain"},
           Row{"X = two words \t", "two words"},
           Row{"X=\"  kept  \"", "  kept  "},
           Row{"'X'=' single \" '", " single \" "},
           Row{"X=", ""},
           Row{"X=\"\"", ""},
           Row{"X=$HOME/`id`:$(id) \\ ! * ~ ; & 'x' \"y\"",
               "$HOME/`id`:$(id) \\ ! * ~ ; & 'x' \"y\""},
           Row{"X=~/bin:~root", "~/bin:~root"},
           Row{"X=\\\\$$", "\\\\$$"},
           Row{"X=ä=b", "ä=b"},
           Row{"X=first\nX=second", "second"},
           Row{"MAILTO=me\nSHELL=/bin/sh\nX=1", "1"},
           Row{"SHELL=/bin/sh\nX=1\nSHELL=/bin/bash\nSHELL=/bin/sh", "1"},
       }) {
    SCOPED_TRACE(row.assignment);
    EXPECT_EQ(output_of(command_line_below(row.assignment, "sh -c 'printf \"[\\%s]\" \"$X\"'")),
              "[" + std::string(row.value) + "]");
  }
  EXPECT_EQ(command_line_below("MAILTO=me\nSHELL=/bin/sh\nLOGNAME=x", "true"), "true");
  EXPECT_EQ(command_line_below("A=1\nPATH = /bin:/usr/bin", "true; false"),
            "export A=1 PATH=/bin:/usr/bin; true; false");
}

TEST(CronEnvironmentTest, AnotherShellRunsTheCommand) {
  // Arrays and their like are the other shell's; quotes and dollars reach it as they stand.
  const std::string line = command_line_below(
      "X=a b\nSHELL=/bin/bash", R"(y=("$X" '$X'); printf '[\%s]' "${y[@]}" "$SHELL" "$0" \\\$)");
  EXPECT_EQ(output_of(line), "[a b][$X][/bin/bash][/bin/bash][\\$]");
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
  struct Row {
    const char* assignment;
    const char* reason;
  };
  for (const Row& row : {
           Row{"HOME=/srv", "HOME in line 2: it moves the folder"},
           Row{"SHELL=bash", "SHELL in line 2: the shell is not given by its whole path"},
           Row{"SHELL=", "whole path"},
           Row{"CRON_TZ=Nowhere/Town", "\"Nowhere/Town\" is not a time zone"},
           Row{"CRON_TZ=", "is not a time zone"},
           Row{"RANDOM_DELAY=5", "random delay"},
           Row{"IFS=:", "does not export it"},
           Row{"LD_PRELOAD=/x.so", "does not export it"},
           Row{"BASHOPTS=x", "does not export it"},
           Row{"a.b=1", "does not export it"},
           Row{"1A=1", "does not export it"},
           Row{"X=\"open", "line 2: it cannot be used"},
           Row{"X=\"a\" b", "line 2: it cannot be used"},
           Row{"X=\xe9", "line 2: it cannot be used"},
           Row{"X=1\r", "line 2: it cannot be used"},
       }) {
    SCOPED_TRACE(row.assignment);
    const TranslatedCrontab crontab =
        own_crontab("@daily above\n" + std::string(row.assignment) + "\n@daily below\n");
    ASSERT_EQ(crontab.entries.size(), 1U);
    EXPECT_EQ(crontab.entries[0].command, "above");
    EXPECT_EQ(crontab.left_out.back().line, 3);
    EXPECT_THAT(crontab.left_out.back().reason, HasSubstr(row.reason));
  }
  // Set anew, it holds; what could not be read at all stays unknown.
  EXPECT_EQ(command_line_below("SHELL=bash\nSHELL=/bin/sh", "true"), "true");
  EXPECT_THAT(command_line_below("X=\"open\nX=1", "true"), HasSubstr("line 1: it cannot be used"));
}

}  // namespace
}  // namespace kavo
