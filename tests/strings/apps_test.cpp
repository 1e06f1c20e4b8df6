// Which apps bring strings of their own, and which languages there are.
#include <gmock/gmock.h>
#include <kavozel.h>

#include <filesystem>
#include <string>
#include <vector>

#include "strings/languages.h"
#include "temporary_folder.h"

namespace {

const std::string kWebman = "usr/kavo/kavoman/webman/";
const std::string kApps = kWebman + "3rdparty/";

class Apps : public testing::Test {
 protected:
  // Installs an app with strings in these languages.
  void install(const std::string& folder, const std::string& manifest,
               const std::vector<std::string>& languages = {"texts/en-US"}) const {
    root_.write(kApps + folder + "/manifest.json", manifest);
    for (const auto& each : languages)
      root_.write(kApps + folder + "/" + each + "/strings.json", "{}");
  }
  static std::string manifest(const std::string& app_namespace,
                              const std::string& texts = "texts") {
    return R"({"namespace": ")" + app_namespace + R"(", "texts": ")" + texts + "\"}";
  }
  static Json::Value texts_of(const std::string& language) {
    KAVO::ZEL::JSConfigParser parser(language);
    parser.Parse();
    return parser.GetTexts();
  }

  const TemporaryRoot root_;
};

TEST_F(Apps, AreFoundWithTheirStringsForTheLanguage) {
  KAVO::ZEL::JSConfigParser parser("de-DE");
  EXPECT_FALSE(parser.Parse());  // no folder of apps
  install("backup", manifest("Example.Backup"), {"texts/de-DE", "texts/en-US"});
  install("report", manifest("Example.Report", "ui/texts"), {"ui/texts/en-US"});
  install("silent", manifest("Example.Silent"), {"texts/fr-FR"});
  root_.write(kApps + "a file", "");
  EXPECT_TRUE(parser.Parse());
  EXPECT_EQ(parser.GetTexts()["Example.Backup"], "3rdparty/backup/texts/de-DE");
  EXPECT_EQ(parser.GetTexts()["Example.Report"], "3rdparty/report/ui/texts/en-US");  // falls back
  EXPECT_EQ(parser.GetTexts().size(), 2U);
  EXPECT_EQ(texts_of("fr-FR").size(), 3U);
  for (const char* language : {"", "..", "../texts/de-DE", "de-DE\n"}) {
    EXPECT_EQ(texts_of(language), Json::Value(Json::objectValue)) << language;
  }
  std::filesystem::remove_all(root_.path() / kApps);
  EXPECT_FALSE(parser.Parse());
  EXPECT_TRUE(parser.GetTexts().empty());
}

TEST_F(Apps, BadManifestLeavesOutThatAppOnly) {
  root_.write(kApps + "elsewhere/en-US/strings.json", "{}");
  root_.write("outside/en-US/strings.json", "{}");
  // clang-format off
  const std::string manifests[] = {
      "", "[]", "{\"namespace\": \"A\"", "{}", R"({"namespace": 1, "texts": "texts"})", R"({"namespace": "A", "texts": ["texts"]})",
      R"({"namespace": "A\u0000", "texts": "texts"})", R"({"namespace": "A", "texts": "texts\u0000"})", std::string(2000, '['),
      manifest(""), manifest("A", ""), manifest("A", "../elsewhere"), manifest("A", "texts/../../elsewhere"),
      manifest("A", ".."), manifest("A", (root_.path() / "outside").string()), manifest("A", "/outside")};
  // clang-format on
  int number = 0;
  for (const std::string& text : manifests) install("bad" + std::to_string(number++), text);
  // Of several folders with one namespace the first in byte order has it.
  for (const char* name : {"b", "a", "Z", "\xc3\xa4"}) install(name, manifest("Good"));
  EXPECT_EQ(texts_of("en-US")["Good"], "3rdparty/Z/texts/en-US");
  EXPECT_EQ(texts_of("en-US").size(), 1U);
}

TEST(Languages, ArePlainFoldersWithStrings) {
  const TemporaryRoot root;
  EXPECT_THAT(kavo::languages(), testing::IsEmpty());
  for (const char* name : {"en-US", "de-DE", "zh_TW", "with blank", ".hidden", "x\xc3\xa4"}) {
    root.write(kWebman + "texts/" + name + "/strings.json", "{}");
  }
  root.write(kWebman + "texts/empty/other.json", "{}");
  root.write(kWebman + "texts/strings.json", "{}");
  EXPECT_THAT(kavo::languages(), testing::ElementsAre("de-DE", "en-US", "zh_TW"));
  for (const char* code : {"", ".", "..", "de-de", "de-DE/", "./de-DE", "empty", "with blank"}) {
    EXPECT_FALSE(kavo::is_language(code)) << code;
  }
}

}  // namespace
