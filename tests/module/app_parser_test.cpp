// UI string keys and their texts.
#include "app_parser.h"

#include <array>

#include "module/module_test.h"

namespace {

using KAVO::Core::TaskScheduler::AppParser;

using AppParserTest = ModuleTest;

const std::string kWebman = "/usr/kavo/kavoman/webman/";

TEST_F(AppParserTest, SectionKeys) {
  for (const char* key : {"#beep:beep_title#", "#:#", "#a:b:c#", "##:##", "#a#b:c#"}) {
    EXPECT_TRUE(AppParser::IsSectionKey(key)) << key;
  }
  for (const char* text : {"", "#", ":", "##", "#:", ":#", "#a:b", "a:b#", "#ab#", "#a:b# "}) {
    EXPECT_FALSE(AppParser::IsSectionKey(text)) << text;
  }
}

TEST_F(AppParserTest, TextsOfTheDesktopAndOfApps) {
  platform.strings[kWebman + "texts/de-DE"] = R"({
      "beep": {"title": "Piepton", "empty": "", "number": 5, "only": "desktop's"},
      "a": {"b:c": "later colons"}, "": {"": "nothing"}, "flat": "text"})"_json;
  platform.strings[kWebman + "apps/own"] =
      R"({"beep": {"title": "Own", "only": ""}, "flat": {"x": "own x"}})"_json;
  platform.strings[kWebman + "apps/list"] = R"(["no object"])"_json;
  platform.app_locations =
      R"({"own.app": "apps/own", "none": "apps/none", "odd": "apps/list"})"_json;
  const auto parser = std::make_unique<AppParser>("de-DE");
  // clang-format off
  const std::vector<std::array<const char*, 3>> cases{  // key, the desktop's text, the app's
      {"#beep:title#", "Piepton", "Own"}, {"#a:b:c#", "later colons", "later colons"},
      {"#:#", "nothing", "nothing"}, {"title", "title", "title"}, {"", "", ""},
      {"#beep:empty#", "#beep:empty#", "#beep:empty#"}, {"#beep:number#", "#beep:number#", "#beep:number#"},
      {"#beep:only#", "desktop's", "desktop's"}, {"#no:title#", "#no:title#", "#no:title#"},
      {"#flat:x#", "#flat:x#", "own x"}, {"#Beep:title#", "#Beep:title#", "#Beep:title#"}};
  // clang-format on
  for (const auto& [key, desktop, own] : cases) {
    for (const char* app : {kBeep, "", "Own.app", "none", "odd"}) {
      EXPECT_EQ(parser->GetString(app, key), desktop) << app;
    }
    EXPECT_EQ(parser->GetString("own.app", key), own);
  }
  // The desktop's are read once; an app's at each of the nine lookups of a key.
  EXPECT_EQ(std::count(platform.parsed_paths.begin(), platform.parsed_paths.end(),
                       kWebman + "texts/de-DE"),
            1);
  EXPECT_EQ(
      std::count(platform.parsed_paths.begin(), platform.parsed_paths.end(), kWebman + "apps/own"),
      9);

  platform.app_locations = Json::nullValue;
  for (const char* language : {"none", ""}) {
    EXPECT_EQ(std::make_unique<AppParser>(language)->GetString("own.app", "#beep:title#"),
              "#beep:title#");
  }
}

}  // namespace
