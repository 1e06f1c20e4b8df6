// Runs the built tools as a task would: by a shell, against a temporary root, with a stand-in
// systemctl on the path.
#pragma once

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <xlibc.h>
#include "shell_command.h"

class ToolTest : public testing::Test {
 protected:
  Finished run(const std::string& command) const { return run_in(root_, command); }

  // Expects an exit code, and these texts in what was written.
  static void expect_end(const Finished& done, int code, const std::vector<const char*>& texts) {
    EXPECT_EQ(done.code, code) << done.err;
    for (const char* text : texts) EXPECT_THAT(done.out + done.err, testing::HasSubstr(text));
  }

  // Expects each of these to be refused before anything is done.
  void expect_wrong_use(const std::string& tool, const std::vector<const char*>& arguments) const {
    for (const char* wrong : arguments) {
      const Finished done = run(tool + " " + wrong);
      EXPECT_EQ(done.code, 2) << wrong;
      EXPECT_TRUE(done.err != "" && done.out == "") << wrong;
    }
    EXPECT_EQ(run(tool + " --help").code, 0);
  }

  // `text` as one word of a command line, as tasks write names.
  static std::string word(const std::string& text) {
    std::string buffer(2 * text.size() + 2, '\0');
    EXPECT_GT(XLIBCEncShParam(text.c_str(), buffer.data(), buffer.size()), 0);
    return buffer.c_str();
  }

  const TemporaryRoot root_;
};

// With a systemd that seems to run. Its systemctl knows the units that are named in the file
// "installed", fails to switch those in "failing", and writes down what it was asked to switch.
class SystemdTest : public ToolTest {
 protected:
  SystemdTest() {
    std::filesystem::create_directories(root_.path() / "run/systemd/system");
    root_.write_program(
        "stand-in/systemctl",
        "test \"$2\" = -- || exit 9\n"
        "if test \"$1\" = cat; then grep -qxF \"$3\" \"$KAVO_ROOT/installed\"; exit; fi\n"
        "echo \"$1 $3\" >>\"$KAVO_ROOT/log\"\n"
        "! grep -qxF \"$3\" \"$KAVO_ROOT/failing\"\n");
    root_.write("failing", "");
    setenv("PATH", (root_.path().string() + "/stand-in:" + path_).c_str(), 1);
  }
  ~SystemdTest() override { setenv("PATH", path_.c_str(), 1); }

  // What was switched since the last time, a line each.
  std::string switched() const {
    std::string log = read_whole(root_.path() / "log");
    std::filesystem::remove(root_.path() / "log");
    return log;
  }

 private:
  const std::string path_ = std::getenv("PATH");
};
