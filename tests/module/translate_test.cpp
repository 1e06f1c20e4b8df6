// UI string keys inside action texts.
#include "handler.h"
#include "module/module_test.h"

namespace {

using TranslateTest = ModuleTest;

TEST_F(TranslateTest, KeysInText) {
  platform.strings[kDesktopStrings] = R"({
      "tree": {"leaf_ftp": "FTP server", "empty": "", "number": 5}, "a": {"b": "AB", "b:c": "ABC"},
      "c": {"d": "CD"}, "y": {"z": "YZ"}, "": {"": "nothing"}, "s": {"self": "<#s:self#>", "other": "#a:b#"}})"_json;
  // clang-format off
  const std::vector<std::pair<const char*, const char*>> cases{
      {"", ""}, {"no hash: none", "no hash: none"},
      {"before #tree:leaf_ftp# (HTTPS)", "before FTP server (HTTPS)"},
      {"#tree:leaf_ftp#, #tree:leaf_ftp#", "FTP server, FTP server"},
      {"#a:b##c:d#", "ABCD"}, {"\xc3\xa9#a:b#\xc3", "\xc3\xa9" "AB\xc3"},
      // Keys that are not known, or whose text is empty or no text.
      {"#no:key##a:b#", "#no:key#AB"}, {"#tree:empty# #tree:number#", "#tree:empty# #tree:number#"},
      // Hashes and colons that make no key.
      {"#", "#"}, {"##", "##"}, {":#", ":#"}, {"#a:b", "#a:b"}, {"a:b#", "a:b#"}, {"#a:b# #", "AB #"},
      // A hash without a colon before it opens anew; the one that closes a key does not open.
      {"#x#y:z#", "#xYZ"}, {"###a:b#", "##AB"}, {"#a:b#c:d#", "ABc:d#"}, {"#a:b#c:d#a:b#", "ABc:dAB"},
      {"#no:key#c:d#", "#no:key#c:d#"},
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

}  // namespace
