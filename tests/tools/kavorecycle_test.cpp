#include <unistd.h>

#include <json/json.h>

#include "shares/shares.h"
#include "tool_test.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

const std::string kTool = KAVORECYCLE;

class KavoRecycle : public ToolTest {
 protected:
  fs::path share(const std::string& name) const { return root_.path() / "volume" / name; }
  fs::path bin(const std::string& name) const { return share(name) / "#recycle"; }

  void put(const std::string& name, const std::string& file, size_t size = 1) const {
    root_.write("volume/" + name + "/#recycle/" + file, std::string(size, 'x'));
  }

  // Makes shares of these names the only ones, with their bins off and a file in each.
  void configure(const std::vector<std::string>& names) const {
    Json::Value document;
    for (const std::string& name : names) {
      Json::Value& entry = document["shares"].append(Json::Value());
      entry["name"] = name;
      entry["path"] = share(name).string();
      put(name, "file");
    }
    root_.write("etc/kavo/shares.json", Json::FastWriter().write(document));
  }

  bool holds(const std::string& name, const std::string& file = "file") const {
    return fs::exists(fs::symlink_status(bin(name) / file));
  }

  // The number of entries in a bin, folders in it included.
  size_t count(const std::string& name) const {
    const fs::recursive_directory_iterator entries(bin(name));
    return static_cast<size_t>(std::distance(begin(entries), end(entries)));
  }

  void put_many(const std::string& name) const {
    for (int i = 0; i < 10'000; ++i) {
      put(name, std::to_string(i % 100) + "/deep/" + std::to_string(i), 10);
    }
  }
};

TEST_F(KavoRecycle, CleansAllSharesOrThoseThatAreNamed) {
  const std::string odd[] = {"a b", "it's \"mine\"", "line\nfeed", "[a,b]", "$(id)", "Übung;*"};
  configure({"a", "b", "no bin"});
  fs::remove_all(bin("no bin"));
  EXPECT_EQ(run(kTool + " --clean").out,
            "\"a\": removed 1 files and 0 folders, freed 1 bytes\n"
            "\"b\": removed 1 files and 0 folders, freed 1 bytes\n");
  EXPECT_TRUE(fs::exists(bin("a")));
  configure({std::begin(odd), std::end(odd)});
  for (const std::string& name : odd) {
    ASSERT_TRUE(holds(name));
    EXPECT_EQ(run(kTool + " --clean " + word(name) + " -t 0").code, 0) << name;
    EXPECT_FALSE(holds(name)) << name;
  }
  configure({"a", "b", "line\nfeed"});
  EXPECT_THAT(run(kTool + " --clean " + word("line\nfeed") + " b -t 1").out,
              HasSubstr("\"line\\nfeed\": removed 0"));
  EXPECT_EQ(run(kTool + " --clean " + word("line\nfeed") + " b").code, 0);
  EXPECT_TRUE(holds("a") && !holds("b") && !holds("line\nfeed"));
}

TEST_F(KavoRecycle, UnderstandsTheOptionsThatTasksWrite) {
  configure({"a"});
  for (const char* file : {"x.jpg", "x.PNG", "x.txt"}) put("a", file, 100);
  put("a", "large", 2000);
  // 2048 MB and more wrap around in a task's command line.
  const std::pair<const char*, size_t> rows[] = {
      {"a -t 0 -file_ext=\"jpg.png\" -m 1048576 -l 18446744071562067968", 5},
      {"-s 18446744071562067968 -o 1", 5},
      {"-s 201 -o 2 -file_ext=\"JPG.png\" -l 5", 3},
      {"a -file_ext=\"\" -m 99 --dry-run", 3},
      {"a -s 0 -o 1", 0}};
  for (const auto& [arguments, left] : rows) {
    EXPECT_EQ(run(kTool + " --clean " + arguments).err, "");
    EXPECT_EQ(count("a"), left) << arguments;
    EXPECT_EQ(holds("a", "x.jpg") && holds("a", "x.PNG") && holds("a"), left != 0) << arguments;
  }
}

