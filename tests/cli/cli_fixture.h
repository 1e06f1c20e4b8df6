// The build, installed into a root of its own, and its command line. CMAKE_PROGRAM and BUILD_FOLDER
// come from the build.
#pragma once

#include <pwd.h>
#include <unistd.h>

#include <optional>
#include <string>

#include "scheduler_process.h"
#include "shell_command.h"
#include "store/store_fixture.h"

class CliTest : public StoreTest {
 protected:
  static constexpr char kApi[] = "KAVO.Core.TaskScheduler";

  void SetUp() override {
    StoreTest::SetUp();
    const Finished install = run_in(
        root_, "DESTDIR=. " CMAKE_PROGRAM " --install '" BUILD_FOLDER "' --prefix /usr/kavo");
    ASSERT_EQ(install.code, 0) << install.err;
    scheduler_.emplace(root_.path() / "usr/kavo/bin/kavo-schedd");
  }

  static std::string user() { return getpwuid(geteuid())->pw_name; }

  // Runs a command of the command line, written as in a shell.
  Finished kavo(const std::string& command, const std::string& input = "") const {
    return run_in(root_, "usr/kavo/bin/kavo " + command, input);
  }

  // What a command prints with --json.
  Json::Value result_of(const std::string& command) const {
    const Finished done = kavo(command + " --json");
    EXPECT_EQ(done.code, 0) << done.err;
    return json(done.out);
  }

  // Calls a method of the module: "1 list sort_by=id". The answer says whether it is a success.
  Json::Value call(const std::string& request, const std::string& input = "") const {
    const Finished done = kavo(std::string("call ") + kApi + " " + request, input);
    EXPECT_EQ(done.err, "");
    Json::Value answer = json(done.out);
    EXPECT_EQ(done.code, answer["success"].asBool() ? 0 : 1) << done.out;
    return answer;
  }
  // The data of a success.
  Json::Value data(const std::string& request, const std::string& input = "") const {
    const Json::Value answer = call(request, input);
    EXPECT_TRUE(answer["success"].asBool()) << request << answer;
    return answer["data"];
  }

  // Creates a script task of this user's; its id as a text.
  std::string create_script(const std::string& name, const std::string& script,
                            const std::string& schedule = "{}") const {
    Json::Value task;
    task["type"] = "script";
    task["name"] = name;
    task["owner"] = user();
    task["enable"] = true;
    task["schedule"] = json(schedule);
    task["extra"]["script"] = script;
    return data("2 create --json -", task.toStyledString())["id"].asString();
  }

 private:
  std::optional<SchedulerProcess> scheduler_;
};
