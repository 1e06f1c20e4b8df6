// The app registry and the quoting of names.
#include "lib.h"

#include "module/module_test.h"

namespace {

using LibTest = ModuleTest;

TEST_F(LibTest, AppKeysOfNamespacesAndOfStoredTasks) {
  // clang-format off
  const std::vector<std::pair<std::string, std::string>> cases{
      {kBeep, "beep"}, {kScript, "script"}, {kService, "service"}, {kRecycle, "recycle"},
      {"KAVO.ZEL.DataAnalysis", "report"}, {"KAVO.ZEL.TaskScheduler.AutoPower", "power"},
      {"KAVO.ZEL.TaskScheduler.ZOMAutoUpdate", "zomupdate"}, {"KAVO.ZEL.BackupApp.NetBackup", "backup"},
      {"KAVO.ZEL.BackupApp.LocalBackup", "backup"}, {"KAVO.ZEL.BackupApp.LUNBackup", "backup"},
      {"KAVO.ZEL.BackupApp.S3Backup", "backup"}, {"KAVO.ZEL.TaskScheduler.beep", "custom"},
      {"KAVO.ZEL.TaskScheduler.Beep.FormPanel", "custom"}, {"", "custom"}};
  // clang-format on
  for (const auto& [app, expected] : cases) {
    EXPECT_EQ(GetAppKeyFromNameSpace(app), expected) << app;
    platform.add(3, app);
    std::string key;
    EXPECT_TRUE(GetAppTypeByID(3, key));
    EXPECT_EQ(key, expected);
    EXPECT_FALSE(GetAppTypeByID(99, key));
    EXPECT_EQ(key, expected);
    EXPECT_EQ(take_log(), Lines{std::string("lib:43 load task failed. id:[99]") + kNotStoredCause});
  }
}

TEST_F(LibTest, NamesAreQuotedWithin2nPlus2Bytes) {
  EXPECT_EQ(EscapeShellName("a b;'\""), "a\\ b\\;\\'\\\"");
  EXPECT_EQ(EscapeShellName("\xff\n"), "\\\xff\\\n");
  EXPECT_EQ(EscapeShellName(std::string("cut\0 off", 8)), "cut");
  EXPECT_EQ(EscapeShellName(""), "");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd= failed, errno=Success"});
  EXPECT_EQ(take_calls(), (Lines{"XLIBCEncShParam a b;'\" 14", "XLIBCEncShParam \xff\n 6",
                                 "XLIBCEncShParam cut 8", "XLIBCEncShParam  2"}));
  platform.fail("XLIBCEncShParam");
  EXPECT_EQ(EscapeShellName("a b"), "");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd=a b failed, errno=No space left on device"});
}

}  // namespace
