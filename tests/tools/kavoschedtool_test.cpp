#include <gmock/gmock.h>

#include "packages/manifest.h"
#include "tool_test.h"
#include "tools/services.h"

namespace {

using testing::HasSubstr;

const std::string kTool = KAVOSCHEDTOOL;

class KavoSchedTool : public SystemdTest {
 protected:
  KavoSchedTool() {
    root_.write("etc/kavo/services.conf", read(SERVICES_CONF));
    root_.write("installed", "smbd.service\nnmbd.service\nnfs-server.service\nssh.service\n");
  }
};

TEST_F(KavoSchedTool, ShipsUnitsForEveryService) {
  const auto services = kavo::read_services();
  ASSERT_TRUE(services);
  for (const char* key : {"Samba", "AFP", "BonjourPrinter", "NFS", "AutoBlock", "FTP", "FTPES",
                          "SFTP", "WebVane", "WebDAV", "SecureWebDAV", "NTP"}) {
    ASSERT_TRUE(services->contains(key)) << key;
    EXPECT_FALSE(services->at(key).empty()) << key;
    for (const std::string& unit : services->at(key)) EXPECT_TRUE(kavo::is_unit_name(unit)) << key;
  }
  EXPECT_EQ(services->size(), 12U);
}

TEST_F(KavoSchedTool, SwitchesTheUnitsOfServices) {
  Finished done = run(kTool + " --start-service " + word("Samba") + " " + word("NFS") + ";\n");
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(switched(), "start smbd.service\nstart nmbd.service\nstart nfs-server.service\n");
  done = run(kTool + " --stop-service SFTP");
  EXPECT_EQ(done.code, 0) << done.err;
  EXPECT_EQ(switched(), "stop ssh.service\n");
}

TEST_F(KavoSchedTool, ReportsServicesItCannotSwitchAndDoesTheOthers) {
  root_.write("installed", "smbd.service\nnfs-server.service\nssh.service\n");
  root_.write("failing", "nfs-server.service\n");
  root_.write("etc/kavo/services.conf", read(SERVICES_CONF) + "Empty=\"\"\nOdd=\"--all\"\n");
  const Finished done = run(kTool + " --stop-service Samba Telnet 'FTP,SFTP' Empty Odd NFS SFTP");
  EXPECT_EQ(done.code, 1);
  EXPECT_EQ(switched(), "stop nfs-server.service\nstop ssh.service\n");
  for (const char* part : {"\"Samba\": unit nmbd.service is not installed", "\"Telnet\": it is not",
                           "\"FTP,SFTP\": it is not", "\"Empty\": it has no units",
                           "\"Odd\": \"--all\" is no unit name", "\"NFS\": systemctl stop"}) {
    EXPECT_THAT(done.err, HasSubstr(part));
  }
}

TEST_F(KavoSchedTool, SaysWhatIsMissing) {
  std::filesystem::remove(root_.path() / "run/systemd/system");
  Finished done = run(kTool + " --start-service Samba");
  EXPECT_EQ(done.code, 1);
  EXPECT_THAT(done.err, HasSubstr("systemd does not run"));
  std::filesystem::remove(root_.path() / "etc/kavo/services.conf");
  done = run(kTool + " --start-service Samba");
  EXPECT_EQ(done.code, 1);
  EXPECT_THAT(done.err, HasSubstr("services.conf"));
  EXPECT_EQ(switched(), "");
}

TEST_F(KavoSchedTool, RefusesWrongUse) {
  for (const char* arguments :
       {"", "--beep", "--beep 0", "--beep 601", "--beep -5", "--beep 1s", "--beep ''", "--beep 1 2",
        "--beep 18446744073709551617", "--start-service", "--start-service -x",
        "--start-service Samba --now", "--start-service Samba -- NFS",
        "--start-service Samba --stop-service NFS", "Samba --start-service NFS",
        "--stop-service -h", "--stop-service NFS ++ -x", "--restart"}) {
    const Finished done = run(kTool + " " + arguments);
    EXPECT_EQ(done.code, 2) << arguments;
    EXPECT_NE(done.err, "") << arguments;
    EXPECT_EQ(done.out, "") << arguments;
  }
  EXPECT_EQ(switched(), "");
  const Finished help = run(kTool + " --help");
  EXPECT_EQ(help.code, 0);
  EXPECT_THAT(help.out, HasSubstr("--stop-service"));
}

TEST_F(KavoSchedTool, RingsTheTerminalWithoutAConsoleBell) {
  EXPECT_EQ(run(kTool + " --beep 1").out, "\a");
  root_.write("dev/console", "not a console");
  const Finished done = run(kTool + " --beep 1");
  EXPECT_EQ(done.out, "\a");
  EXPECT_EQ(done.code, 0);
  EXPECT_EQ(run(kTool + " --beep 1 >&-").code, 1);
}

}  // namespace
