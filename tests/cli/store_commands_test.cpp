// kavo task, run, stop, history and output: the commands over the store.
#include "cli_fixture.h"
#include "store/session_store.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

TEST_F(CliTest, TasksAsTablesAndAsJson) {
  EXPECT_EQ(result_of("task list"), Json::Value(Json::arrayValue));
  create_script("nightly ä", "echo 1; exit 0", R"({"hour": 3, "minute": 15, "timezone": "UTC"})");
  create_script("other", "true");

  EXPECT_THAT(kavo("task list").out,
              MatchesRegex("ID  ENABLED  NAME       OWNER +NEXT RUN          COMMAND\n"
                           "1   yes      nightly ä  [^ ]+ +....-..-.. 03:15  echo 1; exit 0\n"
                           "2   yes      other .*\n"));
  EXPECT_THAT(kavo("task show 1").out, HasSubstr("command                 echo 1;"));
  const Json::Value tasks = result_of("task list");
  EXPECT_EQ(tasks.size(), 2U);
  EXPECT_EQ(tasks[0], result_of("task show 1"));
  EXPECT_EQ(tasks[0]["command"], "echo 1; exit 0");
  EXPECT_EQ(tasks[0]["schedule"]["hour"], 3);

  const Json::Value next = result_of("task next 1 -n 3");
  ASSERT_EQ(next.size(), 3U);
  EXPECT_EQ(next[0], tasks[0]["next_run"]);
  EXPECT_EQ(next[0].asInt64() % 86400, (3 * 60 + 15) * 60);
  EXPECT_EQ(next[2].asInt64() - next[0].asInt64(), 2 * 86400);
  EXPECT_THAT(kavo("task next 1").out, MatchesRegex("NEXT RUN\n....-..-.. 03:15:00 UTC\n"));
  data(R"(1 set_enable status='[{"id": 1, "enable": false}]')");
  EXPECT_EQ(result_of("task next 1"), Json::Value(Json::arrayValue));
  EXPECT_THAT(kavo("task list").out, HasSubstr("1   no "));

  EXPECT_EQ(kavo("task remove 1").code, 0);
  for (const std::string command : {"remove", "show", "next"}) {
    const Finished done = kavo("task " + command + " 1");
    EXPECT_TRUE(done.code == 1 && done.out == "" && done.err != "") << command;
  }
  EXPECT_EQ(result_of("task list").size(), 1U);
}

TEST_F(CliTest, RunsAndTheirHistory) {
  create_script("good", "echo out; echo err >&2");
  create_script("bad", "echo failing; exit 3");
  EXPECT_EQ(kavo("run 1 --wait").out, "Run 1 of task 1: ok\nout\nerr\n");
  const Finished failed = kavo("run 2 --wait");
  EXPECT_EQ(failed.code, 1);
  EXPECT_EQ(failed.out, "Run 2 of task 2: exit code 3\nfailing\n");
  EXPECT_EQ(kavo("output 2").out, "failing\n");
  EXPECT_EQ(kavo("output 3").code, 1);
  EXPECT_EQ(kavo("run 7 --wait").code, 1);  // a task that does not exist leaves nothing
  EXPECT_EQ(call("1 run task=7")["error"]["code"], 4803);
  const Finished with_json = kavo("run 2 --wait --json");
  EXPECT_EQ(with_json.code, 1);
  EXPECT_EQ(json(with_json.out)["output"], "failing\n");
  EXPECT_THAT(kavo("history 2").out,
              MatchesRegex("RUN  TASK  NAME  WHY .*\n3    2     bad   manual .* exit code 3\n"
                           "2    2     bad   manual .* exit code 3\n"));
  EXPECT_EQ(result_of("history -n 2").size(), 2U);

  data("1 run task=1");  // which only starts it: its end is asked for until it is there
  Json::Value runs;
  for (int i = 0; i < 3000 && runs[0]["ended"].isNull(); ++i) {
    runs = result_of("history 1");
    ASSERT_EQ(runs.size(), 2U);
  }
  EXPECT_EQ(runs[0]["result"], "ok");
  EXPECT_EQ(runs[0]["task_name"], "good");
  EXPECT_EQ(kavo("output 4").out, "out\nerr\n");
}

