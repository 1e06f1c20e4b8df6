#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tool_test.h"

namespace {

using testing::HasSubstr;

const std::string kTool = KAVOPKG;

class KavoPkg : public SystemdTest {
 protected:
  void install(const std::string& name, const std::string& members) const {
    root_.write("usr/kavo/packages/" + name + "/manifest.json", members);
  }
  // A package "scripted" whose script writes down how it was called.
  std::filesystem::path install_script() const {
    install("scripted", R"({"name": "scripted", "startable": true, "script": "bin/control"})");
    root_.write("usr/kavo/packages/scripted/bin/control",
                "#!/bin/sh\necho \"$# $1\" >>\"$KAVO_ROOT/log\"\n");
    auto script = root_.path() / "usr/kavo/packages/scripted/bin/control";
    EXPECT_EQ(chmod(script.c_str(), 0755), 0);
    return script;
  }
};

TEST_F(KavoPkg, SwitchesPackagesByTheirManifest) {
  install("web", R"({"name": "web", "startable": true, "units": ["a.service", "b.socket"]})");
  install("a \"b\"\n[c,d]", R"({"name": "a \"b\"\n[c,d]", "startable": true,
                                "units": ["odd.service"]})");
  install_script();
  Finished done =
      run(kTool + " start " + word("web") + ";\n" + kTool + " start " + word("a \"b\"\n[c,d]") +
          ";\n" + kTool + " start " + word("scripted") + ";\n");
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(switched(), "start a.service\nstart b.socket\nstart odd.service\n1 start\n");
  done = run(kTool + " stop scripted web");
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(switched(), "1 stop\nstop a.service\nstop b.socket\n");
}

TEST_F(KavoPkg, ReportsPackagesItCannotSwitchAndDoesTheOthers) {
  install("web", R"({"name": "web", "startable": true, "units": ["a.service", "b.service"]})");
  install("data", R"({"name": "data"})");
  install("broken", "{");
  install("web2", R"({"name": "web2", "startable": true, "units": ["c.service"]})");
  root_.write("failing", "a.service\n");
  const Finished done = run(kTool + " stop web data broken absent ../packages/web2 web2");
  EXPECT_EQ(done.code, 1);
  EXPECT_EQ(switched(), "stop a.service\nstop b.service\nstop c.service\n");
  for (const char* part :
       {"\"web\": systemctl stop a.service ended with 1", "\"data\": it has nothing to start",
        "\"broken\": its manifest", "\"absent\": there is no such package",
        "\"../packages/web2\": there is no such package"}) {
    EXPECT_THAT(done.err, HasSubstr(part));
  }
}

TEST_F(KavoPkg, NeedsSystemdForUnitsOnly) {
  install("web", R"({"name": "web", "startable": true, "units": ["a.service"]})");
  install_script();
  std::filesystem::remove(root_.path() / "run/systemd/system");
  const Finished done = run(kTool + " start web scripted");
  EXPECT_EQ(done.code, 1);
  EXPECT_THAT(done.err, HasSubstr("\"web\": systemd does not run here"));
  EXPECT_EQ(switched(), "1 start\n");
}

TEST_F(KavoPkg, RunsNoScriptThatOthersCanChange) {
  const std::filesystem::path script = install_script();
  const std::filesystem::path folder = script.parent_path();
  const auto refused = [this](const char* why) {
    const Finished done = run(kTool + " start scripted");
    EXPECT_EQ(done.code, 1) << why;
    EXPECT_THAT(done.err, HasSubstr(why));
    EXPECT_EQ(switched(), "") << why;
  };
  ASSERT_EQ(chmod(script.c_str(), 0775), 0);
  refused("can be written by other users");
  ASSERT_EQ(chmod(script.c_str(), 0644), 0);
  refused("cannot be run: Permission denied");
  ASSERT_EQ(chmod(script.c_str(), 0755), 0);
  ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
  refused("a folder of its script can be written");
  ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(script.c_str(), 65534, 65534), 0);
    refused("belongs to another user");
    ASSERT_EQ(chown(script.c_str(), 0, 0), 0);
  }

  std::filesystem::rename(script, root_.path() / "outside");
  refused("No such file");
  std::filesystem::create_symlink(root_.path() / "outside", script);
  refused("is not a regular file");
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(root_.path() / "bin");
  std::filesystem::rename(root_.path() / "outside", root_.path() / "bin/control");
  std::filesystem::create_directory_symlink(root_.path() / "bin", folder);
  refused("is not a folder");
}

TEST_F(KavoPkg, ListsPackages) {
  install("b", R"({"name": "b", "display_name": "B \u001b[2J", "startable": true,
                   "units": ["b.service"]})");
  install("a\nc", R"({"name": "a\nc"})");
  install("c", "broken");
  const Finished done = run(kTool + " list");
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(done.out,
            "\"a\\nc\"\t\"a\\nc\"\tnot startable\n"
            "\"b\"\t\"B \\x1b[2J\"\tstartable\n"
            "\"c\"\t\tbroken\n");
}

TEST_F(KavoPkg, RefusesWrongUse) {
  install("web", R"({"name": "web", "startable": true, "units": ["a.service"]})");
  for (const char* arguments :
       {"", "start", "stop", "restart web", "web start", "start -web", "start --", "start -- web",
        "start web --now", "list web", "start web -- stop", "start --help"}) {
    const Finished done = run(kTool + " " + arguments);
    EXPECT_EQ(done.code, 2) << arguments;
    EXPECT_NE(done.err, "") << arguments;
  }
  EXPECT_EQ(switched(), "");
  EXPECT_EQ(run(kTool + " --help").code, 0);
}

}  // namespace