TEST_F(KavoRecycle, RemovesNothingOnWrongUse) {
  configure({"a", "b", "30"});
  const std::string before = read_whole(root_.path() / "etc/kavo/shares.json");
  expect_wrong_use(
      kTool,
      {"", "a", "--clean --enable", "--enable a --disable b", "--enable --clean",
       // names that could be read as options, or stand where no name belongs
       "--clean -a", "--clean -- a", "--clean --", "--clean a --all", "--clean ''", "a --clean",
       "--clean -t 0 a", "--clean a -t 0 b", "--clean a -5", "--clean '-rf *'", "--clean --help",
       "--clean a -h", "--clean a -t 0 ++",
       // texts that are no numbers
       "--clean -t", "--clean -t ''", "--clean a -t -1", "--clean -t 1x", "--clean -t 1.5",
       "--clean -t ' 1'", "--clean -t +1", "--clean -t 0x1", "--clean -t=0",
       "--clean -t 18446744073709551616", "--clean -t [0]", "--clean -t -m 5", "--clean -s x -o 1",
       "--clean -s '' -o 1", "--clean -s -1 -o 1", "--clean -m x", "--clean -l ''",
       // options that do not go together
       "--clean -s 0", "--clean -o 1", "--clean -s 0 -o 3", "--clean -s 0 -o ''",
       "--clean -t 0 -s 0 -o 1", "--clean -t 0 -t 0", "--clean a --clean", "--clean -file_ext",
       "--clean -file_extjpg", "--enable -t 0", "--disable a -m 5", "--enable --dry-run",
       "--enable a -file_ext=\"x\""});
  EXPECT_TRUE(holds("a") && holds("b") && holds("30"));
  EXPECT_EQ(read_whole(root_.path() / "etc/kavo/shares.json"), before);
}

TEST_F(KavoRecycle, ReportsSharesItCannotCleanAndDoesTheOthers) {
  configure({"a", "b", "c", "d"});
  fs::remove_all(share("a"));
  fs::remove_all(bin("c"));
  root_.write("volume/c/#recycle", "a file");
  expect_end(run(kTool + " --clean a nobody b c"), 1,
             {"there is no share \"nobody\"", "the folder of share \"a\": No such file",
              "the recycle bin of share \"c\": Not a directory"});
  EXPECT_TRUE(!holds("b") && holds("d"));
  root_.write("etc/kavo/shares.json", "{");
  expect_end(run(kTool + " --clean"), 1, {"shares.json"});
}

TEST_F(KavoRecycle, SwitchesBins) {
  configure({"a", "b \"c\"\n", "[a,b]"});
  const auto states_after = [this](const std::string& arguments) {
    std::string states = std::to_string(run(kTool + " " + arguments).code) + ": ";
    const auto shares = kavo::read_shares();
    for (const kavo::Share& each : *shares) states += each.recycle_bin ? '1' : '0';
    return states;
  };
  EXPECT_EQ(states_after("--enable " + word("b \"c\"\n") + " " + word("[a,b]")), "0: 101");
  EXPECT_EQ(states_after("--enable a nobody"), "1: 111");
  EXPECT_EQ(states_after("--disable"), "0: 000");
  EXPECT_EQ(states_after("--enable"), "0: 111");
  EXPECT_TRUE(holds("a"));
}

TEST_F(KavoRecycle, NeverFollowsALink) {
  configure({"a", "b", "c"});
  root_.write("outside/precious", "x");
  ASSERT_EQ(run("cd volume && ln -s ../../../outside/precious 'a/#recycle/to file'\n"
                "ln -s ../../../outside 'a/#recycle/to folder'\n"
                "ln -s nowhere 'a/#recycle/to nothing'\n"
                "mv 'b/#recycle' b/real && ln -s real 'b/#recycle'\n"
                "mv c 'real c' && ln -s 'real c' c")
                .code,
            0);
  expect_end(run(kTool + " --clean"), 1,
             {"the recycle bin of share \"b\"", "the folder of share \"c\""});
  EXPECT_EQ(count("a"), 0U);
  EXPECT_TRUE(holds("b") && holds("c") && fs::exists(root_.path() / "outside/precious"));
}