TEST_F(CliTest, RunsThatGoOnAreFollowedAndStopped) {
  const std::filesystem::path gate = root_.path() / "gate";
  create_script("gate", "echo first; " + wait_for_file(gate) + "; echo second");
  EXPECT_EQ(kavo("run 1").out, "Run 1 of task 1 was started.\n");
  EXPECT_EQ(kavo("run 1").code, 1);
  for (int i = 0; i < 3000 && kavo("output 1").out.empty(); ++i) {
  }
  EXPECT_EQ(kavo("output 1").out, "first\n");
  EXPECT_THAT(kavo("history").out, HasSubstr("running"));
  root_.write("gate", "");
  EXPECT_EQ(kavo("output 1 --follow").out, "first\nsecond\n");
  EXPECT_EQ(kavo("stop 1").code, 1);
  EXPECT_EQ(kavo("stop 7").code, 1);

  std::filesystem::remove(gate);
  for (const char* command : {"run 1", "stop 2", "output 2 --follow"}) {
    EXPECT_EQ(kavo(command).code, 0) << command;
  }
  EXPECT_THAT(kavo("history").out, HasSubstr("stopped"));
}

TEST_F(CliTest, AllRunsAreStoppedAtOnce) {
  root_.write("etc/kavo/kavo.conf", "maxParallelRuns=\"2\"\n");
  for (const char* id : {"1", "2", "3"}) {
    create_script("sleeper", "sleep 1000 & exec sleep 1000");
    EXPECT_EQ(kavo(std::string("run ") + id).code, 0);
  }
  EXPECT_EQ(kavo("stop").code, 2);
  EXPECT_EQ(kavo("stop --all 1").code, 2);
  EXPECT_EQ(kavo("stop --all").out, "3 runs were stopped.\n");
  for (const Json::Value& run : result_of("history")) {
    EXPECT_EQ(run["result"], "stopped") << run;
  }
  EXPECT_EQ(kavo("stop --all").out, "0 runs were stopped.\n");
}

TEST_F(CliTest, ABackupIsTheStoreOfAnotherAppliance) {
  create_script("kept", "echo kept");
  EXPECT_EQ(kavo("run 1 --wait").code, 0);
  const TemporaryFolder other;
  const std::string file = other.path() / "var/lib/kavo/tasks.db";
  std::filesystem::create_directories(other.path() / "var/lib/kavo");
  EXPECT_EQ(kavo("backup " + file).code, 0);
  const std::string tasks = kavo("export").out;
  create_script("later", "true");
  const std::string there = "KAVO_ROOT=" + other.path().string() + " usr/kavo/bin/kavo ";
  EXPECT_EQ(run_in(root_, there + "export").out, tasks);
  EXPECT_EQ(run_in(root_, there + "output 1").out, "kept\n");

  const Finished again = kavo("backup " + file);  // and nothing is written over
  EXPECT_EQ(again.code, 1);
  EXPECT_THAT(again.err, HasSubstr("tasks.db cannot be written: File exists"));
  EXPECT_EQ(run_in(root_, there + "export").out, tasks);
  EXPECT_EQ(kavo("backup /dev/full").code, 1);
}

TEST_F(CliTest, TextsOfTasksCannotSteerTheTerminal) {
  // Escape, line feed, delete, and the one-character forms of escape sequences.
  const std::string name = "a\x1b[31m\n\x7f\u0085\u009b2Jz";
  create_script(name, "printf '\x1b[2J'\ntrue");
  data("2 create type=script name=refused 'owner=no\x1b\u009b\x62ody'");
  EXPECT_EQ(kavo("run 1 --wait").code, 0);
  EXPECT_THAT(kavo("run 2 --wait").out, HasSubstr("refused: The owner \"no??body\""));
  EXPECT_THAT(kavo("task list").out, HasSubstr("a?[31m????2Jz"));
  for (const char* command : {"task list", "task show 1", "task show 2", "history"}) {
    const std::string out = kavo(command).out;
    for (const char* sign : {"\x1b", "\x7f", "\u009b", "\u0085", "a?[31m\n"}) {
      EXPECT_THAT(out, Not(HasSubstr(sign))) << command;
    }
  }
  EXPECT_EQ(result_of("task show 1")["name"], name);  // programs get it as it is
}

TEST_F(CliTest, ALinkForSigningInIsTheCallersOrANamedAccounts) {
  const auto user_of = [this](const std::string& options, const std::string& base) {
    const std::string line = kavo("sign-in-link" + options).out;
    const std::string start = base + "/#sign-in=";
    EXPECT_THAT(line, MatchesRegex(start + "[0-9a-f]{64}\n"));
    return kavo::SessionStore::use_link(line.substr(start.size(), 64));
  };
  EXPECT_EQ(user_of("", "http://127.0.0.1:5050"), getpwuid(getuid())->pw_name);
  EXPECT_EQ(user_of(" --user nobody --url https://nas:8443/", "https://nas:8443"), "nobody");
  const Finished unknown = kavo("sign-in-link --user no-such-user");
  EXPECT_EQ(unknown.code, 2);
  EXPECT_THAT(unknown.err, HasSubstr("There is no account \"no-such-user\""));
}

}  // namespace
