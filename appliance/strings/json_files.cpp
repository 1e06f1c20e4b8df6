#include "strings/json_files.h"

#include <json/reader.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

#include "base/file.h"
#include "strings/interned.h"

namespace kavo {
namespace {

constexpr size_t kMaxFileBytes = size_t{4} << 20;

// Deep enough for anything the desktop's files hold. The library's own limit of 1000 levels takes
// more stack than a small thread has.
constexpr int kMaxDepth = 64;

Json::Value parse_json(const std::string& path, const std::string& text) {
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;
  builder["failIfExtra"] = true;
  builder["stackLimit"] = kMaxDepth;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &value, &errors)) return value;
  } catch (const Json::Exception& error) {  // nested too deep
    errors = error.what();
  }
  std::replace(errors.begin(), errors.end(), '\n', ' ');
  syslog(LOG_WARNING, "%s is ignored: %s", path.c_str(), errors.c_str());
  return {};
}

// Which version of a file was read.
struct FileVersion {
  dev_t device;
  ino_t inode;
  off_t size;
  time_t seconds;
  decltype(timespec::tv_nsec) nanoseconds;

  explicit FileVersion(const struct stat& status)
      : device(status.st_dev),
        inode(status.st_ino),
        size(status.st_size),
        seconds(status.st_mtim.tv_sec),
        nanoseconds(status.st_mtim.tv_nsec) {}
  bool operator==(const FileVersion&) const = default;
};

class JsonFiles {
 public:
  std::shared_ptr<const Json::Value> get(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return forget(path);
    if (auto value = kept(path, FileVersion(status))) return value;

    // Parsed outside the lock: two threads that meet here do the same work twice, and no harm.
    const std::optional<std::string> text = read_file(path, kMaxFileBytes, &status);
    if (!text) return forget(path);
    return keep(path, FileVersion(status),
                std::make_shared<const Json::Value>(with_interned_texts(parse_json(path, *text))));
  }

 private:
  using Value = std::shared_ptr<const Json::Value>;

  Value kept(const std::string& path, const FileVersion& version) {
    const std::lock_guard lock(mutex_);
    const auto found = files_.find(path);
    return found != files_.end() && found->second.first == version ? found->second.second : nullptr;
  }

  Value keep(const std::string& path, const FileVersion& version, Value value) {
    const std::lock_guard lock(mutex_);
    files_.insert_or_assign(path, std::pair(version, value));
    return value;
  }

  Value forget(const std::string& path) {
    const std::lock_guard lock(mutex_);
    files_.erase(path);
    return std::make_shared<const Json::Value>();
  }

  std::mutex mutex_;
  std::map<std::string, std::pair<FileVersion, Value>> files_;
};

}  // namespace

std::shared_ptr<const Json::Value> json_file(const std::string& path) {
  // Never destroyed: threads may still ask while the process ends.
  static auto* const files = new JsonFiles;
  return files->get(path);
}

}  // namespace kavo
