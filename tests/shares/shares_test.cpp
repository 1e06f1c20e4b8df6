#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include <kavoshare.h>
#include "base/file.h"
#include "shares/errors.h"
#include "shares/shares.h"
#include "temporary_folder.h"

namespace {

class Shares : public testing::Test {
 protected:
  void configure(const std::string& text) const { root_.write("etc/kavo/shares.json", text); }
  std::filesystem::path file() const { return root_.path() / "etc/kavo/shares.json"; }
  std::string text() const { return kavo::read_file(file(), 1 << 20).value_or(""); }
  // The status of each share, in order.
  static std::string bins() {
    std::string states;
    const auto shares = kavo::read_shares();
    if (!shares) return "unreadable";
    for (const kavo::Share& share : *shares) states += share.recycle_bin ? '1' : '0';
    return states;
  }

  const TemporaryRoot root_;
};

TEST_F(Shares, AreListedInByteOrder) {
  configure(R"({"shares": [{"name": "web", "path": "/volume1/web"},
                           {"name": "a \"b\"\n", "path": "/volume1/odd", "recycle_bin": true},
                           {"name": "Photo", "path": "/volume2/deep/photo"}]})");
  XLIBCSzList* list = XLIBCSzListAlloc(1);
  EXPECT_EQ(KAVOShareEnum(&list, 783), 3);
  EXPECT_EQ(KAVOShareEnum(&list, 0xF0), 0);
  std::string names;
  for (int i = 0; i < XLIBCSzListCount(list); ++i)
    names += XLIBCSzListGet(list, i) + std::string("|");
  EXPECT_EQ(names, "Photo|a \"b\"\n|web|");
  EXPECT_EQ(kavo::read_shares()->at(0).path, "/volume2/deep/photo");
  EXPECT_EQ(bins(), "010");
  std::filesystem::remove(file());
  EXPECT_EQ(KAVOShareEnum(&list, 783), 0);
  XLIBCSzListFree(list);
}

TEST_F(Shares, RefuseABrokenFileAsAWhole) {
  // clang-format off
  for (const std::string fault : {
           R"({"path": "/a"})", R"({"name": "", "path": "/a"})", R"({"name": "a/b", "path": "/a"})", R"({"name": "-t", "path": "/a"})",
           R"({"name": "..", "path": "/a"})", R"({"name": "a\u0000b", "path": "/a"})", R"({"name": "good", "path": "/a"})",
           R"({"name": "a"})", R"({"name": "a", "path": "volume1/a"})", R"({"name": "a", "path": "/"})",
           R"({"name": "a", "path": "/a/"})", R"({"name": "a", "path": "/a//b"})", R"({"name": "a", "path": "/a/../etc"})",
           R"({"name": "a", "path": "/a/./b"})", R"({"name": "a", "path": "/a", "recycle_bin": "yes"})", "7", "", "]} x"}) {
    // clang-format on
    configure(R"({"shares": [{"name": "good", "path": "/volume1/good"}, )" + fault + "]}");
    const std::string before = text();
    XLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(bins(), "unreadable") << fault;
    EXPECT_EQ(KAVORecycleStatusSet("good", 1), -1) << fault;
    EXPECT_EQ(XLIBCErrGet(), kavo::kSharesBroken) << fault;
    EXPECT_EQ(text(), before);
  }
  for (const char* document : {"", "[]", "{}", R"({"shares": {}})"}) {
    configure(document);
    EXPECT_EQ(bins(), "unreadable") << document;
  }
  std::filesystem::remove(file());
  std::filesystem::create_directory(file());
  std::string why;
  EXPECT_FALSE(kavo::read_shares(&why));
  EXPECT_EQ(XLIBCErrGet(), kavo::kSharesUnreadable);
  EXPECT_THAT(why, testing::HasSubstr("shares.json"));
}

TEST_F(Shares, SwitchOneBinAndKeepTheRest) {
  configure(R"({"note": "Ü", "shares": [{"name": "b", "path": "/b", "quota": 12345678901},
                                        {"name": "a", "path": "/a", "recycle_bin": true}]})");
  ASSERT_EQ(chmod(file().c_str(), 0640), 0);
  root_.write("etc/kavo/shares.json.new", "left by an interrupted change");
  EXPECT_EQ(KAVORecycleStatusSet("b", 1), 0);
  EXPECT_EQ(bins(), "11");
  EXPECT_EQ(KAVORecycleStatusSet("a", 0), 0);
  EXPECT_EQ(bins(), "01");
  EXPECT_THAT(text(), testing::HasSubstr("12345678901"));
  EXPECT_THAT(text(), testing::HasSubstr("\"Ü\""));
  struct stat status = {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640);
  EXPECT_FALSE(std::filesystem::exists(file().string() + ".new"));

  // What changes nothing or cannot be done writes nothing.
  EXPECT_EQ(KAVORecycleStatusSet("b", 1), 0);
  EXPECT_EQ(KAVORecycleStatusSet("c", 1), -1);
  EXPECT_EQ(XLIBCErrGet(), kavo::kShareUnknown);
  EXPECT_EQ(KAVORecycleStatusSet("b", 2), -1);
  EXPECT_EQ(XLIBCErrGet(), kavo::kShareInvalidArgument);
  struct stat same = {};
  ASSERT_EQ(stat(file().c_str(), &same), 0);
  EXPECT_EQ(same.st_ino, status.st_ino);
}

TEST_F(Shares, ReplaceTheFileThatALinkLeadsTo) {
  root_.write("var/lib/kavo/shares.json", R"({"shares": [{"name": "a", "path": "/a"}]})");
  std::filesystem::create_directories(file().parent_path());
  std::filesystem::create_symlink("../../var/lib/kavo/shares.json", file());
  EXPECT_EQ(KAVORecycleStatusSet("a", 1), 0);
  EXPECT_EQ(bins(), "1");
  EXPECT_TRUE(std::filesystem::is_symlink(file()));
  std::filesystem::remove(root_.path() / "var/lib/kavo/shares.json");
  EXPECT_EQ(bins(), "");  // a link that leads nowhere: there are no shares
}

// Flips the bin of `name` again and again; whether each change was still there afterwards.
bool flip(const std::string& name, size_t index, int times) {
  for (int i = 0; i < times; ++i) {
    const int status = i % 2 == 0 ? 1 : 0;
    if (KAVORecycleStatusSet(name.c_str(), status) != 0) return false;
    const auto shares = kavo::read_shares();
    if (!shares || shares->at(index).recycle_bin != (status == 1)) return false;
  }
  return true;
}

TEST_F(Shares, LoseNothingWhenTwoProcessesSwitchThem) {
  configure(R"({"shares": [{"name": "a", "path": "/a"}, {"name": "b", "path": "/b"}]})");
  constexpr int kTimes = 201;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(flip("b", 1, kTimes) ? 0 : 1);
  EXPECT_TRUE(flip("a", 0, kTimes));
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(bins(), "11");
}

}  // namespace
