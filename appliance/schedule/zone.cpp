#include "schedule/zone.h"

#include <absl/strings/str_split.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>

namespace kavo {
namespace {

constexpr std::string_view kDatabase = "/usr/share/zoneinfo/";
constexpr std::string_view kMagic = "TZif";

// What tells one version of a file from another that was put in its place.
struct FileVersion {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  std::int64_t changed_seconds = 0;
  std::int64_t changed_nanoseconds = 0;

  friend bool operator==(const FileVersion&, const FileVersion&) = default;
};

struct LoadedZone {
  FileVersion version;
  std::optional<absl::TimeZone> zone;  // none: the file is not a zone
  int loads = 0;
};

std::optional<FileVersion> version_of(const std::string& path) {
  struct stat file {};
  if (stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) {
    return std::nullopt;
  }
  return FileVersion{file.st_dev, file.st_ino, file.st_size, file.st_ctim.tv_sec,
                     file.st_ctim.tv_nsec};
}

bool has_magic(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string start(kMagic.size(), '\0');
  return file.read(start.data(), static_cast<std::streamsize>(start.size())) && start == kMagic;
}

// The zone in the file at an absolute path. The library keeps for good what it once loaded, or
// could not load, under a name: each version of a file is asked for under a spelling of its own.
std::optional<absl::TimeZone> load_file(const std::string& path) {
  static std::mutex mutex;
  static std::map<std::string, LoadedZone> loaded;

  const std::optional<FileVersion> version = version_of(path);
  if (!version) {
    return std::nullopt;
  }
  const std::lock_guard lock(mutex);
  LoadedZone& entry = loaded[path];
  if (entry.loads == 0 || entry.version != *version) {
    const std::string spelling = std::string(static_cast<std::size_t>(entry.loads), '/') + path;
    absl::TimeZone zone;
    const bool is_zone = has_magic(path) && absl::LoadTimeZone(spelling, &zone);
    entry = {*version, is_zone ? std::optional(zone) : std::nullopt, entry.loads + 1};
  }
  return entry.zone;
}

// Letters, digits and "_+-" in parts separated by single slashes, and none of the names that stand
// for other zones.
bool is_zone_name(std::string_view name) {
  const bool clean = std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '+' || c == '-' || c == '/';
  });
  return clean && !name.empty() && !name.starts_with('/') && !name.ends_with('/') &&
         name.find("//") == std::string_view::npos && name != "localtime" && name != "posixrules" &&
         !name.starts_with("posix/") && !name.starts_with("right/");
}

}  // namespace

bool load_zone(const std::string& name, absl::TimeZone& zone) {
  if (!is_zone_name(name)) {
    return false;
  }
  const std::optional<absl::TimeZone> found = load_file(std::string(kDatabase) + name);
  zone = found.value_or(zone);
  return found.has_value();
}

absl::TimeZone appliance_zone(const std::string& file) {
  return load_file(file).value_or(absl::UTCTimeZone());
}

std::string appliance_zone_name(const std::string& file) {
  std::error_code error;
  const std::filesystem::path target = std::filesystem::read_symlink(file, error);
  if (error) {
    return error == std::errc::no_such_file_or_directory ? "UTC" : "";
  }
  const std::string path =
      (std::filesystem::path(file).parent_path() / target).lexically_normal().string();
  const std::string name = path.starts_with(kDatabase) ? path.substr(kDatabase.size()) : "";
  absl::TimeZone zone;
  return load_zone(name, zone) ? name : "";
}

std::vector<std::string> zone_names() {
  std::vector<std::string> names = {"UTC"};
  std::ifstream table(std::string(kDatabase) + "zone.tab");
  for (std::string line; std::getline(table, line);) {
    // Country, coordinates, name, remark; separated by tabs.
    const std::vector<std::string> fields = absl::StrSplit(line, '\t');
    if (!line.starts_with('#') && fields.size() >= 3 && is_zone_name(fields[2])) {
      names.push_back(fields[2]);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

absl::TimeZone schedule_zone(const Schedule& schedule) {
  if (schedule.timezone.empty()) {
    return appliance_zone();
  }
  absl::TimeZone zone = absl::UTCTimeZone();
  load_zone(schedule.timezone, zone);  // stays UTC when it is not there
  return zone;
}

}  // namespace kavo
