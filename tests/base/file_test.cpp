#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file.h"
#include "base/root.h"
#include "temporary_folder.h"

namespace {

TEST(Root, IsPutBeforeAbsolutePaths) {
  unsetenv("KAVO_ROOT");
  EXPECT_EQ(kavo::rooted("/etc/kavo/kavo.conf"), "/etc/kavo/kavo.conf");
  const TemporaryRoot root;
  EXPECT_EQ(kavo::rooted("/etc/kavo/kavo.conf"), root.path().string() + "/etc/kavo/kavo.conf");
}

TEST(ReadFile, ReadsRegularFilesUpToTheLimit) {
  const TemporaryFolder folder;
  const std::string bytes("a\0b\n", 4);
  folder.write("file", bytes);
  const std::string file = folder.path() / "file";
  struct stat status = {};
  EXPECT_EQ(kavo::read_file(file, 4, &status), bytes);
  EXPECT_EQ(status.st_size, 4);
  EXPECT_EQ(kavo::read_file(file, 3), std::nullopt);

  const std::string pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(kavo::read_file(pipe, 100), std::nullopt);  // and does not wait for a writer
  EXPECT_EQ(kavo::read_file(folder.path(), 100), std::nullopt);
  EXPECT_EQ(kavo::read_file(folder.path() / "absent", 100), std::nullopt);
  EXPECT_EQ(kavo::read_file(file + std::string("\0x", 2), 100), std::nullopt);
}

TEST(SharedFile, IsItsOwnersOrItsSharedFoldersWhateverTheUmask) {
  const TemporaryFolder folder;
  const std::string file = folder.path() / "file";
  const auto mode_in = [&](mode_t folder_mode) {
    unlink(file.c_str());
    EXPECT_EQ(chmod(folder.path().c_str(), folder_mode), 0);
    EXPECT_TRUE(kavo::open_shared_file(file).valid());
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0);
    return status.st_mode & ALLPERMS;
  };
  for (const mode_t mask : {0, 0077}) {
    const mode_t usual = umask(mask);
    EXPECT_EQ(mode_in(0700), 0600U);
    EXPECT_EQ(mode_in(0770), 0600U);  // files there are their maker's group's, whichever that is
    EXPECT_EQ(mode_in(02770), 0660U);
    umask(usual);
  }
  folder.write("file", "bytes");
  EXPECT_TRUE(kavo::make_shared_file(file));
  EXPECT_TRUE(kavo::open_shared_file(file).valid());
  EXPECT_EQ(kavo::read_file(file, 9), "bytes");
  std::filesystem::create_symlink(file, folder.path() / "link");
  EXPECT_FALSE(kavo::open_shared_file(folder.path() / "link").valid());
  EXPECT_FALSE(kavo::make_shared_file(folder.path() / "absent/file"));
  const auto entries = std::filesystem::directory_iterator(folder.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);  // nothing half made is left
}

}  // namespace
