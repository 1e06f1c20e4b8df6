#include "tool_test.h"

namespace {

const std::string kTool = KAVOPKG;

class KavoPkg : public SystemdTest {
 protected:
  // Installs a package; `members` are those of its manifest behind the name.
  void install(const std::string& name, const std::string& members) const {
    root_.write("usr/kavo/packages/" + name + "/manifest.json", "{\"name\": " + members + "}");
  }
  // A package "scripted" whose script writes down how it was called.
  std::filesystem::path install_script() const {
    install("scripted", R"("scripted", "startable": true, "script": "bin/control")");
    return root_.write_program("usr/kavo/packages/scripted/bin/control",
                               "echo \"$# $1\" >>\"$KAVO_ROOT/log\"\n");
  }
};

TEST_F(KavoPkg, SwitchesPackagesByTheirManifest) {
  const std::string odd = "a \"b\"\n[c,d]";
  install("web", R"("web", "startable": true, "units": ["a.service", "b.socket"])");
  install(odd, R"("a \"b\"\n[c,d]", "startable": true, "units": ["odd.service"])");
  install_script();
  EXPECT_EQ(run(kTool + " start " + word("web") + ";\n" + kTool + " start " + word(odd)).code, 0);
  EXPECT_EQ(switched(), "start a.service\nstart b.socket\nstart odd.service\n");
  EXPECT_EQ(run(kTool + " stop scripted web").code, 0);
  EXPECT_EQ(switched(), "1 stop\nstop a.service\nstop b.socket\n");

  std::filesystem::remove(root_.path() / "run/systemd/system");  // which units need and scripts not
  expect_end(run(kTool + " start web scripted"), 1, {"\"web\": systemd does not run here"});
  EXPECT_EQ(switched(), "1 start\n");
}

TEST_F(KavoPkg, ReportsPackagesItCannotSwitchAndDoesTheOthers) {
  install("web", R"("web", "startable": true, "units": ["a.service", "b.service"])");
  install("data", R"("data", "display_name": "D \u001b[2J")");
  install("broken", "");
  install("web2", R"("web2", "startable": true, "units": ["c.service"])");
  root_.write("failing", "a.service\n");
  expect_end(
      run(kTool + " stop web data broken absent ../packages/web2 web2"), 1,
      {"\"web\": systemctl stop a.service ended with 1", "\"data\": it has nothing",
       "\"broken\": its manifest", "\"absent\": there is no", "\"../packages/web2\": there is no"});
  EXPECT_EQ(switched(), "stop a.service\nstop b.service\nstop c.service\n");
  EXPECT_EQ(run(kTool + " list").out,
            "\"broken\"\t\tbroken\n\"data\"\t\"D \\x1b[2J\"\tnot startable\n"
            "\"web\"\t\"web\"\tstartable\n\"web2\"\t\"web2\"\tstartable\n");
}

TEST_F(KavoPkg, RunsNoScriptThatOthersCanChange) {
  const std::filesystem::path script = install_script();
  const std::filesystem::path folder = script.parent_path();
  const auto refused = [this](const char* why) {
    expect_end(run(kTool + " start scripted"), 1, {why});
    EXPECT_EQ(switched(), "") << why;
  };
  for (const auto& [path, mode, why] :
       {std::tuple(script, 0775, "can be written by other users"),
        std::tuple(script, 0644, "cannot be run: Permission denied"),
        std::tuple(folder, 0777, "a folder of its script can be written")}) {
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    refused(why);
    ASSERT_EQ(chmod(path.c_str(), 0755), 0);
  }
  if (geteuid() == 0) {
    ASSERT_EQ(chown(script.c_str(), 65534, 65534), 0);
    refused("belongs to another user");
  }
  std::filesystem::rename(script, root_.path() / "outside");
  refused("No such file");
  std::filesystem::create_symlink(root_.path() / "outside", script);
  refused("is not a regular file");
  std::filesystem::rename(folder, root_.path() / "elsewhere");
  std::filesystem::create_directory_symlink(root_.path() / "elsewhere", folder);
  refused("is not a folder");
}

TEST_F(KavoPkg, RefusesWrongUse) {
  install("web", R"("web", "startable": true, "units": ["a.service"])");
  expect_wrong_use(
      kTool, {"", "start", "stop", "restart web", "web start", "start -web", "start --",
              "start -- web", "start web --now", "list web", "start web -- stop", "start --help"});
  EXPECT_EQ(switched(), "");
}

}  // namespace
