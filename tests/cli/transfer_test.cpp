// The commands that bring tasks in and out: import-crontab, export, import.
#include "cli_fixture.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class TransferTest : public CliTest {
 protected:
  std::string exported() const { return kavo("export").out; }

  // Imports a document that is refused, and leaves everything as it was.
  std::string refusal_of(const Json::Value& document) const {
    const std::string before = exported();
    const Finished done = kavo("import -", document.toStyledString());
    EXPECT_TRUE(done.code == 1 && done.out == "") << document;
    EXPECT_EQ(exported(), before);
    return done.err;
  }
};

TEST_F(TransferTest, CrontabBecomesTasksThatTheDesktopCanEdit) {
  root_.write("tab",
              "X='a b'\n*/10 9-17 * * 1-5 echo \"$X\" \\%\n*/7 * * * * refused\x1b[2J\n"
              "CRON_TZ=Asia/Tokyo\n@monthly " +
                  std::string(70, 'x') + "\n");
  const Finished dry = kavo("import-crontab tab --owner " + user() + " --dry-run");
  EXPECT_EQ(dry.code, 1);
  EXPECT_THAT(dry.out,
              MatchesRegex("LINE  ID  OWNER +SCHEDULE +COMMAND\n"
                           "2     -   [^ ]+ +Mon, Tue, Wed, Thu, Fri every 10 min from 09:00 to "
                           "17:50 +export X=\"a b\"; echo \"\\$X\" %\n"
                           "5     -   [^ ]+ +every month from ....-..-01 at 00:00 \\(Asia/Tokyo\\) "
                           "+export X=\"a b\"; x+\n"));
  EXPECT_THAT(dry.err, MatchesRegex("kavo: line 3 is left out: [^\n]*evenly[^\n]*\n"));
  EXPECT_EQ(result_of("task list").size(), 0U);

  const Finished real = kavo("import-crontab - --owner " + user() + " <tab");
  EXPECT_EQ(real.code, 1);
  EXPECT_EQ(real.err, dry.err);
  const Json::Value tasks = result_of("task list");
  ASSERT_EQ(tasks.size(), 2U);
  EXPECT_EQ(tasks[0]["name"], "echo \"$X\" %");
  EXPECT_EQ(tasks[1]["name"], std::string(60, 'x') + "...");
  EXPECT_FALSE(tasks[0]["next_run"].isNull());
  EXPECT_EQ(kavo("run 1 --wait").out, "Run 1 of task 1: ok\na b %\n");

  // But for overlapping runs, as if it had been made in the desktop.
  create_script(tasks[0]["name"].asString(), tasks[0]["command"].asString());
  Json::Value by_desktop = result_of("task show 3");
  Json::Value by_import = tasks[0];
  EXPECT_EQ(by_import["can_run_task_same_time"], true);
  for (Json::Value* task : {&by_desktop, &by_import}) {
    (*task)["app_args"] = json((*task)["app_args"].asString());
    for (const char* member : {"id", "schedule", "next_run", "can_run_task_same_time"}) {
      task->removeMember(member);
    }
  }
  EXPECT_EQ(by_import, by_desktop);
}

TEST_F(TransferTest, CrontabOfTheSystemAndWrongUse) {
  const Finished system = kavo(
      "import-crontab -", "# system\n0 4 * * * " + user() + " true\n@daily " + user() + " false\n");
  EXPECT_TRUE(system.code == 0 && system.err == "") << system.err;

  // A user's own crontab, without saying whose: the command would be taken for the user.
  const Finished own = kavo("import-crontab -", "0 4 * * * /bin/true --all\n");
  EXPECT_EQ(own.code, 1);
  EXPECT_THAT(own.err, HasSubstr("line 1 is left out: there is no user \"/bin/true\""));
  const std::string as_user = "import-crontab - --owner " + user();
  EXPECT_THAT(kavo(as_user, "@daily " + std::string(200000, 'x') + "\n").err,
              HasSubstr("line 1 is left out: The command is longer than"));
  EXPECT_EQ(result_of("task list").size(), 2U);

  EXPECT_EQ(kavo(as_user, "").code, 0);
  for (const char* wrong : {"", " none", " .", " - --owner 'no such user'"}) {
    EXPECT_EQ(kavo(std::string("import-crontab") + wrong).code, 2) << wrong;
  }
}

