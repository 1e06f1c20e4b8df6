#include "base/file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace kavo {
namespace {

// Reads until the end of the file or until `bytes` is full; the number of bytes read, or -1.
ssize_t read_all(int fd, std::string& bytes) {
  size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t count = read(fd, bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    length += static_cast<size_t>(count);
  }
  return static_cast<ssize_t>(length);
}

}  // namespace

std::optional<std::string> read_file(const std::string& path, size_t limit, struct stat* status) {
  if (path.find('\0') != std::string::npos) return std::nullopt;
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat found = {};
  if (!file.valid() || fstat(file.get(), &found) != 0 || !S_ISREG(found.st_mode)) {
    return std::nullopt;
  }
  const auto size = static_cast<size_t>(found.st_size);
  if (size > limit) return std::nullopt;

  // One byte more than the file had: when it is filled, the file has grown and may be too long.
  std::string bytes(size + 1, '\0');
  const ssize_t length = read_all(file.get(), bytes);
  if (length < 0 || static_cast<size_t>(length) > size) return std::nullopt;
  bytes.resize(static_cast<size_t>(length));
  if (status != nullptr) *status = found;
  return bytes;
}

bool is_shared_folder(const std::string& folder) {
  constexpr mode_t kShared = S_ISGID | S_IWGRP;
  struct stat status = {};
  return stat(folder.c_str(), &status) == 0 && (status.st_mode & kShared) == kShared;
}

bool make_shared_file(const std::string& path) {
  std::string fresh = path + ".XXXXXX";
  Descriptor file(mkostemp(fresh.data(), O_CLOEXEC));
  if (!file.valid()) return false;
  const bool for_group = is_shared_folder(path.substr(0, path.rfind('/') + 1));
  const bool ready =
      fchmod(file.get(), S_IRUSR | S_IWUSR | (for_group ? S_IRGRP | S_IWGRP : 0U)) == 0;
  // Closed before it has its name: to close a file lets go of all the locks that this process has
  // on it, and another thread may have taken some by then.
  file = Descriptor();
  const bool made = ready && (link(fresh.c_str(), path.c_str()) == 0 || errno == EEXIST);
  const int error = errno;
  unlink(fresh.c_str());
  errno = error;
  return made;
}

Descriptor open_shared_file(const std::string& path) {
  const auto open_it = [&] {
    return Descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
  };
  Descriptor file = open_it();
  if (!file.valid() && errno == ENOENT && make_shared_file(path)) {
    file = open_it();
  }
  return file;
}

}  // namespace kavo
