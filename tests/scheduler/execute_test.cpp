// What a runner does, in a process of the test's own, and what it refuses.

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <vector>

#include "base/descriptor.h"
#include "scheduler/execute.h"
#include "scheduler/identity.h"
#include "scheduler/tool_link.h"
#include "scheduler/zone_watch.h"
#include "scheduler_fixture.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

class ExecuteTest : public SchedulerTest {
 protected:
  // Executes a command in a child, stops it once the file "ready" is there, and returns "result
  // output". With a limit, in seconds, that is left to the limit.
  std::string execute(const std::string& command, int limit = 0) const {
    kavo::Run run;
    run.owner = owner();
    run.command = command;
    run.time_limit = limit;
    const pid_t child = fork();
    if (child == 0) {
      kavo::accept_stops();
      std::string saved;
      kavo::ExecuteOptions options;
      options.grace = milliseconds(300);
      options.save_interval = milliseconds(10);
      bool busy = false;
      options.save_output = [&](std::size_t position, std::string_view bytes) {
        busy = !busy;  // every other time the store is busy
        if (!busy && position == saved.size()) saved += bytes;
        return !busy;
      };
      const kavo::RunEnd end = kavo::execute(run, options);
      const bool fits = end.output_position == saved.size();
      root_.write("result", end.result + end.note + " " + saved + (fits ? "" : "?") + end.output);
      _exit(0);
    }
    if (limit == 0) {
      EXPECT_TRUE(eventually([&] { return exists("ready"); }));
      kill(child, SIGTERM);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    std::ifstream result(file("result"));
    return {std::istreambuf_iterator<char>(result), {}};
  }

  // The processes that have this test's folder in their command lines or environments.
  std::vector<std::string> survivors() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
      std::ifstream stream(entry.path() / "cmdline", std::ios::binary);
      const std::string text(std::istreambuf_iterator<char>(stream), {});
      if (text.find(root_.path().filename().string()) != std::string::npos) {
        found.push_back(entry.path().filename());
      }
    }
    return found;
  }
};

TEST_F(ExecuteTest, StoppingReachesATreeThatMadeItselfIndependentAndIgnoresTerm) {
  // A daemon as they are made: a session of its own, its parent gone, TERM ignored, children that
  // it starts anew when they are killed.
  root_.write("daemon",
              "trap '' TERM; while :; do sh -c 'sleep 600; : \"$0\"' \"$0\"; done & wait; wait");
  const std::string daemon = file("daemon");
  EXPECT_EQ(execute("(setsid sh " + daemon + " &) ; (setsid sh " + daemon +
                    " &); echo started; touch " + file("ready") + "; sleep 600"),
            "stopped started\n");
  EXPECT_THAT(survivors(), testing::IsEmpty());
}

TEST_F(ExecuteTest, ACommandMayTidyUpWithinItsGrace) {
  EXPECT_THAT(execute("trap 'echo tidied; exit 0' TERM; touch " + file("ready") +
                      "; while :; do sleep 0.01; done"),
              testing::AllOf(testing::StartsWith("stopped "), testing::EndsWith("tidied\n")));
}

TEST_F(ExecuteTest, ATimeLimitStopsARunAndAllOfIt) {
  EXPECT_EQ(execute("echo a; (setsid sh -c 'sleep 600; : " + file("x") + "' &); sleep 600", 1),
            "time limit a\n");
  EXPECT_THAT(survivors(), testing::IsEmpty());
  EXPECT_EQ(execute("echo b; exit 3", 600), "exit code b\n");
}

TEST_F(ExecuteTest, ABackgroundProcessThatGoesOnWritingDoesNotHoldTheRun) {
  EXPECT_THAT(execute("yes & echo $! >" + file("pid") + "; sleep 0.1", 600),
              testing::StartsWith("ok y\ny\n"));
  pid_t background = 0;
  std::ifstream(file("pid")) >> background;
  kill(background, SIGKILL);
}

