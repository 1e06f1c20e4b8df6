// UI string keys and their texts, app keys, and the quoting of names.
#include <array>

#include "handler.h"
#include "lib.h"
#include "module/module_test.h"

namespace {

using KAVO::Core::TaskScheduler::AppParser;

const std::string kWebman = "/usr/kavo/kavoman/webman/";

using TextsTest = ModuleTest;

TEST_F(TextsTest, OfTheDesktopAndOfApps) {
  platform.strings[kDesktopStrings] = R"({
      "beep": {"title": "Piepton", "empty": "", "number": 5, "only": "desktop's"},
      "a": {"b:c": "later colons"}, "": {"": "nothing"}, "flat": "text"})"_json;
  platform.strings[kWebman + "own"] =
      R"({"beep": {"title": "Own", "only": ""}, "flat": {"x": "own x"}})"_json;
  platform.strings[kWebman + "list"] = R"(["no object"])"_json;
  platform.app_locations = R"({"own.app": "own", "none": "none", "odd": "list"})"_json;
  const auto parser = std::make_unique<AppParser>("en-US");
  // clang-format off
  const std::vector<std::array<const char*, 3>> cases{  // key, the desktop's text, the app's
      {"#beep:title#", "Piepton", "Own"}, {"#a:b:c#", "later colons", "later colons"}, {"#:#", "nothing", "nothing"},
      {"#beep:only#", "desktop's", "desktop's"}, {"#flat:x#", "#flat:x#", "own x"}, {"#beep:empty#", "#beep:empty#", "#beep:empty#"},
      {"#beep:number#", "#beep:number#", "#beep:number#"}, {"#no:title#", "#no:title#", "#no:title#"},
      {"#Beep:title#", "#Beep:title#", "#Beep:title#"}, {"##:##", "##:##", "##:##"}};
  for (const auto& [key, desktop, own] : cases) {
    EXPECT_TRUE(AppParser::IsSectionKey(key)) << key;
    for (const char* app : {kBeep, "", "Own.app", "none", "odd"}) EXPECT_EQ(parser->GetString(app, key), desktop);
    EXPECT_EQ(parser->GetString("own.app", key), own);
  }
  for (const char* text : {"", "#", ":", "##", "#:", ":#", "#a:b", "a:b#", "#ab#", "#a:b# "}) {
    EXPECT_FALSE(AppParser::IsSectionKey(text)) << text;
    EXPECT_EQ(parser->GetString("own.app", text), text);
  }
  // clang-format on
  // The desktop's are read once; an app's at each of the ten lookups of a key.
  const Lines& paths = platform.parsed_paths;
  EXPECT_EQ(std::count(paths.begin(), paths.end(), kDesktopStrings), 1);
  EXPECT_EQ(std::count(paths.begin(), paths.end(), kWebman + "own"), 10);
  platform.app_locations = Json::nullValue;
  EXPECT_EQ(std::make_unique<AppParser>("none")->GetString("own.app", "#beep:title#"),
            "#beep:title#");
}

TEST_F(TextsTest, KeysInActions) {
  platform.strings[kDesktopStrings] = R"({
      "tree": {"leaf_ftp": "FTP server", "empty": "", "number": 5}, "a": {"b": "AB", "b:c": "ABC"},
      "c": {"d": "CD"}, "y": {"z": "YZ"}, "": {"": "nothing"}, "s": {"self": "<#s:self#>", "other": "#a:b#"}})"_json;
  // clang-format off
  const std::vector<std::pair<const char*, const char*>> cases{
      {"no hash: none", "no hash: none"}, {"before #tree:leaf_ftp# (HTTPS)", "before FTP server (HTTPS)"},
      {"#tree:leaf_ftp#, #tree:leaf_ftp#", "FTP server, FTP server"}, {"#a:b##c:d#", "ABCD"}, {"\xc3\xa9#a:b#", "\xc3\xa9" "AB"},
      // Keys that are not known, or whose text is empty or no text.
      {"#no:key##a:b#", "#no:key#AB"}, {"#tree:empty# #tree:number#", "#tree:empty# #tree:number#"},
      // Hashes and colons that make no key.
      {"#", "#"}, {"##", "##"}, {":#", ":#"}, {"#a:b", "#a:b"}, {"a:b#", "a:b#"}, {"#a:b# #", "AB #"},
      // A hash without a colon before it opens anew; the one that closes a key does not open.
      {"#x#y:z#", "#xYZ"}, {"###a:b#", "##AB"}, {"#a:b#c:d#", "ABc:d#"}, {"#a:b#c:d#a:b#", "ABc:dAB"}, {"#no:key#c:d#", "#no:key#c:d#"},
      // A colon counts only between the two hashes.
      {"a:#b#c:d#", "a:#bCD"}, {":#a#", ":#a#"}, {":##a:b#", ":#AB"}, {"#:#", "nothing"}, {"##:#", "#nothing"},
      {"#a#:#b:c#", "#anothingb:c#"}, {"#a:b:c#", "ABC"}, {"#a::b#", "#a::b#"},
      // The text is scanned as it was, and replaced where the key stands first by then.
      {"#s:other##a:b#", "AB#a:b#"}, {"#s:self##s:self#", "<<#s:self#>>#s:self#"}};
  // clang-format on
  const Standalone<TaskSchedulerHandler> alone;
  for (const auto& [action, expected] : cases) {
    Json::Value row;
    row["action"] = action;
    alone.handler.TranslateActionKey(row, "app");
    EXPECT_EQ(row["action"].asString(), expected) << action;
  }
  for (const char* text : {"{}", R"({"action":5,"name":"#a:b#"})", R"({"action":["#a:b#"]})"}) {
    Json::Value row = json(text);
    alone.handler.TranslateActionKey(row, "app");
    EXPECT_EQ(row, json(text));  // only a text action is touched
  }
}

TEST_F(TextsTest, NamesAreQuotedWithin2nPlus2Bytes) {
  EXPECT_EQ(EscapeShellName("a b;'\""), "a\\ b\\;\\'\\\"");
  EXPECT_EQ(EscapeShellName(std::string("\xff\n\0 off", 7)), "\\\xff\\\n");
  EXPECT_EQ(EscapeShellName(""), "");
  EXPECT_EQ(take_log(), Lines{"lib:21 escape cmd= failed, errno=Success"});
  EXPECT_EQ(take_calls(), (Lines{"XLIBCEncShParam a b;'\" 14", "XLIBCEncShParam \xff\n 6",
                                 "XLIBCEncShParam  2"}));
}

}  // namespace
