// The texts that are shipped, as the desktop's parsers see them once they are installed.
#include <gmock/gmock.h>
#include <kavozel.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/utf8.h"
#include "strings/languages.h"
#include "temporary_folder.h"

namespace {

// The keys that tasks hold and that the task list puts in for the names of services.
// clang-format off
const std::vector<std::string> kKeys = {
    "beep:beep_title", "common:command_line", "common:language_name", "common:run", "common:start_service", "common:stop_service",
    "common:time_seconds", "network:apple_subject", "network:bonjourPrinter_subject", "network:wnds_file_service",
    "nfs:nfs_title", "schedule:clean_recycle_bin", "service:service_subject", "share:recycle_bin",
    "share:share_clean_all_recycle_bin", "share:share_disable_recycle_bin", "share:share_enable_recycle_bin",
    "time:ntp_service", "tree:leaf_autoblock", "tree:leaf_filevane", "tree:leaf_ftp", "tree:leaf_ftpes",
    "tree:leaf_service", "tree:leaf_sftp", "tree:leaf_webdav", "volume:beep_on"};
// clang-format on

TEST(Texts, EveryLanguageHasEveryKey) {
  const TemporaryRoot root;
  std::filesystem::create_directories(root.path() / "usr/kavo/kavoman/webman");
  std::filesystem::create_directory_symlink(TEXTS_FOLDER,
                                            root.path() / "usr/kavo/kavoman/webman/texts");
  ASSERT_THAT(kavo::languages(), testing::ElementsAre("de-DE", "en-US"));
  std::vector<std::string> first;
  for (const std::string& language : kavo::languages()) {
    const Json::Value texts =
        KAVO::ZEL::LocalizedStringParser().ParseTexts("/usr/kavo/kavoman/webman/texts/" + language);
    std::vector<std::string> keys;
    for (const std::string& section : texts.getMemberNames()) {
      for (const std::string& key : texts[section].getMemberNames()) {
        keys.push_back(section + ":" + key);
        const std::string text = texts[section][key].asString();
        EXPECT_TRUE(!text.empty() && kavo::is_clean_text(text)) << language << keys.back();
      }
    }
    EXPECT_THAT(keys, testing::IsSupersetOf(kKeys)) << language;
    // Nothing is left untranslated, and nothing remains of what was renamed.
    if (first.empty()) first = keys;
    EXPECT_THAT(keys, testing::UnorderedElementsAreArray(first)) << language;
  }
}

}  // namespace
