// The command lines that the module writes into tasks, run by a shell as they stand, with the
// installed tools at their real paths.

#include <algorithm>

#include "cli_fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr char kAwkward[] = "it's \"mine\" $HOME\nnow;";

class CommandsTest : public CliTest {
 protected:
  void SetUp() override {
    CliTest::SetUp();
    if (run_program({INSIDE, "/usr/bin/test", "-x", "/usr/kavo/bin/kavorecycle"}).code != 0) {
      GTEST_SKIP() << "this machine does not let a program have mounts of its own";
    }
    fs::create_directories(root_.path() / "run/systemd/system");
    root_.write("stand-in/systemctl",
                "#!/bin/sh\n[ \"$1\" = cat ] || echo \"$1 $3\" >>\"$KAVO_ROOT/switched\"\n");
    fs::permissions(root_.path() / "stand-in/systemctl", fs::perms::owner_all);
  }

  // Makes shares with recycle bins, each with the given files in its bin.
  void make_shares(const std::vector<std::string>& names) {
    Json::Value shares;
    for (const std::string& name : names) {
      const fs::path folder = root_.path() / "shares" / std::to_string(shares["shares"].size());
      fs::create_directories(folder / "#recycle");
      Json::Value share;
      share["name"] = name;
      share["path"] = folder.string();
      share["recycle_bin"] = false;
      shares["shares"].append(share);
    }
    root_.write("etc/kavo/shares.json", shares.toStyledString());
  }
  void put(int share, const std::string& file, std::size_t size = 1) const {
    root_.write("shares/" + std::to_string(share) + "/#recycle/" + file, std::string(size, 'x'));
  }
  // The files in the bin of a share, in order.
  std::vector<std::string> bin(int share) const {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root_.path() / "shares" /
                                                              std::to_string(share) / "#recycle")) {
      files.push_back(entry.path().filename().string());
    }
    std::sort(files.begin(), files.end());
    return files;
  }
  bool bin_is_on(int share) const {
    return json(read_file(root_.path() / "etc/kavo/shares.json"))["shares"][share]["recycle_bin"]
        .asBool();
  }

  int create(const std::string& type, const std::string& extra) const {
    Json::Value task;
    task["type"] = type;
    task["name"] = "task";
    task["schedule"] = Json::Value(Json::objectValue);
    task["extra"] = json(extra);
    const Json::Value answer = call("2", "create", {"--json", "-"}, task.toStyledString());
    EXPECT_TRUE(answer["success"].asBool()) << answer.toStyledString();
    return answer["data"]["id"].asInt();
  }
  // Runs a task's command with the stand-in before the machine's own programs.
  Outcome run_command(int id) const {
    const std::string command =
        result_of({"task", "show", std::to_string(id)})["command"].asString();
    return run_program({INSIDE, "/bin/sh", "-c",
                        "PATH=" + (root_.path() / "stand-in").string() + ":$PATH\n" + command});
  }
  Outcome clean(const std::string& extra) const { return run_command(create("recycle", extra)); }

  static std::string selected(const std::string& share, const std::string& file_policy = "{}") {
    Json::Value extra;
    extra["clean_share_policy"]["clean_all"] = false;
    extra["clean_share_policy"]["shares"].append(share);
    extra["clean_file_policy"] = json(file_policy);
    return extra.toStyledString();
  }
  using Files = std::vector<std::string>;
};

TEST_F(CommandsTest, CleansTheChosenShareOnlyHoweverItIsNamed) {
  make_shares({"photos", kAwkward});
  put(0, "kept");
  for (int i = 0; i < 10000; ++i) {
    put(1, "folder" + std::to_string(i % 10) + "/a b'\"\n" + std::to_string(i));
  }
  const Outcome outcome = clean(selected(kAwkward));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(bin(1), Files{});
  EXPECT_EQ(bin(0), Files{"kept"});
}

