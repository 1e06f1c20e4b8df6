#include "tools/package_script.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/descriptor.h"
#include "tools/arguments.h"

namespace kavo {
namespace {

// What is wrong with what is open as `fd`; empty when only root and the caller can change it.
std::string find_fault(int fd, bool folder) {
  struct stat status = {};
  if (fstat(fd, &status) != 0) return strerror(errno);
  if (folder ? !S_ISDIR(status.st_mode) : !S_ISREG(status.st_mode)) {
    return folder ? "is not a folder" : "is not a regular file";
  }
  if (status.st_uid != 0 && status.st_uid != geteuid()) return "belongs to another user";
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) return "can be written by other users";
  return "";
}

}  // namespace

std::string check_package_script(const std::string& package_folder,
                                 const std::string& relative_path) {
  constexpr int kFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
  Descriptor folder(open(package_folder.c_str(), kFlags));
  if (!folder.valid()) return printable(package_folder) + ": " + strerror(errno);
  for (size_t begin = 0; true;) {
    std::string fault = find_fault(folder.get(), true);
    if (!fault.empty()) return "a folder of its script " + fault;
    const size_t end = relative_path.find('/', begin);
    const std::string part = relative_path.substr(begin, end - begin);
    Descriptor next(openat(folder.get(), part.c_str(), kFlags));
    if (!next.valid()) return "its script " + printable(relative_path) + ": " + strerror(errno);
    if (end == std::string::npos) {
      fault = find_fault(next.get(), false);
      return fault.empty() ? "" : "its script " + printable(relative_path) + " " + fault;
    }
    folder = std::move(next);
    begin = end + 1;
  }
}

}  // namespace kavo
