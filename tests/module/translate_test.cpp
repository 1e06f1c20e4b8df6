// UI string keys inside action texts.
#include "handler.h"
#include "module/module_test.h"

namespace {

class TranslateTest : public ModuleTest {
 protected:
  static Json::Value translated(Json::Value row, const std::string& app = "app") {
    platform.strings[kDesktopStrings] = R"({
        "tree": {"leaf_ftp": "FTP server", "empty": "", "number": 5},
        "a": {"b": "AB", "b:c": "ABC"},
        "c": {"d": "CD"},
        "y": {"z": "YZ"},
        "": {"": "nothing"},
        "s": {"self": "<#s:self#>", "other": "#a:b#"},
        "own": {"text": "desktop's"}})"_json;
    platform.strings["/usr/kavo/kavoman/webman/own/en"] =
        R"({"own": {"text": "the app's"}, "a": {"b": ""}})"_json;
    platform.app_locations["own.app"] = "own/en";
    const Standalone<TaskSchedulerHandler> alone;
    alone.handler.TranslateActionKey(row, app);
    return row;
  }
};

TEST_F(TranslateTest, KeysInText) {
  const std::vector<std::pair<const char*, const char*>> cases{
      {"", ""},
      {"no hash: none", "no hash: none"},
      {"#tree:leaf_ftp#", "FTP server"},
      {"before #tree:leaf_ftp# (HTTPS)", "before FTP server (HTTPS)"},
      {"#tree:leaf_ftp#, #tree:leaf_ftp#", "FTP server, FTP server"},
      {"#a:b##c:d#", "ABCD"},
      {"\xc3\xa9#a:b#\xc3\xa9",
       "\xc3\xa9"
       "AB\xc3\xa9"},
      // Keys that are not known, or whose text is empty or no text.
      {"#no:key# #tree:no#", "#no:key# #tree:no#"},
      {"#tree:empty# #tree:number#", "#tree:empty# #tree:number#"},
      {"#no:key##a:b#", "#no:key#AB"},
      // Hashes and colons that make no key.
      {"#", "#"},
      {"##", "##"},
      {":", ":"},
      {":#", ":#"},
      {"#a:b", "#a:b"},
      {"a:b#", "a:b#"},
      {"#a:b# #", "AB #"},
      // A hash without a colon before it opens anew; the one that closes a key does not open.
      {"#x#y:z#", "#xYZ"},
      {"###a:b#", "##AB"},
      {"#a:b#c:d#", "ABc:d#"},
      {"#a:b#c:d#a:b#", "ABc:dAB"},
      {"#no:key#c:d#", "#no:key#c:d#"},
      // A colon counts only between the two hashes.
      {"a:#b#c:d#", "a:#bCD"},
      {":#a#", ":#a#"},
      {":##a:b#", ":#AB"},
      {"#:#", "nothing"},
      {"##:#", "#nothing"},
      {"#a#:#b:c#", "#anothingb:c#"},
      {"#a:b:c#", "ABC"},
      {"#a::b#", "#a::b#"},
      // The text is scanned as it was, and replaced where the key stands first by then.
      {"#s:other#", "#a:b#"},
      {"#s:other##a:b#", "AB#a:b#"},
      {"#s:self##s:self#", "<<#s:self#>>#s:self#"},
  };
  for (const auto& [action, expected] : cases) {
    Json::Value row;
    row["action"] = action;
    EXPECT_EQ(translated(row)["action"].asString(), expected) << action;
  }
}

TEST_F(TranslateTest, AppsOwnStringsComeFirst) {
  Json::Value row;
  row["action"] = "#own:text# #a:b# #c:d#";
  EXPECT_EQ(translated(row, "own.app")["action"], "the app's AB CD");
  EXPECT_EQ(translated(row, "Own.app")["action"], "desktop's AB CD");
}

TEST_F(TranslateTest, OnlyATextActionIsTouched) {
  for (const char* text : {R"({})", R"({"action":5,"name":"#a:b#"})", R"({"action":["#a:b#"]})",
                           R"({"action":null})"}) {
    const Json::Value row = operator""_json(text, std::char_traits<char>::length(text));
    EXPECT_EQ(compact(translated(row)), compact(row));
  }
}

}  // namespace