TEST_F(ExecuteTest, TheLinkOfTheToolMustBeRootsOwn) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root";
  }
  const std::string folder = file("tmp");
  const std::string link = folder + "/kavoschedtool";
  const std::string command = "/tmp/kavoschedtool --beep 3";
  const auto refusal = [&](const std::string& of = "/tmp/kavoschedtool --beep 3") -> std::string {
    try {
      kavo::check_tool_link(of, folder);
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  };
  const std::string real = "/usr/kavo/bin/kavoschedtool";
  EXPECT_THAT(refusal(), testing::HasSubstr("does not protect"));
  ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
  EXPECT_EQ(refusal("echo kavoschedtool"), "");
  EXPECT_THAT(refusal(), testing::HasSubstr("There is no link"));
  fs::create_symlink(real, link);
  EXPECT_EQ(refusal(), "");
  ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
  EXPECT_THAT(refusal(), testing::HasSubstr("does not protect"));
  ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
  EXPECT_EQ(refusal(), "");
  ASSERT_EQ(lchown(link.c_str(), 65534, 65534), 0);
  EXPECT_THAT(refusal(), testing::HasSubstr("is not root's link"));
  for (const std::string& target :
       {real + "x", real.substr(0, real.size() - 1), std::string("x")}) {
    fs::remove(link);
    fs::create_symlink(target, link);
    EXPECT_THAT(refusal(), testing::HasSubstr("is not root's link")) << target;
  }
  fs::remove(link);
  fs::copy("/bin/true", link);
  EXPECT_THAT(refusal(), testing::HasSubstr("is not root's link"));
  fs::remove_all(link);
  fs::create_symlink(real, link);
  ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
  EXPECT_THAT(refusal(), testing::HasSubstr("does not protect"));
}

TEST_F(ExecuteTest, ChangesOfTheZonesAreNoticed) {
  root_.write("etc/other", "");
  root_.write("zones/UTC", "a");
  root_.write("zones/Europe/Berlin", "a");
  root_.write("zones/right/Europe/Berlin", "a");
  kavo::ZoneWatch watch(file("etc"), file("zones"));
  std::string state = watch.state();
  const auto noticed = [&] {
    const bool changed = watch.changed();
    const std::string before = std::exchange(state, watch.state());
    EXPECT_EQ(changed, state != before);
    return changed;
  };
  EXPECT_FALSE(noticed());
  root_.write("etc/another", "");
  root_.write("zones/right/Europe/Paris", "a");
  EXPECT_FALSE(noticed());
  fs::create_symlink("/zones/UTC", file("etc/localtime"));
  EXPECT_TRUE(noticed());
  EXPECT_FALSE(noticed());
  fs::create_symlink("/zones/Europe/Berlin", file("etc/new"));
  fs::rename(file("etc/new"), file("etc/localtime"));
  EXPECT_TRUE(noticed());
  root_.write("zones/Europe/Berlin.new", "b");
  fs::rename(file("zones/Europe/Berlin.new"), file("zones/Europe/Berlin"));
  EXPECT_TRUE(noticed());
  root_.write("zones/Africa/Cairo", "a");
  EXPECT_TRUE(noticed());
  root_.write("zones/Africa/Tunis", "a");
  EXPECT_TRUE(noticed());
  root_.write("zones/Africa/Tunis", "edited in place");
  EXPECT_TRUE(noticed());
}

TEST(IdentityTest, OnlyRootRunsTheTasksOfOthers) {
  const pid_t child = fork();
  if (child == 0) {
    const uid_t nobody = getpwnam("nobody")->pw_uid;
    if (geteuid() == 0 && setresuid(nobody, nobody, nobody) != 0) _exit(1);
    const std::string own = getpwuid(geteuid())->pw_name;
    if (kavo::find_identity(own).user != geteuid()) _exit(2);
    try {
      kavo::find_identity("root");
      _exit(3);
    } catch (const std::runtime_error& error) {
      _exit(error.what() == std::string("A task of \"root\" can only be run by root.") ? 0 : 4);
    }
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
