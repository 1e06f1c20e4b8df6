// Cleaning in the process of the test, where the moment of the cleaning can be chosen.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "temporary_folder.h"
#include "tools/recycle_bin.h"

namespace {

namespace fs = std::filesystem;
using kavo::CleanPolicy;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64_t kSecond = 1'000'000'000;
constexpr int64_t kDay = 86'400 * kSecond;

class RecycleBin : public testing::Test {
 protected:
  fs::path path(const std::string& name) const { return share_.path() / "#recycle" / name; }

  void put(const std::string& name, size_t size = 1) const {
    share_.write("#recycle/" + name, std::string(size, 'x'));
  }

  // When the status of an entry changed last.
  int64_t changed(const std::string& name) const {
    struct stat status = {};
    EXPECT_EQ(lstat(path(name).c_str(), &status), 0) << name;
    return int64_t{status.st_ctim.tv_sec} * kSecond + status.st_ctim.tv_nsec;
  }

  // Gives an entry a modification time of long ago, which changes its status now.
  void set_modified(const std::string& name) const {
    const timespec times[] = {{0, UTIME_OMIT}, {1000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
  }

  // Makes entries until one is later than `name`: the clock of a file system moves in steps.
  void pass(const std::string& name) const {
    do {
      fs::remove(path("tick"));
      put("tick");
    } while (changed("tick") <= changed(name));
    fs::remove(path("tick"));
  }

  using Progress = std::function<void(const kavo::CleanCounts&)>;
  kavo::CleanCounts clean(
      const CleanPolicy& policy, int64_t now = kDay,
      const Progress& progress = [](const kavo::CleanCounts&) {}) {
    bool share_found = false;
    const kavo::Descriptor bin = kavo::open_bin(share_.path(), share_found);
    EXPECT_TRUE(bin.valid());
    kavo::CleanObserver observer;
    observer.problem = [this](const std::string& where, const std::string& why) {
      problems_.push_back(where + ": " + why);
    };
    observer.progress = progress;
    return kavo::clean_bin(bin.get(), policy, now, observer);
  }

  std::set<std::string> left() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(path(""))) {
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
  static CleanPolicy down_to(uint64_t bytes, CleanPolicy::Order order) {
    CleanPolicy policy;
    policy.remove = CleanPolicy::Remove::kDownToBytes;
    policy.bytes = bytes;
    policy.order = order;
    policy.keep_extensions = {"keep"};
    return policy;
  }

  const TemporaryFolder share_;
  std::vector<std::string> problems_;
};

constexpr auto kLargeFirst = CleanPolicy::Order::kLargeFirst;
constexpr auto kOldFirst = CleanPolicy::Order::kOldFirst;

TEST_F(RecycleBin, CountsAgeFromWhenAFileWasPutThere) {
  put("old/photo");
  set_modified("old/photo");  // taken long ago, deleted now
  pass("old/photo");
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
  fs::create_directory(path("folder/empty"));
  pass("folder/empty");
  set_modified("folder");  // its status is now later than its contents, as by a move
  const int64_t moved = changed("folder");
  ASSERT_GT(moved, changed("folder/inner/file"));
  clean(older_than(1), moved + kDay);
  EXPECT_EQ(left().size(), 4U);
  clean(older_than(1), moved + kDay + 1);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RecycleBin, LeavesFoldersThatWereEmptyUntilTheirTime) {
  put("full/file");
  fs::create_directory(path("empty"));
  clean(older_than(1), changed("empty"));
  EXPECT_THAT(left(), ElementsAre("empty", "full", "full/file"));
  EXPECT_EQ(clean(down_to(0, kOldFirst)).folders, 1U);
  EXPECT_THAT(left(), ElementsAre("empty"));
  EXPECT_EQ(clean(older_than(1), changed("empty") + kDay + 1).folders, 1U);
  EXPECT_THAT(left(), IsEmpty());
}

TEST_F(RecycleBin, RemovesDownToASizeInTheOrderAskedFor) {
  for (const auto& [name, size] :
       {std::pair("a/small", 10), std::pair("b/large.KEEP", 1000), std::pair("b/large", 500),
        std::pair("c", 100), std::pair("late", 400)}) {
    put(name, static_cast<size_t>(size));
    pass(name);
  }
  EXPECT_EQ(clean(down_to(1510, kLargeFirst)).bytes, 500U);  // what must stay counts as well
  EXPECT_THAT(left(), ElementsAre("a", "a/small", "b", "b/large.KEEP", "c", "late"));
  EXPECT_EQ(clean(down_to(1510, kLargeFirst)).files, 0U);  // exactly within
  const kavo::CleanCounts counts = clean(down_to(1400, kOldFirst));
  EXPECT_THAT(left(), ElementsAre("b", "b/large.KEEP", "late"));
  EXPECT_TRUE(counts.files == 2 && counts.folders == 1);
  clean(down_to(0, kOldFirst));
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
  CleanPolicy policy{
      .keep_extensions = {"jpg", "png"}, .keep_larger_than = 100, .keep_smaller_than = 10};
  policy.dry_run = true;
  EXPECT_EQ(clean(policy).files, 4U);
  EXPECT_EQ(left().size(), 10U);
  policy.dry_run = false;
  EXPECT_EQ(clean(policy).bytes, 210U);
  EXPECT_THAT(left(), ElementsAre(".jpg", "a.jpg", "b.JPG", "c.tar.Png", "huge", "tiny"));
}

TEST_F(RecycleBin, CountsWhatIsFreed) {
  put("one", 100);
  fs::create_hard_link(path("one"), share_.path() / "elsewhere");
  put("twice", 10);
  fs::create_hard_link(path("twice"), path("again"));
  const kavo::CleanCounts counts = clean({});
  EXPECT_TRUE(counts.files == 3 && counts.bytes == 10) << counts.files << " " << counts.bytes;
}

// Somebody else removes and replaces things between the search and the removal: here, when the
// first 500 files have gone.
TEST_F(RecycleBin, SurvivesChangesByOthers) {
  put("gone/file", 20);
  put("swapped", 30);
  put("linked/file", 10);
  share_.write("target/file", "precious");
  for (int i = 0; i < 500; ++i) put("first/" + std::to_string(i), 100);
  clean(down_to(0, kLargeFirst), kDay, [this](const kavo::CleanCounts& counts) {
    if (counts.files != 500) return;
    fs::remove_all(path("gone"));
    put("fresh", 5);
    fs::rename(path("fresh"), path("swapped"));
    fs::rename(path("linked"), share_.path() / "restored");
    fs::create_directory_symlink(share_.path() / "target", path("linked"));
  });
  EXPECT_TRUE(fs::exists(share_.path() / "target/file"));
  EXPECT_THAT(left(), ElementsAre("linked", "swapped"));
  EXPECT_EQ(fs::file_size(path("swapped")), 5U);
}

// A folder that a link has replaced by the time it is to be looked into.
TEST_F(RecycleBin, FollowsNoLinkThatTakesAFoldersPlace) {
  share_.write("target/file", "precious");
  for (int i = 0; i < 500; ++i) {
    put("a/" + std::to_string(i));
    put("b/" + std::to_string(i));
  }
  std::string waiting;
  const kavo::CleanCounts counts = clean({}, kDay, [&](const kavo::CleanCounts&) {
    waiting = fs::is_empty(path("a")) ? "b" : "a";
    fs::rename(path(waiting), share_.path() / "restored");
    fs::create_directory_symlink(share_.path() / "target", path(waiting));
  });
  EXPECT_EQ(counts.files, 500U);
  EXPECT_TRUE(fs::exists(share_.path() / "target/file"));
  EXPECT_TRUE(fs::exists(share_.path() / "restored/499"));
  EXPECT_THAT(problems_, ElementsAre(waiting + ": Not a directory"));
}

}  // namespace
