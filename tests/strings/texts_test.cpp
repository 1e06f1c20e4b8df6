// The texts that are shipped, as the desktop's parsers see them once they are installed.
#include <gmock/gmock.h>
#include <kavozel.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/utf8.h"
#include "strings/languages.h"
#include "temporary_folder.h"

namespace {

// The keys that tasks hold and that the task list puts in for the names of services.
const std::vector<std::string> kKeys = {
    "beep:beep_title",
    "common:command_line",
    "common:run",
    "common:start_service",
    "common:stop_service",
    "common:time_seconds",
    "network:apple_subject",
    "network:bonjourPrinter_subject",
    "network:wnds_file_service",
    "nfs:nfs_title",
    "schedule:clean_recycle_bin",
    "service:service_subject",
    "share:recycle_bin",
    "share:share_clean_all_recycle_bin",
    "share:share_disable_recycle_bin",
    "share:share_enable_recycle_bin",
    "time:ntp_service",
    "tree:leaf_autoblock",
    "tree:leaf_filevane",
    "tree:leaf_ftp",
    "tree:leaf_ftpes",
    "tree:leaf_service",
    "tree:leaf_sftp",
    "tree:leaf_webdav",
    "volume:beep_on",
};

// The keys of all texts, each of which must be a text that can be shown.
std::vector<std::string> keys_of(const Json::Value& texts) {
  std::vector<std::string> keys;
  for (auto section = texts.begin(); section != texts.end(); ++section) {
    for (auto text = section->begin(); text != section->end(); ++text) {
      std::string key = section.name();
      key.append(":").append(text.name());
      EXPECT_TRUE(text->isString() && !text->asString().empty()) << key;  // would show the key
      EXPECT_TRUE(kavo::is_clean_text(text->asString())) << key;
      keys.push_back(std::move(key));
    }
  }
  return keys;
}

TEST(Texts, EveryLanguageHasEveryKey) {
  const TemporaryRoot root;
  const std::string folder = "/usr/kavo/kavoman/webman/texts/";
  std::filesystem::create_directories(root.path() / "usr/kavo/kavoman/webman");
  std::filesystem::create_directory_symlink(TEXTS_FOLDER,
                                            root.path() / "usr/kavo/kavoman/webman/texts");
  ASSERT_THAT(kavo::languages(), testing::ElementsAre("de-DE", "en-US"));

  for (const std::string& language : kavo::languages()) {
    SCOPED_TRACE(language);
    const Json::Value texts = KAVO::ZEL::LocalizedStringParser().ParseTexts(folder + language);
    EXPECT_THAT(keys_of(texts), testing::UnorderedElementsAreArray(kKeys));
  }
}

}  // namespace
