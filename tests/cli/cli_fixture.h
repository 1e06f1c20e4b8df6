// The build, installed into a root of its own, and its command line. CMAKE_PROGRAM and BUILD_FOLDER
// come from the build.
#pragma once

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "scheduler_process.h"
#include "store/store_fixture.h"

struct Outcome {
  int code = -1;  // exit code; -1 when the program was not started or did not exit
  std::string out;
  std::string err;
};

class CliTest : public StoreTest {
 protected:
  static constexpr char kApi[] = "KAVO.Core.TaskScheduler";

  void SetUp() override {
    StoreTest::SetUp();
    setenv("DESTDIR", root_.path().c_str(), 1);
    const Outcome install =
        run_program({CMAKE_PROGRAM, "--install", BUILD_FOLDER, "--prefix", "/usr/kavo"});
    unsetenv("DESTDIR");
    ASSERT_EQ(install.code, 0) << install.err;
    scheduler_.emplace(root_.path() / "usr/kavo/bin/kavo-schedd");
  }

  std::string program() const { return root_.path() / "usr/kavo/bin/kavo"; }

  Outcome kavo(std::vector<std::string> arguments, const std::string& input = "") const {
    arguments.insert(arguments.begin(), program());
    return run_program(arguments, input);
  }

  // Calls a method of the module. The answer, which says whether it is one of success.
  Json::Value call(const std::string& version, const std::string& method,
                   const std::vector<std::string>& parameters = {},
                   const std::string& input = "") const {
    std::vector<std::string> arguments = {"call", kApi, version, method};
    arguments.insert(arguments.end(), parameters.begin(), parameters.end());
    const Outcome outcome = kavo(arguments, input);
    EXPECT_EQ(outcome.err, "");
    Json::Value answer = json(outcome.out);
    EXPECT_EQ(outcome.code, answer["success"].asBool() ? 0 : 1) << outcome.out;
    return answer;
  }

  // The result of a command of the store, as --json prints it.
  Json::Value result_of(std::vector<std::string> arguments) const {
    arguments.emplace_back("--json");
    const Outcome outcome = kavo(arguments);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    return json(outcome.out);
  }

  // Creates a script task of this user's; its id.
  int create_script(const std::string& name, const std::string& script,
                    const std::string& schedule = "{}") const {
    Json::Value task;
    task["type"] = "script";
    task["name"] = name;
    task["owner"] = getpwuid(geteuid())->pw_name;
    task["enable"] = true;
    task["schedule"] = json(schedule);
    task["extra"]["script"] = script;
    const Json::Value answer = call("2", "create", {"--json", "-"}, task.toStyledString());
    EXPECT_TRUE(answer["success"].asBool()) << answer.toStyledString();
    return answer["data"]["id"].asInt();
  }

  static std::string read_file(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  Outcome run_program(const std::vector<std::string>& arguments,
                      const std::string& input = "") const {
    root_.write("in", input);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    const char* names[] = {"in", "out", "err"};
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(
          &files, number, (root_.path() / names[number]).c_str(),
          number == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC, 0600);
    }
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
      pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    Outcome outcome;
    pid_t process = 0;
    int status = 0;
    if (posix_spawn(&process, pointers[0], &files, nullptr, pointers.data(), environ) == 0 &&
        waitpid(process, &status, 0) == process && WIFEXITED(status)) {
      outcome = {WEXITSTATUS(status), read_file(root_.path() / "out"),
                 read_file(root_.path() / "err")};
    }
    posix_spawn_file_actions_destroy(&files);
    return outcome;
  }

 private:
  std::optional<SchedulerProcess> scheduler_;
};
