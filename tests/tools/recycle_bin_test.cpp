// Cleaning in the process of the test, where the moment of the cleaning can be chosen.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "temporary_folder.h"
#include "tools/recycle_bin.h"

namespace {

using kavo::CleanPolicy;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kDay = 86'400 * kSecond;

class RecycleBin : public testing::Test {
 protected:
  std::filesystem::path path(const std::string& name) const {
    return share_.path() / "#recycle" / name;
  }

  void put(const std::string& name, size_t size = 1) const {
    share_.write("#recycle/" + name, std::string(size, 'x'));
  }

  // When the status of an entry changed last.
  int64_t changed(const std::string& name) const {
    struct stat status = {};
    EXPECT_EQ(lstat(path(name).c_str(), &status), 0) << name;
    return int64_t{status.st_ctim.tv_sec} * kSecond + status.st_ctim.tv_nsec;
  }

  // Makes entries until one is later than `moment`: the clock of a file system moves in steps.
  void pass(int64_t moment) const {
    do {
      std::filesystem::remove(path("tick"));
      put("tick");
    } while (changed("tick") <= moment);
    std::filesystem::remove(path("tick"));
  }

  // Puts files into the bin one after the other, the first one earliest.
  void put_in_order(const std::vector<std::pair<std::string, size_t>>& files) const {
    for (const auto& [name, size] : files) {
      put(name, size);
      pass(changed(name));
    }
  }

  kavo::CleanCounts clean(const CleanPolicy& policy, int64_t now = kDay) {
    problems_.clear();
    bool share_found = false;
    const kavo::Descriptor bin = kavo::open_bin(share_.path(), share_found);
    EXPECT_TRUE(bin.valid());
    kavo::CleanObserver observer;
    observer.problem = [this](const std::string& where, const std::string& why) {
      problems_.push_back(where + ": " + why);
    };
    observer.progress = [](const kavo::CleanCounts&) {};
    return kavo::clean_bin(bin.get(), policy, now, observer);
  }

  std::set<std::string> left() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path(""))) {
      names.insert(entry.path().lexically_relative(path("")).string());
    }
    return names;
  }

  static CleanPolicy older_than(uint64_t days) {
    CleanPolicy policy;
    policy.remove = CleanPolicy::Remove::kOlderThanDays;
    policy.days = days;
    return policy;
  }

  const TemporaryFolder share_;
  std::vector<std::string> problems_;
};

