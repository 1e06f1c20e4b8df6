#include <kavozel.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

#include "base/root.h"
#include "base/utf8.h"
#include "strings/json_files.h"
#include "strings/layout.h"

namespace KAVO::ZEL {
namespace {

constexpr char kAppsFolder[] = "3rdparty/";         // below the webman folder
constexpr char kManifestFile[] = "/manifest.json";  // in an app's folder
constexpr char kFallbackLanguage[] = "en-US";

// The names of the folders in the folder of apps in byte order, or nothing when it cannot be read.
std::optional<std::vector<std::string>> app_folders() {
  std::vector<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(
      kavo::rooted(std::string(kavo::kWebmanFolder) + kAppsFolder), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::error_code not_a_folder;
    if (entry->is_directory(not_a_folder)) names.push_back(entry->path().filename());
  }
  if (error) return std::nullopt;
  std::sort(names.begin(), names.end());
  return names;
}

// What an app's manifest says about its strings.
struct AppManifest {
  std::string app_namespace;
  std::string texts;  // the folder with one folder a language, relative to the app's own
};

// The manifest of the app in `folder` (relative to the webman folder), or nothing when there is
// none, it is broken, or it names a folder outside the app's own.
std::optional<AppManifest> read_manifest(const std::string& folder) {
  const auto manifest = kavo::json_file(kavo::rooted(kavo::kWebmanFolder + folder + kManifestFile));
  if (!manifest->isObject()) return std::nullopt;
  const Json::Value& app_namespace = (*manifest)["namespace"];
  const Json::Value& texts = (*manifest)["texts"];
  if (!app_namespace.isString() || !texts.isString()) return std::nullopt;
  AppManifest result = {app_namespace.asString(), texts.asString()};
  if (result.app_namespace.empty() || !kavo::is_clean_text(result.app_namespace) ||
      !kavo::stays_inside(result.texts)) {
    return std::nullopt;
  }
  return result;
}

// The folder for `language` in an app's folder of strings, or else the one for the fallback
// language, all relative to the webman folder; nothing when neither has strings.
std::optional<std::string> find_texts(const std::string& folder, const std::string& language) {
  std::string texts = folder + "/" + language;
  if (kavo::has_strings(kavo::kWebmanFolder + texts)) return texts;
  texts = folder + "/" + kFallbackLanguage;
  if (kavo::has_strings(kavo::kWebmanFolder + texts)) return texts;
  return std::nullopt;
}

}  // namespace

JSConfigParser::JSConfigParser(const std::string& language)
    : language_(language), texts_(Json::objectValue) {}

bool JSConfigParser::Parse() {
  texts_ = Json::Value(Json::objectValue);
  const auto folders = app_folders();
  if (!folders) return false;
  if (!kavo::is_language_name(language_)) return true;

  for (const std::string& name : *folders) {
    const std::string folder = kAppsFolder + name;
    const auto manifest = read_manifest(folder);
    if (!manifest || texts_.isMember(manifest->app_namespace)) continue;
    const auto texts = find_texts(folder + "/" + manifest->texts, language_);
    if (texts) texts_[manifest->app_namespace] = *texts;
  }
  return true;
}

Json::Value JSConfigParser::GetTexts() const {
  return texts_;
}

}  // namespace KAVO::ZEL
