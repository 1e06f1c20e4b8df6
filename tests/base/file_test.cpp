#include <gtest/gtest.h>
#include <sys/stat.h>

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

}  // namespace