TEST_F(CommandsTest, RemovesByPolicyAndKeepsWhatIsReserved) {
  make_shares({"photos"});
  struct Row {
    const char* policy;
    Files left;
  };
  for (const Row& row : {
           Row{R"({"policy": "clean_all"})", {}},
           Row{R"({"policy": "time", "time": 30})", {"a.jpg", "b.PNG", "large", "middle", "small"}},
           Row{R"({"policy": "size", "size": 1, "sort_type": 0})", {"a.jpg", "b.PNG", "small"}},
           Row{R"({"policy": "clean_all", "reserve_policy": {"extension_check": true,
                   "extension": [{"file_ext": "JPG"}, {"file_ext": "png"}]}})",
               {"a.jpg", "b.PNG"}},
           Row{R"({"policy": "clean_all", "reserve_policy": {"size_greater_check": true,
                   "size_greater": 2}})",
               {"large"}},
           Row{R"({"policy": "clean_all", "reserve_policy": {"size_smaller_check": true,
                   "size_smaller": 1}})",
               {"a.jpg", "b.PNG", "small"}},
       }) {
    SCOPED_TRACE(row.policy);
    put(0, "a.jpg");
    put(0, "b.PNG");
    put(0, "small", 1000);
    put(0, "middle", 2 << 20);
    put(0, "large", 3 << 20);
    const Outcome outcome = clean(R"({"clean_file_policy": )" + std::string(row.policy) + "}");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(bin(0), row.left);
  }
}

TEST_F(CommandsTest, ANameThatReadsAsAnOptionIsRefusedAndRemovesNothing) {
  make_shares({"photos"});
  put(0, "kept");
  for (const char* name : {"-t", "--clean", "--enable", "-x", "--no-such", "-h", "--help", "--"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(clean(selected(name)).code, 2);
    EXPECT_EQ(bin(0), Files{"kept"});
  }
  const Outcome unknown = clean(selected("no such share"));
  EXPECT_EQ(unknown.code, 1);
  EXPECT_EQ(bin(0), Files{"kept"});
}

TEST_F(CommandsTest, SwitchesBinsOnAndOff) {
  make_shares({"photos", kAwkward});
  // The form has no switch for this action: such a task was stored before, and is saved again.
  for (const auto& [action, on] : {std::pair("1", true), std::pair("0", false)}) {
    const TaskPtr task = new_task();
    KAVOSchedCTaskSetApp(task.get(), "KAVO.ZEL.TaskScheduler.Recycle");
    KAVOSchedCTaskSetAppArgs(task.get(),
                             (std::string(R"({"recycle_action": ")") + action + R"("})").c_str());
    ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
    const int id = KAVOSchedTaskGetID(*task);
    Json::Value document;
    document["id"] = id;
    document["schedule"] = Json::Value(Json::objectValue);
    document["extra"] = json(selected(kAwkward));
    ASSERT_TRUE(call("2", "set", {"--json", "-"}, document.toStyledString())["success"].asBool());
    const Outcome outcome = run_command(id);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(bin_is_on(1), on);
    EXPECT_FALSE(bin_is_on(0));
  }
}

TEST_F(CommandsTest, StartsAndStopsServicesThenPackages) {
  root_.write("etc/kavo/kavo.conf", "supportNFS=\"yes\"\n");
  const std::string package = std::string("usr/kavo/packages/") + kAwkward;
  Json::Value manifest;
  manifest["name"] = kAwkward;
  manifest["startable"] = true;
  manifest["script"] = "control";
  root_.write(package + "/manifest.json", manifest.toStyledString());
  root_.write(package + "/control", "#!/bin/sh\necho \"$1 package\" >>\"$KAVO_ROOT/switched\"\n");
  fs::permissions(root_.path() / package / "control", fs::perms::owner_all);
  root_.write("usr/kavo/packages/index/manifest.json",
              R"({"name": "index", "startable": true, "units": ["index.service"]})");

  for (const std::string action : {"start", "stop"}) {
    Json::Value extra;
    extra["action"] = action;
    for (const char* id : {kAwkward, "index", "NFS", "Samba"}) {
      Json::Value choice;
      choice["id"] = id;
      choice["enable"] = true;
      extra["services"].append(choice);
    }
    fs::remove(root_.path() / "switched");
    const Outcome outcome = run_command(create("service", extra.toStyledString()));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(read_file(root_.path() / "switched"),
              action + " smbd.service\n" + action + " nmbd.service\n" + action +
                  " nfs-server.service\n" + action + " index.service\n" + action + " package\n");
  }
  // Nothing chosen: the empty command.
  EXPECT_EQ(run_command(create("service", R"({"action": "start"})")).code, 0);
}

TEST_F(CommandsTest, Beeps) {
  const Outcome outcome = run_command(create("beep", R"({"beep_duration": 1})"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
}

}  // namespace
