#include "tools/recycle_bin.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

#include "tools/folder_tree.h"

namespace kavo {
namespace {

constexpr const char* kBinFolder = "#recycle";
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int64_t kSecond = 1'000'000'000;
constexpr uint64_t kProgressStep = 500;  // files

int64_t nanoseconds(const timespec& time) {
  return int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

uint64_t size_of(const struct stat& status) {
  return static_cast<uint64_t>(status.st_size);
}

// The moment before which a file has been in the bin for more than `days`.
int64_t days_before(int64_t now, uint64_t days) {
  constexpr uint64_t kManyDays = 50'000;  // further back than any file's time
  return now - static_cast<int64_t>(std::min(days, kManyDays)) * 86'400 * kSecond;
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

// The entries of the folder `fd`, from the first one, whoever has read it before; `fd` stays open.
OpenFolder read_folder(int fd) {
  Descriptor own(openat(fd, ".", kFolderFlags));
  OpenFolder folder(own.valid() ? fdopendir(own.get()) : nullptr);
  if (folder) own.release();
  return folder;
}

class BinCleaner {
 public:
  BinCleaner(int bin, const CleanPolicy& policy, int64_t now, const CleanObserver& observer)
      : policy_(policy),
        observer_(observer),
        old_before_(days_before(now, policy.days)),
        tree_(bin) {}

  CleanCounts clean() {
    std::vector<size_t> waiting{0};
    while (!waiting.empty()) {
      const size_t folder = waiting.back();
      waiting.pop_back();
      const size_t known = tree_.size();
      scan(folder);
      for (size_t inner = tree_.size(); inner > known; --inner) waiting.push_back(inner - 1);
    }
    if (policy_.remove == CleanPolicy::Remove::kDownToBytes) remove_down_to_bytes();
    for (size_t folder = tree_.size() - 1; folder > 0; --folder) prune(folder);
    return counts_;
  }

 private:
  struct File {
    size_t folder = 0;
    std::string name;
    ino_t inode = 0;
    uint64_t size = 0;
    int64_t since = 0;
  };

  void problem(size_t folder, const std::string& name, int error) {
    observer_.problem(tree_.path(folder, name),
                      error == EXDEV ? "lies on another file system" : strerror(error));
  }

  // The entry of `folder` that stayed until now is gone; `by_us` when the cleaning removed it.
  void drop_entry(size_t folder, bool by_us) {
    --tree_[folder].left;
    if (by_us) tree_[folder].emptied = true;
  }

  // Looks at all entries of a folder: removes files at once where the policy can tell by the file
  // alone, remembers them where it cannot, and adds the folders in it to the tree.
  void scan(size_t folder) {
    const int fd = tree_.open(folder);
    struct stat status = {};
    const OpenFolder entries = fd >= 0 && fstat(fd, &status) == 0 ? read_folder(fd) : OpenFolder();
    if (!entries) {
      leave_alone(folder, errno);
      return;
    }
    set_times(folder, status);
    // Files are taken away while the folder is read: the entries that stay are read all the same.
    while (true) {
      errno = 0;
      const dirent* entry = readdir(entries.get());
      if (entry == nullptr) break;
      const std::string name = entry->d_name;
      if (name != "." && name != "..") look_at(folder, fd, name);
    }
    if (errno != 0) problem(folder, "", errno);
  }

  void leave_alone(size_t folder, int error) {
    tree_[folder].left = 1;  // whatever it holds
    if (error != ENOENT) {
      problem(tree_[folder].parent, tree_[folder].name, error);
    } else if (folder != 0) {
      drop_entry(tree_[folder].parent, false);
    }
  }

  // A change within a folder sets both its times; a later time of its status alone shows that it
  // was moved.
  void set_times(size_t folder, const struct stat& status) {
    if (folder == 0) return;
    const int64_t changed = nanoseconds(status.st_ctim);
    const int64_t outer = tree_[tree_[folder].parent].moved_in;
    const bool moved = changed > nanoseconds(status.st_mtim);
    tree_[folder].moved_in = moved ? std::max(changed, outer) : outer;
    tree_[folder].since = std::max(changed, outer);
  }

  void look_at(size_t folder, int fd, const std::string& name) {
    struct stat status = {};
    if (fstatat(fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) return;
      problem(folder, name, errno);
      ++tree_[folder].left;
      return;
    }
    ++tree_[folder].left;
    if (S_ISDIR(status.st_mode)) {
      tree_.add(folder, name);
      return;
    }
    total_ += size_of(status);
    if (is_kept(name, size_of(status))) return;
    const int64_t since = std::max(nanoseconds(status.st_ctim), tree_[folder].moved_in);
    if (policy_.remove == CleanPolicy::Remove::kDownToBytes) {
      files_.push_back({folder, name, status.st_ino, size_of(status), since});
    } else if (policy_.remove == CleanPolicy::Remove::kEverything || since < old_before_) {
      remove_file(folder, fd, name, status);
    }
  }

  bool is_kept(const std::string& name, uint64_t size) const {
    if (policy_.keep_larger_than && size > *policy_.keep_larger_than) return true;
    if (policy_.keep_smaller_than && size < *policy_.keep_smaller_than) return true;
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos) return false;
    const std::string extension = small_letters(std::string_view(name).substr(dot + 1));
    return std::find(policy_.keep_extensions.begin(), policy_.keep_extensions.end(), extension) !=
           policy_.keep_extensions.end();
  }

  // Removes the file that `status` describes; whether it is gone, by whomever.
  bool remove_file(size_t folder, int fd, const std::string& name, const struct stat& status) {
    if (!policy_.dry_run && unlinkat(fd, name.c_str(), 0) != 0) {
      if (errno != ENOENT) {
        problem(folder, name, errno);
        return false;
      }
      drop_entry(folder, false);
      return true;
    }
    drop_entry(folder, true);
    if (status.st_nlink <= 1) counts_.bytes += size_of(status);
    if (++counts_.files % kProgressStep == 0) observer_.progress(counts_);
    return true;
  }

  void remove_down_to_bytes() {
    const bool large_first = policy_.order == CleanPolicy::Order::kLargeFirst;
    std::sort(files_.begin(), files_.end(), [large_first](const File& a, const File& b) {
      const auto rest = [](const File& file) { return std::tie(file.folder, file.name); };
      if (large_first && a.size != b.size) return a.size > b.size;
      if (a.since != b.since) return a.since < b.since;
      return a.size != b.size ? a.size > b.size : rest(a) < rest(b);
    });
    for (const File& file : files_) {
      if (total_ <= policy_.bytes) return;
      if (remove_listed(file)) total_ -= file.size;
    }
  }

  // Removes a file that was found earlier; whether it is gone. Another file that has taken its name
  // since then stays.
  bool remove_listed(const File& file) {
    const int fd = tree_.open(file.folder);
    struct stat status = {};
    if (fd < 0 || fstatat(fd, file.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) {
        drop_entry(file.folder, false);
        return true;
      }
      problem(file.folder, file.name, errno);
      return false;
    }
    if (status.st_ino != file.inode || S_ISDIR(status.st_mode)) return true;
    return remove_file(file.folder, fd, file.name, status);
  }

  // Removes a folder in which nothing is left, unless it was empty before and would not go itself.
  void prune(size_t index) {
    const Folder& folder = tree_[index];
    if (folder.left != 0 || !(folder.emptied || empty_goes(folder))) return;
    const size_t parent = folder.parent;
    if (!policy_.dry_run) {
      const int fd = tree_.open(parent);
      if (fd < 0 || unlinkat(fd, folder.name.c_str(), AT_REMOVEDIR) != 0) {
        if (errno == ENOENT) drop_entry(parent, false);
        // Somebody has put something into it meanwhile: it is in use again.
        const bool used = errno == ENOTEMPTY || errno == EEXIST;
        if (errno != ENOENT && !used) problem(parent, folder.name, errno);
        return;
      }
    }
    drop_entry(parent, true);
    ++counts_.folders;
  }

  bool empty_goes(const Folder& folder) const {
    switch (policy_.remove) {
      case CleanPolicy::Remove::kEverything:
        return true;
      case CleanPolicy::Remove::kOlderThanDays:
        return folder.since < old_before_;
      case CleanPolicy::Remove::kDownToBytes:
        return false;
    }
    return false;
  }

  const CleanPolicy& policy_;
  const CleanObserver& observer_;
  const int64_t old_before_;
  FolderTree tree_;
  std::vector<File> files_;  // for kDownToBytes: those that may go
  uint64_t total_ = 0;       // bytes in the bin
  CleanCounts counts_;
};

}  // namespace

std::string small_letters(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return small;
}

Descriptor open_bin(const std::string& path, bool& share_found) {
  const Descriptor share(open(path.c_str(), kFolderFlags));
  share_found = share.valid();
  return Descriptor(share_found ? openat(share.get(), kBinFolder, kFolderFlags) : -1);
}

CleanCounts clean_bin(int bin, const CleanPolicy& policy, int64_t now,
                      const CleanObserver& observer) {
  return BinCleaner(bin, policy, now, observer).clean();
}

}  // namespace kavo
