// Runs the built tools as a task would: by a shell, against a temporary root, with a stand-in
// systemctl on the path.
#pragma once

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include <xlibc.h>
#include "base/file.h"
#include "temporary_folder.h"

struct Finished {
  int code = -1;
  std::string out, err;
};

class ToolTest : public testing::Test {
 protected:
  ToolTest() { std::filesystem::create_directory(root_.path() / "work"); }

  // Runs a shell command line to its end.
  Finished run(const std::string& command) const {
    const std::string work = (root_.path() / "work").string();
    const std::string whole = "cd '" + work + "' && {\n" + command + "\n} >out 2>err </dev/null";
    const int status = std::system(whole.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(work + "/out"), read(work + "/err")};
  }

  static std::string read(const std::filesystem::path& file) {
    return kavo::read_file(file.string(), size_t{1} << 24).value_or("");
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
    root_.write("stand-in/systemctl",
                "#!/bin/sh\n"
                "test \"$2\" = -- || exit 9\n"
                "if test \"$1\" = cat; then grep -qxF \"$3\" \"$KAVO_ROOT/installed\"; exit; fi\n"
                "echo \"$1 $3\" >>\"$KAVO_ROOT/log\"\n"
                "! grep -qxF \"$3\" \"$KAVO_ROOT/failing\"\n");
    root_.write("failing", "");
    EXPECT_EQ(chmod((root_.path() / "stand-in/systemctl").c_str(), 0700), 0);
    setenv("PATH", (root_.path().string() + "/stand-in:" + path_).c_str(), 1);
  }
  ~SystemdTest() override { setenv("PATH", path_.c_str(), 1); }

  // What was switched since the last time, a line each.
  std::string switched() const {
    std::string log = read(root_.path() / "log");
    std::filesystem::remove(root_.path() / "log");
    return log;
  }

 private:
  const std::string path_ = std::getenv("PATH");
};
