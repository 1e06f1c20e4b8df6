// The app registry and the quoting of names.
#include "lib.h"

#include "module/module_test.h"

namespace {

using LibTest = ModuleTest;

TEST_F(LibTest, AppKeys) {
  const std::vector<std::pair<const char*, const char*>> cases{
      {"KAVO.ZEL.TaskScheduler.Beep", "beep"},
      {"KAVO.ZEL.TaskScheduler.Script", "script"},
      {"KAVO.ZEL.TaskScheduler.Service", "service"},
      {"KAVO.ZEL.TaskScheduler.Recycle", "recycle"},
      {"KAVO.ZEL.DataAnalysis", "report"},
      {"KAVO.ZEL.TaskScheduler.AutoPower", "power"},
      {"KAVO.ZEL.TaskScheduler.ZOMAutoUpdate", "zomupdate"},
      {"KAVO.ZEL.BackupApp.NetBackup", "backup"},
      {"KAVO.ZEL.BackupApp.LocalBackup", "backup"},
      {"KAVO.ZEL.BackupApp.LUNBackup", "backup"},
      {"KAVO.ZEL.BackupApp.S3Backup", "backup"},
      {"KAVO.ZEL.TaskScheduler.beep", "custom"},
      {"KAVO.ZEL.TaskScheduler.Beep ", "custom"},
      {"KAVO.ZEL.TaskScheduler.Beep.FormPanel", "custom"},
      {"KAVO.ZEL.BackupApp", "custom"},
      {"", "custom"},
  };
  for (const auto& [app, key] : cases) EXPECT_EQ(GetAppKeyFromNameSpace(app), key) << app;
}

TEST_F(LibTest, AppTypeOfAStoredTask) {
  platform.add(3, "KAVO.ZEL.DataAnalysis");
  platform.add(4).basic = R"({"id": 4})"_json;
  std::string key = "earlier";
  EXPECT_TRUE(GetAppTypeByID(3, key));
  EXPECT_EQ(key, "report");
  EXPECT_EQ(take_calls(), (Lines{"KAVOSchedTaskAlloc", "KAVOSchedTaskLoad 3",
                                 "KAVOSchedTaskConvertToJson_Basic"}));
  EXPECT_TRUE(GetAppTypeByID(4, key));
  EXPECT_EQ(key, "custom");
}

TEST_F(LibTest, AppTypeThatCannotBeFound) {
  platform.add(3, kBeep);
  std::string key = "earlier";
  EXPECT_FALSE(GetAppTypeByID(99, key));
  EXPECT_EQ(take_log(), Lines{"lib:43 load task failed. id:[99] [0x0404 store.c:9]"});
  EXPECT_EQ(key, "earlier");
}

TEST_F(LibTest, NamesAreQuotedWithin2nPlus2Bytes) {
  using namespace std::string_literals;
  EXPECT_EQ(EscapeShellName("wiki"), "wiki");
  EXPECT_EQ(EscapeShellName("a b;'\""), "a\\ b\\;\\'\\\"");
  EXPECT_EQ(EscapeShellName("\xff\n"), "\\\xff\\\n");
  EXPECT_EQ(EscapeShellName("cut\0 off"s), "cut");
  const std::string all_special(2000, '$');
  EXPECT_EQ(EscapeShellName(all_special).size(), 4000U);
  EXPECT_EQ(take_calls(), (Lines{"XLIBCEncShParam wiki 10", "XLIBCEncShParam a b;'\" 14",
                                 "XLIBCEncShParam \xff\n 6", "XLIBCEncShParam cut 8",
                                 "XLIBCEncShParam " + all_special + " 4002"}));
}

TEST_F(LibTest, NamesThatCannotBeQuoted) {
  EXPECT_EQ(EscapeShellName(""), "");
  EXPECT_EQ(take_calls(), Lines{"XLIBCEncShParam  2"});
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd= failed, errno=Success"});
  platform.fail("XLIBCEncShParam");
  EXPECT_EQ(EscapeShellName("a b"), "");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd=a b failed, errno=No space left on device"});
}

}  // namespace
