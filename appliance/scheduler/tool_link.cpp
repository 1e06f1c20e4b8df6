#include "scheduler/tool_link.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace kavo {
namespace {

constexpr char kLink[] = "/tmp/kavoschedtool";
constexpr char kName[] = "/kavoschedtool";
constexpr char kTarget[] = "/usr/kavo/bin/kavoschedtool";

// Whether only root can put something else in the place of an entry of root's.
bool is_guarded(const std::string& folder) {
  struct stat status = {};
  return lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == 0 &&
         ((status.st_mode & S_ISVTX) != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0);
}

std::string target_of(const std::string& link) {
  std::array<char, sizeof kTarget + 1> text{};
  const ssize_t size = readlink(link.c_str(), text.data(), text.size());
  return size < 0 ? "" : std::string(text.data(), static_cast<std::size_t>(size));
}

}  // namespace

void check_tool_link(const std::string& command, const std::string& folder) {
  if (command.find(kLink) == std::string::npos) {
    return;
  }
  const std::string link = folder + kName;
  struct stat status = {};
  if (!is_guarded(folder)) {
    throw std::runtime_error("The folder " + folder + " does not protect what root has there.");
  }
  if (lstat(link.c_str(), &status) != 0) {
    throw std::runtime_error("There is no link " + link + ".");
  }
  if (!S_ISLNK(status.st_mode) || status.st_uid != 0 || target_of(link) != kTarget) {
    throw std::runtime_error(link + " is not root's link to " + kTarget + ".");
  }
}

}  // namespace kavo
