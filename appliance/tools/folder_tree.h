// The folders of a recycle bin, each reachable by name from the bin and never through a link.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

// A folder below the one that the tree was made for, or that one itself, which has the index 0.
struct Folder {
  size_t parent = 0;
  std::string name;
  int64_t moved_in = INT64_MIN;  // when it or a folder around it was moved here as a whole
  int64_t since = INT64_MAX;     // since when it is here
  uint64_t left = 0;             // entries that stay
  bool emptied = false;          // something was removed from it

  Descriptor descriptor{};  // open while the tree remembers it so
};

class FolderTree {
 public:
  // `top` stays the caller's and open.
  explicit FolderTree(int top);

  size_t add(size_t parent, std::string name);
  size_t size() const { return folders_.size(); }
  Folder& operator[](size_t index) { return folders_[index]; }

  // A descriptor of the folder, owned by the tree and valid until the next call; -1 with errno set
  // when it has vanished (ENOENT), is no folder any more (ENOTDIR, ELOOP), or lies on another file
  // system or under a mount (EXDEV). The tree keeps the last few open, so that going through a tree
  // in depth opens each folder once or twice.
  int open(size_t index);

  // The path of `name` in the folder, from the top.
  std::string path(size_t index, const std::string& name) const;

 private:
  int open_child(int parent, size_t index);

  int top_;
  dev_t device_ = 0;
  std::vector<Folder> folders_;
  std::deque<size_t> open_;  // oldest first
};

}  // namespace kavo
