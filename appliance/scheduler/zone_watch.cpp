#include "scheduler/zone_watch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <tuple>
#include <utility>

namespace kavo {
namespace {

constexpr char kLink[] = "localtime";
constexpr std::uint32_t kChanges = IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE;

std::string moment_of(const timespec& time) {
  return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

std::string version_of(const struct stat& file) {
  return std::to_string(file.st_dev) + ":" + std::to_string(file.st_ino) + ":" +
         moment_of(file.st_mtim) + " ";
}

bool is_before(const timespec& one, const timespec& other) {
  return std::tie(one.tv_sec, one.tv_nsec) < std::tie(other.tv_sec, other.tv_nsec);
}

}  // namespace

ZoneWatch::ZoneWatch(std::string settings, std::string database)
    : settings_(std::move(settings)),
      database_(std::move(database)),
      events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  settings_watch_ = inotify_add_watch(events_.get(), settings_.c_str(), kChanges);
  if (settings_watch_ < 0) {
    syslog(LOG_WARNING, "Changes of the time zone cannot be noticed: %s", strerror(errno));
  }
  watch_folders();
}

bool ZoneWatch::changed() {
  bool any = false;
  alignas(inotify_event) std::array<char, 8192> buffer;
  for (ssize_t size = 0; (size = read(events_.get(), buffer.data(), buffer.size())) > 0;) {
    for (const char* at = buffer.data(); at < buffer.data() + size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(at);
      any = any || event->wd != settings_watch_ || (event->len > 0 && !strcmp(event->name, kLink));
      at += sizeof(inotify_event) + event->len;
    }
  }
  if (any) {
    watch_folders();  // there may be new ones
  }
  return any;
}

std::string ZoneWatch::state() const {
  struct stat file = {};
  const std::string link = settings_ + "/" + kLink;
  std::string state = lstat(link.c_str(), &file) == 0 ? version_of(file) : "none ";
  // With the time of the latest change, which nobody can set: also that of a file edited in place.
  timespec newest = {};
  std::uint64_t inodes = 0;
  std::int64_t bytes = 0;
  std::error_code error;
  for (const std::string& folder : database_folders()) {
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      if (lstat(entry->path().c_str(), &file) == 0 && !S_ISDIR(file.st_mode)) {
        newest = std::max(newest, file.st_ctim, is_before);
        inodes += file.st_ino;
        bytes += file.st_size;
      }
    }
  }
  return state + std::to_string(inodes) + ":" + std::to_string(bytes) + ":" + moment_of(newest);
}

void ZoneWatch::watch_folders() {
  for (const std::string& folder : database_folders()) {
    if (inotify_add_watch(events_.get(), folder.c_str(), kChanges | IN_ONLYDIR) < 0) {
      syslog(LOG_WARNING, "Changes of %s cannot be noticed: %s", folder.c_str(), strerror(errno));
    }
  }
}

// The database's own folder and those below it with zones of their own.
std::vector<std::string> ZoneWatch::database_folders() const {
  std::vector<std::string> folders = {database_};
  std::error_code error;
  for (std::filesystem::recursive_directory_iterator entry(database_, error), end;
       !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename();
    if (!entry->is_directory(error)) {
      continue;
    }
    if (name == "posix" || name == "right") {
      entry.disable_recursion_pending();  // the same zones once more
    } else {
      folders.push_back(entry->path());
    }
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

}  // namespace kavo
