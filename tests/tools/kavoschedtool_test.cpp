#include "packages/manifest.h"
#include "tool_test.h"
#include "tools/services.h"

namespace {

const std::string kTool = KAVOSCHEDTOOL;

class KavoSchedTool : public SystemdTest {
 protected:
  KavoSchedTool() {
    root_.write("etc/kavo/services.conf",
                read_whole(SERVICES_CONF) + "Empty=\"\"\nOdd=\"--all\"\n");
    root_.write("installed", "smbd.service\nnmbd.service\nnfs-server.service\nssh.service\n");
  }
};

TEST_F(KavoSchedTool, ShipsUnitsForEveryService) {
  auto services = kavo::read_services().value();
  for (const char* key : {"Samba", "AFP", "BonjourPrinter", "NFS", "AutoBlock", "FTP", "FTPES",
                          "SFTP", "WebVane", "WebDAV", "SecureWebDAV", "NTP"}) {
    EXPECT_FALSE(services[key].empty()) << key;
    for (const std::string& unit : services[key]) EXPECT_TRUE(kavo::is_unit_name(unit)) << key;
  }
  EXPECT_EQ(services.size(), 12U + 2U);
}

TEST_F(KavoSchedTool, SwitchesTheUnitsOfServicesAndReportsThoseItCannot) {
  EXPECT_EQ(run(kTool + " --start-service " + word("Samba") + " " + word("NFS") + ";\n").err, "");
  EXPECT_EQ(run(kTool + " --stop-service SFTP").code, 0);
  EXPECT_EQ(switched(),
            "start smbd.service\nstart nmbd.service\nstart nfs-server.service\nstop ssh.service\n");
  root_.write("installed", "smbd.service\nnfs-server.service\nssh.service\n");
  root_.write("failing", "nfs-server.service\n");
  expect_end(run(kTool + " --stop-service Samba Telnet 'FTP,SFTP' Empty Odd NFS SFTP"), 1,
             {"\"Samba\": unit nmbd.service is not installed", "\"Telnet\": it is not",
              "\"FTP,SFTP\": it is not", "\"Empty\": it has no units",
              "\"Odd\": \"--all\" is no unit name", "\"NFS\": systemctl stop"});
  EXPECT_EQ(switched(), "stop nfs-server.service\nstop ssh.service\n");
  std::filesystem::remove(root_.path() / "run/systemd/system");
  expect_end(run(kTool + " --start-service Samba"), 1, {"systemd does not run"});
  std::filesystem::remove(root_.path() / "etc/kavo/services.conf");
  expect_end(run(kTool + " --start-service Samba"), 1, {"services.conf"});
}

TEST_F(KavoSchedTool, RefusesWrongUse) {
  expect_wrong_use(
      kTool, {"", "--beep", "--beep 0", "--beep 601", "--beep -5", "--beep 1s", "--beep ''",
              "--beep 1 2", "--restart", "--beep 18446744073709551617", "--start-service",
              "--start-service -x", "--start-service Samba --now", "--start-service Samba -- NFS",
              "--start-service Samba --stop-service NFS", "Samba --start-service NFS",
              "--stop-service -h", "--stop-service NFS ++ -x"});
  EXPECT_EQ(switched(), "");
}

TEST_F(KavoSchedTool, RingsTheTerminalWithoutAConsoleBell) {
  EXPECT_EQ(run(kTool + " --beep 1").out, "\a");
  root_.write("dev/console", "not a console");
  EXPECT_EQ(run(kTool + " --beep 1").out, "\a");
  EXPECT_EQ(run(kTool + " --beep 1 >&-").code, 1);
}

}  // namespace
