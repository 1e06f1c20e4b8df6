// UI string keys and their texts.
#include "app_parser.h"

#include "module/module_test.h"

namespace {

using KAVO::Core::TaskScheduler::AppParser;

const std::string kWebman = "/usr/kavo/kavoman/webman/";

class AppParserTest : public ModuleTest {
 protected:
  AppParserTest() {
    platform.strings[kWebman + "texts/de-DE"] = R"({
        "beep": {"beep_title": "Piepton", "empty": "", "number": 5, "only": "desktop's"},
        "a": {"b:c": "later colons"}, "": {"": "nothing"}, "flat": "text"})"_json;
    platform.strings[kWebman + "apps/own"] =
        R"({"beep": {"beep_title": "Own", "only": ""}, "flat": {"x": "own x"}})"_json;
    platform.strings[kWebman + "apps/list"] = R"(["no object"])"_json;
    platform.app_locations = R"({"own.app": "apps/own", "no.strings": "apps/none",
                                 "odd.strings": "apps/list"})"_json;
  }
};

TEST_F(AppParserTest, SectionKeys) {
  for (const char* key : {"#beep:beep_title#", "#:#", "#a:b:c#", "##:##", "# : #", "#a#b:c#"}) {
    EXPECT_TRUE(AppParser::IsSectionKey(key)) << key;
  }
  for (const char* text : {"", "#", ":", "##", "#:", ":#", "beep:beep_title", "#beep:beep_title",
                           "beep:beep_title#", "#beep_title#", " #a:b#", "#a:b# "}) {
    EXPECT_FALSE(AppParser::IsSectionKey(text)) << text;
  }
}

TEST_F(AppParserTest, DesktopStrings) {
  const auto parser = std::make_unique<AppParser>("de-DE");
  const std::vector<std::pair<const char*, const char*>> cases{
      {"#beep:beep_title#", "Piepton"},
      {"#a:b:c#", "later colons"},
      {"#:#", "nothing"},
      {"beep_title", "beep_title"},
      {"#beep:beep_title", "#beep:beep_title"},
      {"#beep:empty#", "#beep:empty#"},
      {"#beep:number#", "#beep:number#"},
      {"#beep:unknown#", "#beep:unknown#"},
      {"#unknown:beep_title#", "#unknown:beep_title#"},
      {"#flat:x#", "#flat:x#"},
      {"#Beep:beep_title#", "#Beep:beep_title#"},
      {"", ""},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(parser->GetString(kBeep, text), expected) << text;
    EXPECT_EQ(parser->GetString("", text), expected) << text;
  }
  // Read once, whatever is looked up.
  EXPECT_EQ(platform.parsed_paths, Lines{kWebman + "texts/de-DE"});
}

TEST_F(AppParserTest, StringsOfAnAppComeFirst) {
  const auto parser = std::make_unique<AppParser>("de-DE");
  EXPECT_TRUE(parser->Is3rdPartyApp("own.app"));
  EXPECT_FALSE(parser->Is3rdPartyApp("Own.app"));
  EXPECT_FALSE(parser->Is3rdPartyApp(""));
  EXPECT_EQ(parser->GetString("own.app", "#beep:beep_title#"), "Own");
  EXPECT_EQ(parser->GetString("own.app", "#flat:x#"), "own x");
  EXPECT_EQ(parser->GetString("own.app", "#beep:only#"), "desktop's");
  EXPECT_EQ(parser->GetString("own.app", "#a:b:c#"), "later colons");
  EXPECT_EQ(parser->GetString("own.app", "#no:key#"), "#no:key#");
  EXPECT_EQ(parser->GetString("own.app", "no key"), "no key");
  // Five lookups of a key, so five times read anew.
  Lines paths{kWebman + "texts/de-DE"};
  paths.insert(paths.end(), 5, kWebman + "apps/own");
  EXPECT_EQ(platform.parsed_paths, paths);

  EXPECT_EQ(parser->GetString("no.strings", "#beep:beep_title#"), "Piepton");
  EXPECT_EQ(parser->GetString("odd.strings", "#beep:beep_title#"), "Piepton");
}

TEST_F(AppParserTest, MissingOrOddStringsShowTheKey) {
  platform.app_locations = Json::nullValue;
  platform.strings[kWebman + "texts/xx"] = R"(["no object"])"_json;
  for (const char* language : {"none", "xx", ""}) {
    const auto parser = std::make_unique<AppParser>(language);
    EXPECT_EQ(parser->GetString("own.app", "#beep:beep_title#"), "#beep:beep_title#");
    EXPECT_FALSE(parser->Is3rdPartyApp("own.app"));
  }
}

}  // namespace
