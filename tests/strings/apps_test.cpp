// Which apps bring strings of their own, and which languages there are.
#include <gmock/gmock.h>
#include <kavozel.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "strings/languages.h"
#include "temporary_folder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kWebman = "usr/kavo/kavoman/webman/";
const std::string kApps = kWebman + "3rdparty/";

Json::Value texts_of(const std::string& language) {
  KAVO::ZEL::JSConfigParser parser(language);
  EXPECT_TRUE(parser.Parse());
  return parser.GetTexts();
}

std::string manifest(const std::string& app_namespace, const std::string& texts) {
  return R"({"namespace": ")" + app_namespace + R"(", "texts": ")" + texts + "\"}";
}

TEST(Apps, AreFoundWithTheirStringsForTheLanguage) {
  const TemporaryRoot root;
  root.write(kApps + "backup/manifest.json", manifest("KAVO.Example.Backup", "texts"));
  root.write(kApps + "backup/texts/de-DE/strings.json", "{}");
  root.write(kApps + "backup/texts/en-US/strings.json", "{}");
  root.write(kApps + "report/manifest.json", manifest("KAVO.Example.Report", "ui/texts"));
  root.write(kApps + "report/ui/texts/en-US/strings.json", "{}");
  root.write(kApps + "silent/manifest.json", manifest("KAVO.Example.Silent", "texts"));
  root.write(kApps + "silent/texts/fr-FR/strings.json", "{}");
  root.write(kApps + "a file", "");

  const KAVO::ZEL::JSConfigParser unread("de-DE");
  EXPECT_EQ(unread.GetTexts(), Json::Value(Json::objectValue));

  const Json::Value german = texts_of("de-DE");
  EXPECT_EQ(german["KAVO.Example.Backup"], "3rdparty/backup/texts/de-DE");
  EXPECT_EQ(german["KAVO.Example.Report"], "3rdparty/report/ui/texts/en-US");  // falls back
  EXPECT_EQ(german.size(), 2U);
  EXPECT_EQ(texts_of("fr-FR").size(), 3U);
  for (const char* language : {"", ".", "..", "../texts/de-DE", "de/DE", "de-DE\n"}) {
    EXPECT_EQ(texts_of(language), Json::Value(Json::objectValue)) << language;
  }
  EXPECT_EQ(texts_of(std::string(33, 'a')), Json::Value(Json::objectValue));
}

TEST(Apps, BadManifestLeavesOutThatAppOnly) {
  const TemporaryRoot root;
  root.write(kApps + "elsewhere/en-US/strings.json", "{}");
  root.write("outside/en-US/strings.json", "{}");
  const std::string manifests[] = {
      "",
      "[]",
      "{\"namespace\": \"A\"",
      "{}",
      R"({"namespace": 1, "texts": "texts"})",
      R"({"namespace": "A", "texts": ["texts"]})",
      R"({"namespace": "A\u0000", "texts": "texts"})",
      R"({"namespace": "A", "texts": "texts\u0000"})",
      std::string(2000, '['),
      manifest("", "texts"),
      manifest("A", ""),
      manifest("A", "../elsewhere"),
      manifest("A", "texts/../../elsewhere"),
      manifest("A", ".."),
      manifest("A", (root.path() / "outside").string()),
      manifest("A", "/outside"),
  };
  int number = 0;
  for (const std::string& text : manifests) {
    const std::string app = kApps + "bad" + std::to_string(number++);
    root.write(app + "/manifest.json", text);
    root.write(app + "/texts/en-US/strings.json", "{}");
  }
  std::filesystem::create_directories(root.path() / (kApps + "empty"));
  root.write(kApps + "good/manifest.json", manifest("Good", "texts"));
  root.write(kApps + "good/texts/en-US/strings.json", "{}");
  const Json::Value texts = texts_of("en-US");
  EXPECT_EQ(texts["Good"], "3rdparty/good/texts/en-US");
  EXPECT_EQ(texts.size(), 1U) << texts.toStyledString();
}

TEST(Apps, FirstFolderInByteOrderHasTheNamespace) {
  const TemporaryRoot root;
  for (const char* name : {"b", "a", "Z", "\xc3\xa4"}) {
    root.write(kApps + name + "/manifest.json", manifest("Same", "texts"));
    root.write(kApps + name + "/texts/en-US/strings.json", "{}");
  }
  EXPECT_EQ(texts_of("en-US")["Same"], "3rdparty/Z/texts/en-US");
}

TEST(Apps, ParsingAgainSeesWhatChanged) {
  const TemporaryRoot root;
  KAVO::ZEL::JSConfigParser parser("en-US");
  EXPECT_FALSE(parser.Parse());  // no folder of apps
  root.write(kApps + "a/manifest.json", manifest("A", "texts"));
  root.write(kApps + "a/texts/en-US/strings.json", "{}");
  EXPECT_TRUE(parser.Parse());
  EXPECT_TRUE(parser.GetTexts().isMember("A"));
  std::filesystem::remove_all(root.path() / kApps);
  EXPECT_FALSE(parser.Parse());
  EXPECT_TRUE(parser.GetTexts().empty());
}

TEST(Languages, ArePlainFoldersWithStrings) {
  const TemporaryRoot root;
  EXPECT_THAT(kavo::languages(), IsEmpty());
  for (const char* name : {"en-US", "de-DE", "zh_TW", "with blank", ".hidden", "x\xc3\xa4"}) {
    root.write(kWebman + "texts/" + name + "/strings.json", "{}");
  }
  root.write(kWebman + "texts/empty/other.json", "{}");
  root.write(kWebman + "texts/strings.json", "{}");
  root.write(kWebman + "strings.json", "{}");
  EXPECT_THAT(kavo::languages(), ElementsAre("de-DE", "en-US", "zh_TW"));
  EXPECT_TRUE(kavo::is_language("de-DE"));
  for (const char* code : {"", ".", "..", "de-de", "de-DE/", "./de-DE", "empty", "with blank"}) {
    EXPECT_FALSE(kavo::is_language(code)) << code;
  }
}

}  // namespace