void set_modified(const std::filesystem::path& path, time_t seconds) {
  const timespec times[] = {{0, UTIME_OMIT}, {seconds, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

TEST_F(RecycleBin, CountsAgeFromWhenAFileWasPutThere) {
  put("old/photo");
  set_modified(path("old/photo"), 1000);  // taken long ago, deleted now
  pass(changed("old/photo"));
  put("new");
  const int64_t first = changed("old/photo");
  const int64_t second = changed("new");
  clean(older_than(2), first + 2 * kDay);
  EXPECT_THAT(left(), ElementsAre("new", "old", "old/photo"));
  clean(older_than(2), first + 2 * kDay + 1);
  EXPECT_THAT(left(), ElementsAre("new"));
  clean(older_than(UINT64_MAX), second + 10'000 * kDay);
  EXPECT_THAT(left(), ElementsAre("new"));
  clean(older_than(0), second + 1);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RecycleBin, CountsAFolderThatWasMovedFromItsMove) {
  put("folder/inner/file");
  std::filesystem::create_directory(path("folder/empty"));
  const int64_t file = changed("folder/inner/file");
  pass(changed("folder/empty"));
  set_modified(path("folder"), 1000);  // its status is now later than its contents, as by a move
  const int64_t moved = changed("folder");
  ASSERT_GT(moved, file);
  clean(older_than(1), moved + kDay);
  EXPECT_EQ(left().size(), 4U);
  clean(older_than(1), moved + kDay + 1);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RecycleBin, LeavesFoldersThatWereEmptyUntilTheirTime) {
  std::filesystem::create_directory(path(""));
  std::filesystem::create_directory(path("empty"));
  put("full/file");
  CleanPolicy down;
  down.remove = CleanPolicy::Remove::kDownToBytes;
  clean(older_than(1), changed("empty"));
  EXPECT_THAT(left(), ElementsAre("empty", "full", "full/file"));
  EXPECT_EQ(clean(down).folders, 1U);
  EXPECT_THAT(left(), ElementsAre("empty"));
  EXPECT_EQ(clean(older_than(1), changed("empty") + kDay + 1).folders, 1U);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RecycleBin, RemovesDownToASizeInTheOrderAskedFor) {
  const std::vector<std::pair<std::string, size_t>> files = {
      {"a/small", 10}, {"b/large.KEEP", 1000}, {"b/large", 500}, {"c", 100}, {"late", 400}};
  CleanPolicy policy;
  policy.remove = CleanPolicy::Remove::kDownToBytes;
  policy.order = CleanPolicy::Order::kLargeFirst;
  policy.bytes = 1510;
  policy.keep_extensions = {"keep"};
  put_in_order(files);
  kavo::CleanCounts counts = clean(policy);  // 2010 bytes: what must stay counts as well
  EXPECT_THAT(left(), ElementsAre("a", "a/small", "b", "b/large.KEEP", "c", "late"));
  EXPECT_EQ(counts.bytes, 500U);
  EXPECT_EQ(clean(policy).files, 0U);  // exactly within

  policy.order = CleanPolicy::Order::kOldFirst;
  policy.bytes = 1400;
  counts = clean(policy);
  EXPECT_THAT(left(), ElementsAre("b", "b/large.KEEP", "late"));
  EXPECT_EQ(counts.files, 2U);
  EXPECT_EQ(counts.folders, 1U);
  policy.bytes = 0;
  clean(policy);
  EXPECT_THAT(left(), ElementsAre("b", "b/large.KEEP"));
  EXPECT_THAT(problems_, IsEmpty());
}

TEST_F(RecycleBin, KeepsWhatTheRulesName) {
  for (const char* name : {"a.jpg", "b.JPG", "c.tar.Png", "jpg", "d.jpg.txt", ".jpg"})
    put(name, 50);
  put("tiny", 9);
  put("ten", 10);
  put("hundred", 100);
  put("huge", 101);
  CleanPolicy policy;
  policy.keep_extensions = {"jpg", "png"};
  policy.keep_larger_than = 100;
  policy.keep_smaller_than = 10;
  CleanPolicy dry = policy;
  dry.dry_run = true;
  EXPECT_EQ(clean(dry).files, 4U);
  EXPECT_EQ(left().size(), 10U);
  EXPECT_EQ(clean(policy).bytes, 210U);
  EXPECT_THAT(left(), ElementsAre(".jpg", "a.jpg", "b.JPG", "c.tar.Png", "huge", "tiny"));
}

TEST_F(RecycleBin, CountsWhatIsFreed) {
  put("one", 100);
  std::filesystem::create_hard_link(path("one"), share_.path() / "elsewhere");
  put("twice", 10);
  std::filesystem::create_hard_link(path("twice"), path("again"));
  const kavo::CleanCounts counts = clean({});
  EXPECT_EQ(counts.files, 3U);
  EXPECT_EQ(counts.bytes, 10U);
}

// Somebody else removes and replaces things between the search and the removal: here, when the
// first 500 files have gone.
TEST_F(RecycleBin, SurvivesChangesByOthers) {
  std::filesystem::create_directories(path("gone"));
  put("gone/file", 20);
  put("swapped", 30);
  std::filesystem::create_directory(path("linked"));
  put("linked/file", 10);
  share_.write("target/file", "precious");
  for (int i = 0; i < 500; ++i) put("first/" + std::to_string(i), 100);

  CleanPolicy policy;
  policy.remove = CleanPolicy::Remove::kDownToBytes;
  policy.order = CleanPolicy::Order::kLargeFirst;
  bool share_found = false;
  const kavo::Descriptor bin = kavo::open_bin(share_.path(), share_found);
  kavo::CleanObserver observer;
  observer.problem = [this](const std::string& where, const std::string&) {
    problems_.push_back(where);
  };
  observer.progress = [this](const kavo::CleanCounts& counts) {
    if (counts.files != 500) return;
    std::filesystem::remove_all(path("gone"));
    put("fresh", 5);
    std::filesystem::rename(path("fresh"), path("swapped"));
    std::filesystem::rename(path("linked"), share_.path() / "restored");
    std::filesystem::create_directory_symlink(share_.path() / "target", path("linked"));
  };
  kavo::clean_bin(bin.get(), policy, kDay, observer);
  EXPECT_TRUE(std::filesystem::exists(share_.path() / "target/file"));
  EXPECT_THAT(left(), ElementsAre("linked", "swapped"));
  EXPECT_EQ(std::filesystem::file_size(path("swapped")), 5U);
}

// A folder that a link has replaced by the time it is to be looked into.
TEST_F(RecycleBin, FollowsNoLinkThatTakesAFoldersPlace) {
  share_.write("target/file", "precious");
  for (int i = 0; i < 500; ++i) {
    put("a/" + std::to_string(i));
    put("b/" + std::to_string(i));
  }
  bool share_found = false;
  const kavo::Descriptor bin = kavo::open_bin(share_.path(), share_found);
  kavo::CleanObserver observer;
  observer.problem = [this](const std::string& where, const std::string& why) {
    problems_.push_back(where + ": " + why);
  };
  std::string waiting;
  observer.progress = [&](const kavo::CleanCounts&) {
    waiting = std::filesystem::is_empty(path("a")) ? "b" : "a";
    std::filesystem::rename(path(waiting), share_.path() / "restored");
    std::filesystem::create_directory_symlink(share_.path() / "target", path(waiting));
  };
  EXPECT_EQ(kavo::clean_bin(bin.get(), {}, kDay, observer).files, 500U);
  EXPECT_TRUE(std::filesystem::exists(share_.path() / "target/file"));
  EXPECT_TRUE(std::filesystem::exists(share_.path() / "restored/499"));
  EXPECT_THAT(problems_, ElementsAre(waiting + ": Not a directory"));
}

}  // namespace