TEST_F(TransferTest, ExportedTasksComeBackAsTheyWere) {
  EXPECT_EQ(kavo("import -", exported()).out, "0 tasks\n");
  create_script("removed", "true");
  create_script("nightly ä \"\n", "echo 1",
                R"({"hour": 3, "minute": 15, "kept": [1.5, {"x": "\u0001"}]})");
  create_script("once", "true", R"({"type": "date", "date": "2020-02-29", "repeat_date": "yearly",
                                    "timezone": "Asia/Tokyo"})");
  create_script("large", "true #" + std::string(100000, 'x'));
  data(R"(1 set_enable status='[{"id": 2, "enable": false}]')");
  EXPECT_EQ(kavo("task remove 1").code, 0);
  const std::string document = exported();
  const Json::Value tasks = result_of("task list");
  EXPECT_EQ(json(document)["version"], 1);
  root_.write("document", document);

  // Over what is there, and into an empty store.
  EXPECT_EQ(kavo("import document").code, 1);
  EXPECT_EQ(kavo("import document --replace").out, "3 tasks\n");
  EXPECT_EQ(exported(), document);
  std::filesystem::remove_all(root_.path() / "var/lib/kavo");
  EXPECT_EQ(kavo("import document").code, 0);
  EXPECT_EQ(exported(), document);
  EXPECT_EQ(result_of("task list"), tasks);

  // A restored number is never given again.
  EXPECT_EQ(kavo("task remove 4").code, 0);
  EXPECT_EQ(create_script("new", "true"), "5");
}

TEST_F(TransferTest, ReplacingLeavesOtherTasksAlone) {
  create_script("one", "true");
  create_script("two", "true");
  Json::Value document = json(exported());
  document["tasks"].resize(1);
  document["tasks"][0]["name"] = "changed";
  document["tasks"][0]["enabled"] = false;
  EXPECT_EQ(kavo("import - --replace", document.toStyledString()).out, "1 task\n");
  const Json::Value tasks = result_of("task list");
  ASSERT_EQ(tasks.size(), 2U);
  EXPECT_EQ(tasks[0]["name"], "changed");
  EXPECT_TRUE(tasks[0]["next_run"].isNull());
  EXPECT_EQ(tasks[1]["name"], "two");
}

TEST_F(TransferTest, ADocumentIsTakenWholeOrNotAtAll) {
  create_script("one", "true");
  const Json::Value task = json(exported())["tasks"][0];
  // A task that could be stored comes first each time.
  Json::Value base = json(exported());
  base["tasks"][0]["id"] = 10;
  base["tasks"][1] = task;
  EXPECT_THAT(refusal_of(base), HasSubstr("there is a task 1 already"));
  base["tasks"][1]["id"] = 10;
  EXPECT_THAT(refusal_of(base), HasSubstr("Task 2 of the document cannot be stored: The id 10"));
  base["tasks"][1]["id"] = 11;
  for (const auto& [member, value, reason] : std::vector<std::array<std::string, 3>>{
           {"id", "0", "\"id\""},
           {"id", "\"11\"", "\"id\""},
           {"id", "11.0", "\"id\""},
           {"id", "2147483647", "\"id\""},
           {"id", "99999999999999999999", "\"id\""},
           {"name", "null", "\"name\" is missing"},
           {"name", "7", "\"name\" is missing, or is not a text"},
           {"name", R"("a\u0000b")", "not UTF-8"},
           {"enabled", "1", "\"enabled\""},
           {"extra", "1", "a member that is not known"},
           {"schedule", "null", "\"schedule\""},
           {"schedule", R"({"hour": 24})", "hour: 24 is not"},
           {"schedule", R"({"timezone": "Nowhere/Town"})", "timezone"}}) {
    Json::Value document = base;
    document["tasks"][1][member] = json(value);
    const std::string refusal = refusal_of(document);
    EXPECT_THAT(refusal, HasSubstr("Task 2 of the document"));
    EXPECT_THAT(refusal, HasSubstr(reason)) << member << value;
  }
  Json::Value document = base;
  document["tasks"][1].removeMember("command");
  EXPECT_THAT(refusal_of(document), HasSubstr("\"command\" is missing"));
  document = base;
  document["version"] = 2;
  EXPECT_THAT(refusal_of(document), HasSubstr("version"));
  for (const char* text :
       {"{}", "[]", "7", R"({"version": 1, "tasks": {}})", R"({"tasks": []})",
        R"({"version": 1, "tasks": [], "more": 1})", R"({"version": 1, "tasks": [7]})"}) {
    EXPECT_NE(refusal_of(json(text)), "") << text;
  }
  EXPECT_EQ(kavo("import -", exported().substr(0, 100)).code, 1);
  EXPECT_EQ(kavo("import none").code, 2);
  EXPECT_EQ(kavo("import -", base.toStyledString()).out, "2 tasks\n");
}

}  // namespace