TEST_F(KavoRecycle, CleansManyFilesAndShowsProgressOnATerminalOnly) {
  configure({"a"});
  fs::remove(bin("a") / "file");
  put_many("a");
  expect_end(run("script -qec '" + kTool + " --dry-run --clean' /dev/null"), 0,
             {"\r\"a\": 9500 files", "would remove 10000 files and 200 folders"});
  expect_end(run(kTool + " --clean a -s 50000 -o 1"), 0, {"removed 5000 files"});
  const Finished done = run(kTool + " --clean a");
  EXPECT_EQ(done.err, "");
  expect_end(done, 0, {"removed 5000 files", "freed 50000 bytes"});
  EXPECT_TRUE(fs::is_empty(bin("a")));
}

TEST_F(KavoRecycle, SharesTheWorkWithAnotherCleaning) {
  configure({"a"});
  for (const std::string policy : {"", " -s 0 -o 2"}) {
    put_many("a");
    const Finished done = run("clean='" + kTool + " --clean a" + policy +
                              "'; $clean & $clean; first=$?; wait $! && exit $first");
    EXPECT_TRUE(done.code == 0 && done.err == "") << done.err;
    EXPECT_EQ(run(kTool + " --clean").code, 0);
    EXPECT_EQ(count("a"), 0U);
  }
}

TEST_F(KavoRecycle, CleansDeepFoldersWithFewDescriptorsAndASmallStack) {
  configure({"a"});
  for (const std::string policy : {"", " -s 0 -o 1"}) {
    put("a", "file");
    ASSERT_EQ(run("cd 'volume/a/#recycle'; for level in $(seq 400); do\n"
                  "mkdir folder && cd folder && printf x >file || exit 1; done")
                  .code,
              0);
    expect_end(run("ulimit -n 100 && ulimit -s 64 && " + kTool + " --clean" + policy), 0,
               {"removed 401 files and 400 folders"});
    EXPECT_EQ(count("a"), 0U);
  }
}

// Root may remove anything, so the tool runs as a user who may not write to one of the folders.
TEST_F(KavoRecycle, GoesOnAfterWhatItCannotRemove) {
  configure({"a", "b"});
  put("a", "locked/file");
  put("a", "open/file");
  std::string as_user = kTool;
  if (geteuid() == 0) {
    ASSERT_EQ(run("chown -R 65534:65534 .").code, 0);
    as_user = "setpriv --reuid 65534 --regid 65534 --clear-groups " + kTool;
  }
  ASSERT_EQ(chmod((bin("a") / "locked").c_str(), 0555), 0);
  for (const std::string policy : {"", " -s 0 -o 1"}) {
    put("b", "file");
    const Finished done = run(as_user + " --clean" + policy);
    expect_end(done, 1, {"share \"a\", \"locked/file\": Permission denied"});
    EXPECT_THAT(done.err, Not(HasSubstr("open")));
    EXPECT_EQ(count("a"), 2U);
    EXPECT_FALSE(holds("b"));
  }
  ASSERT_EQ(chmod((bin("a") / "locked").c_str(), 0755), 0);
}

// What is mounted in a bin is not in the bin, be it another file system or a part of the same one.
TEST_F(KavoRecycle, StaysOutOfMounts) {
  if (run("unshare -m true").code != 0) GTEST_SKIP() << "no mount namespace can be made here";
  configure({"a"});
  put("a", "other/own");
  put("a", "same/own");
  root_.write("outside/precious", "x");
  expect_end(run("unshare -m sh -c \"cd 'volume/a/#recycle' && mount -t tmpfs none other && "
                 "touch other/file && mount --bind ../../../outside same && " +
                 kTool + " --clean; echo \\$?; ls other\""),
             0,
             {"removed 1 files and 0 folders", "\n1\nfile\n",
              "\"other\": lies on another file system", "\"same\": lies on another file system"});
  EXPECT_TRUE(fs::exists(root_.path() / "outside/precious"));
}

}  // namespace
