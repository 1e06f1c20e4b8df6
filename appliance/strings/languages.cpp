#include "strings/languages.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/root.h"
#include "strings/json_files.h"
#include "strings/layout.h"

namespace kavo {
namespace {

std::string texts_folder() {
  return std::string(kWebmanFolder) + "texts/";
}

}  // namespace

bool is_language(const std::string& code) {
  return is_language_name(code) && has_strings(texts_folder() + code);
}

std::vector<std::string> languages() {
  std::vector<std::string> codes;
  std::error_code error;
  std::filesystem::directory_iterator entry(rooted(texts_folder()), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::string code = entry->path().filename();
    if (is_language(code)) codes.push_back(std::move(code));
  }
  std::sort(codes.begin(), codes.end());
  return codes;
}

std::vector<Language> named_languages() {
  std::vector<Language> found;
  for (const std::string& code : languages()) {
    const auto texts = json_file(rooted(texts_folder() + code + kStringsFile));
    if (!texts->isObject()) continue;
    const Json::Value& common = (*texts)["common"];
    const Json::Value name = common.isObject() ? common["language_name"] : Json::Value();
    found.push_back({code, name.isString() ? name.asString() : code});
  }
  return found;
}

}  // namespace kavo
