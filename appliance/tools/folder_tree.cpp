#include "tools/folder_tree.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace kavo {
namespace {

constexpr size_t kMaxOpen = 64;

// Whether `fd` is a folder of the file system `device` and nothing is mounted on it. A folder that
// is mounted from elsewhere on the same file system shows in the attribute alone.
bool belongs(int fd, dev_t device) {
  struct statx status = {};
  if (statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status) != 0) return false;
  if (makedev(status.stx_dev_major, status.stx_dev_minor) == device &&
      (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) == 0) {
    return true;
  }
  errno = EXDEV;
  return false;
}

}  // namespace

FolderTree::FolderTree(int top) : top_(top), folders_(1) {
  struct stat status = {};
  if (fstat(top, &status) == 0) device_ = status.st_dev;
}

size_t FolderTree::add(size_t parent, std::string name) {
  Folder folder;
  folder.parent = parent;
  folder.name = std::move(name);
  folders_.push_back(std::move(folder));
  return folders_.size() - 1;
}

int FolderTree::open(size_t index) {
  std::vector<size_t> closed;  // from the folder up to the first one that is open
  for (; index != 0 && !folders_[index].descriptor.valid(); index = folders_[index].parent) {
    closed.push_back(index);
  }
  int fd = index == 0 ? top_ : folders_[index].descriptor.get();
  for (auto next = closed.rbegin(); next != closed.rend() && fd >= 0; ++next) {
    fd = open_child(fd, *next);
  }
  return fd;
}

int FolderTree::open_child(int parent, size_t index) {
  Descriptor child(openat(parent, folders_[index].name.c_str(),
                          O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!child.valid() || !belongs(child.get(), device_)) return -1;
  if (open_.size() == kMaxOpen) {
    folders_[open_.front()].descriptor = Descriptor();
    open_.pop_front();
  }
  open_.push_back(index);
  folders_[index].descriptor = std::move(child);
  return folders_[index].descriptor.get();
}

std::string FolderTree::path(size_t index, const std::string& name) const {
  std::vector<const std::string*> parts{&name};
  for (; index != 0; index = folders_[index].parent) parts.push_back(&folders_[index].name);
  std::string path;
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    if (!path.empty()) path += '/';
    path += **part;
  }
  return path;
}

}  // namespace kavo
