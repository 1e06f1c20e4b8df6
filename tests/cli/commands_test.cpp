// The command lines that the module writes into tasks, run by a shell as they stand, with the
// installed tools at their real paths.

#include <set>

#include "cli_fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr char kAwkward[] = "it's \"mine\" $HOME\nnow;";

std::string quoted(const std::string& text) {
  return Json::Value(text).toStyledString();
}

class CommandsTest : public CliTest {
 protected:
  using Files = std::set<std::string>;

  // There are two shares with recycle bins, one of an awkward name.
  void SetUp() override {
    CliTest::SetUp();
    if (run_in(root_, INSIDE " test -x /usr/kavo/bin/kavorecycle").code != 0) {
      GTEST_SKIP() << "this machine does not let a program have mounts of its own";
    }
    fs::create_directories(root_.path() / "run/systemd/system");
    root_.write_program("stand-in/systemctl",
                        "[ \"$1\" = cat ] || echo \"$1 $3\" >>\"$KAVO_ROOT/switched\"\n");
    std::string shares;
    for (const auto& [name, path] : {std::pair("photos", "/0"), std::pair(kAwkward, "/1")}) {
      fs::create_directories(root_.path().string() + path + "/#recycle");
      shares += shares.empty() ? "" : ", ";
      shares += R"({"name": )" + quoted(name) + R"(, "path": )" +
                quoted(root_.path().string() + path) + "}";
    }
    root_.write("etc/kavo/shares.json", R"({"shares": [)" + shares + "]}");
  }

  void put(int share, const std::string& file, std::size_t size = 1) const {
    root_.write(std::to_string(share) + "/#recycle/" + file, std::string(size, 'x'));
  }
  Files bin(int share) const {
    Files files;
    const fs::path folder = root_.path() / std::to_string(share) / "#recycle";
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      files.insert(entry.path().filename());
    }
    return files;
  }

  // Runs a task's command with the stand-in before the machine's own programs.
  Finished run_command(const Json::Value& id) const {
    root_.write("command", result_of("task show " + id.asString())["command"].asString());
    return run_in(root_, "PATH=\"$PWD/stand-in:$PATH\" " INSIDE " /bin/sh -c \"$(cat command)\"");
  }
  // Creates a task and runs its command.
  Finished run_task(const std::string& type, const std::string& extra) const {
    return run_command(
        data("2 create --json -", R"({"type": ")" + type + R"(", "extra": )" + extra + "}")["id"]);
  }
  static std::string selected(const std::string& share) {
    return R"({"clean_share_policy": {"clean_all": false, "shares": [)" + quoted(share) + "]}}";
  }
};

TEST_F(CommandsTest, CleansTheChosenShareOnlyHoweverItIsNamed) {
  put(0, "kept");
  for (int i = 0; i < 10000; ++i) {
    put(1, "folder" + std::to_string(i % 10) + "/a b'\"\n" + std::to_string(i));
  }
  const Finished done = run_task("recycle", selected(kAwkward));
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(bin(1), Files());
  for (const char* option :
       {"-t", "--clean", "--enable", "-x", "--no-such", "-h", "--help", "--"}) {
    EXPECT_EQ(run_task("recycle", selected(option)).code, 2) << option;
  }
  EXPECT_EQ(run_task("recycle", selected("no such share")).code, 1);
  EXPECT_EQ(bin(0), Files{"kept"});
}

TEST_F(CommandsTest, RemovesByPolicyAndKeepsWhatIsReserved) {
  const std::pair<std::string, Files> rows[] = {
      {R"({"policy": "clean_all"})", {}},
      {R"({"policy": "time", "time": 30})", {"a.jpg", "b.PNG", "large", "middle", "small"}},
      {R"({"policy": "size", "size": 1, "sort_type": 0})", {"a.jpg", "b.PNG", "small"}},
      {R"({"reserve_policy": {"extension_check": true,
                              "extension": [{"file_ext": "JPG"}, {"file_ext": "png"}]}})",
       {"a.jpg", "b.PNG"}},
      {R"({"reserve_policy": {"size_greater_check": true, "size_greater": 2}})", {"large"}},
      {R"({"reserve_policy": {"size_smaller_check": true, "size_smaller": 1}})",
       {"a.jpg", "b.PNG", "small"}}};
  for (const auto& [policy, left] : rows) {
    for (const char* small : {"a.jpg", "b.PNG", "small"}) put(0, small, 1000);
    put(0, "middle", 2 << 20);
    put(0, "large", 3 << 20);
    EXPECT_EQ(run_task("recycle", R"({"clean_file_policy": )" + policy + "}").err, "");
    EXPECT_EQ(bin(0), left) << policy;
  }
}

TEST_F(CommandsTest, SwitchesBinsOnAndOff) {
  // The form has no switch for this action: such a task was stored before, and is saved again.
  for (const std::string action : {"1", "0"}) {
    const TaskPtr task = new_task();
    KAVOSchedCTaskSetApp(task.get(), "KAVO.ZEL.TaskScheduler.Recycle");
    KAVOSchedCTaskSetAppArgs(task.get(), (R"({"recycle_action": ")" + action + R"("})").c_str());
    ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
    const std::string id = std::to_string(KAVOSchedTaskGetID(*task));
    data("2 set --json -", R"({"id": )" + id + R"(, "extra": )" + selected(kAwkward) + "}");
    EXPECT_EQ(run_command(id).err, "");
    const Json::Value shares = json(read_whole(root_.path() / "etc/kavo/shares.json"))["shares"];
    EXPECT_EQ(shares[1]["recycle_bin"], action == "1");
    EXPECT_FALSE(shares[0]["recycle_bin"].asBool());
  }
}

TEST_F(CommandsTest, StartsAndStopsServicesThenPackages) {
  root_.write("etc/kavo/kavo.conf", "supportNFS=\"yes\"\n");
  const std::string packages = "usr/kavo/packages/";
  root_.write(packages + kAwkward + "/manifest.json",
              R"({"startable": true, "script": "control", "name": )" + quoted(kAwkward) + "}");
  root_.write_program(packages + kAwkward + "/control",
                      "echo \"$1 package\" >>\"$KAVO_ROOT/switched\"\n");
  root_.write(packages + "index/manifest.json",
              R"({"name": "index", "startable": true, "units": ["index.service"]})");
  for (const std::string action : {"start", "stop"}) {
    Json::Value extra = json(R"({"services": [{"id": "index", "enable": true},
        {"id": "NFS", "enable": true}, {"id": "Samba", "enable": true}, {"enable": true}]})");
    extra["action"] = action;
    extra["services"][3]["id"] = kAwkward;
    fs::remove(root_.path() / "switched");
    EXPECT_EQ(run_task("service", extra.toStyledString()).err, "");
    std::string expected;
    for (const char* each :
         {"smbd.service", "nmbd.service", "nfs-server.service", "index.service", "package"}) {
      expected += action + " " + each + "\n";
    }
    EXPECT_EQ(read_whole(root_.path() / "switched"), expected);
  }
  EXPECT_EQ(run_task("service", R"({"action": "start"})").code, 0);  // the empty command
  EXPECT_EQ(run_task("beep", R"({"beep_duration": 1})").code, 0);
}

}  // namespace
