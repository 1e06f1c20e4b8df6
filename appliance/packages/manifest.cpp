#include "packages/manifest.h"

#include <sys/stat.h>

#include <algorithm>

#include <json/json.h>

#include <xlibc.h>
#include "base/file.h"
#include "base/root.h"
#include "base/strict_json.h"
#include "base/utf8.h"
#include "packages/errors.h"

namespace kavo {
namespace {

constexpr const char* kPackagesFolder = "/usr/kavo/packages";
constexpr size_t kMaxManifestSize = size_t{1} << 20;
constexpr size_t kMaxNameLength = 255;

// Whether `path` stays below the folder that it is relative to.
bool is_inner_path(std::string_view path) {
  if (!is_clean_text(path)) return false;
  while (true) {
    const size_t slash = path.find('/');
    const std::string_view part = path.substr(0, slash);
    if (part.empty() || part == "." || part == "..") return false;
    if (slash == std::string_view::npos) return true;
    path.remove_prefix(slash + 1);
  }
}

// Reads "units" into `manifest`; the reason when it is not a list of units.
const char* read_units(const Json::Value& units, Manifest& manifest) {
  if (!units.isArray() || units.empty()) return "\"units\" is not a list of units";
  for (const Json::Value& unit : units) {
    if (!unit.isString() || !is_unit_name(unit.asString())) {
      return "\"units\" holds something that is no unit name";
    }
    manifest.units.push_back(unit.asString());
  }
  return nullptr;
}

const char* read_script(const Json::Value& script, Manifest& manifest) {
  if (!script.isString() || !is_inner_path(script.asString())) {
    return "\"script\" is not a path within the package";
  }
  manifest.script = script.asString();
  return nullptr;
}

// Reads the document of the package `name` into `manifest`; the reason when it breaks a rule.
const char* read_document(const Json::Value& document, const std::string& name,
                          Manifest& manifest) {
  if (!document.isObject()) return "it is not an object";
  if (!document["name"].isString() || document["name"].asString() != name) {
    return "\"name\" is not the name of its folder";
  }
  const Json::Value& display_name = document["display_name"];
  if (!display_name.isNull() && (!display_name.isString() || display_name.asString().empty() ||
                                 !is_clean_text(display_name.asString()))) {
    return "\"display_name\" is not a text";
  }
  manifest.display_name = display_name.isNull() ? name : display_name.asString();

  const Json::Value& startable = document["startable"];
  if (!startable.isNull() && !startable.isBool()) return "\"startable\" is not true or false";
  manifest.startable = startable.isBool() && startable.asBool();

  const bool has_units = document.isMember("units");
  const bool has_script = document.isMember("script");
  if (has_units && has_script) return "it has both \"units\" and \"script\"";
  if (has_units) return read_units(document["units"], manifest);
  if (has_script) return read_script(document["script"], manifest);
  return manifest.startable ? "it has neither \"units\" nor \"script\"" : nullptr;
}

}  // namespace

bool is_package_name(std::string_view name) {
  return !name.empty() && name.size() <= kMaxNameLength && name.front() != '-' &&
         name.front() != '.' && name.find('/') == std::string_view::npos && is_clean_text(name);
}

bool is_unit_name(std::string_view name) {
  constexpr std::string_view kCharacters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789:-_.\\@";
  constexpr std::string_view kTypes[] = {".service", ".socket", ".target",
                                         ".timer",   ".path",   ".mount"};
  if (name.size() > kMaxNameLength || name.starts_with('-') || name.starts_with('.') ||
      name.find_first_not_of(kCharacters) != std::string_view::npos) {
    return false;
  }
  return std::any_of(std::begin(kTypes), std::end(kTypes),
                     [name](std::string_view type) { return name.ends_with(type); });
}

std::string packages_folder() {
  return rooted(kPackagesFolder);
}

std::string package_folder(const std::string& name) {
  return packages_folder() + "/" + name;
}

std::optional<Manifest> read_manifest(const std::string& name, std::string* why) {
  const auto fail = [why](int code, int line, const std::string& reason) {
    XLIBCErrSetEx(code, __FILE_NAME__, line);
    if (why != nullptr) *why = reason;
    return std::nullopt;
  };
  struct stat folder = {};
  if (!is_package_name(name) || lstat(package_folder(name).c_str(), &folder) != 0 ||
      !S_ISDIR(folder.st_mode)) {
    return fail(kPackageNotInstalled, __LINE__, "there is no such package");
  }
  const std::optional<std::string> text =
      read_file(package_folder(name) + "/manifest.json", kMaxManifestSize);
  if (!text) return fail(kManifestBroken, __LINE__, "its manifest is missing or cannot be read");
  const std::optional<Json::Value> document = parse_strict_json(*text);
  if (!document) return fail(kManifestBroken, __LINE__, "its manifest is not JSON");
  Manifest manifest;
  if (const char* reason = read_document(*document, name, manifest)) {
    return fail(kManifestBroken, __LINE__, std::string("its manifest is broken: ") + reason);
  }
  return manifest;
}

}  // namespace kavo
