// Strings files: what is taken as one, and that each request may do what it likes with its copy.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <kavozel.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

#include "strings/json_files.h"
#include "temporary_folder.h"

namespace {

constexpr char kFolder[] = "/usr/kavo/kavoman/webman/texts/en-US";
constexpr char kFile[] = "usr/kavo/kavoman/webman/texts/en-US/strings.json";

Json::Value parse(const std::string& folder = kFolder) {
  return KAVO::ZEL::LocalizedStringParser().ParseTexts(folder);
}

// Gives the file a modification time of its own, so that no test depends on the clock's steps.
void set_time(const TemporaryRoot& root, time_t seconds, long nanoseconds) {
  const timespec times[] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
  ASSERT_EQ(utimensat(AT_FDCWD, (root.path() / kFile).c_str(), times, 0), 0);
}

TEST(Strings, ReadsSectionsAndPassesOtherValues) {
  const TemporaryRoot root;
  EXPECT_TRUE(parse().isNull());
  root.write(kFile, R"({"common": {"run": "Ausf\u00fchren", "zero": "a\u0000b", "a\u0000b": "key",
                        "": "", "count": 3, "deep": {"x": ["y"]}}, "plain": "text", "": {}})");
  EXPECT_EQ(Json::FastWriter().write(parse()),
            R"({"":{},"common":{"":"","a\u0000b":"key","count":3,"deep":{"x":["y"]},)"
            R"("run":"Ausf\u00fchren","zero":"a\u0000b"},"plain":"text"})"
            "\n");
}

TEST(Strings, AnswersNullForAnythingElse) {
  const TemporaryRoot root;
  const std::string deep = std::string(2000, '[') + std::string(2000, ']');
  time_t time = 0;
  // clang-format off
  for (const std::string& text : std::initializer_list<std::string>{
           "", "[]", "\"text\"", "null", "{\"a\": {\"b\": \"c\"", "{} x", "{\"a\": }", deep, "{\"a\":" + deep + "}",
           "{}" + std::string(size_t{4} << 20, ' ')}) {
    // clang-format on
    root.write(kFile, text);
    set_time(root, ++time, 0);
    EXPECT_TRUE(parse().isNull()) << text.substr(0, 40);
  }
  root.write(kFile, "{}" + std::string((size_t{4} << 20) - 2, ' '));  // just small enough
  EXPECT_TRUE(parse().isObject());

  // No path leads out of its folder.
  const std::string webman = "/usr/kavo/kavoman/webman/";
  for (const char* file : {"usr/kavo/kavoman/webman/strings.json", "strings.json"})
    root.write(file, "{}");
  for (const std::string& folder :
       {webman + "texts/..", std::string("/.."), std::string(), std::string("usr/kavo"),
        webman + "texts/en-US/../en-US", kFolder + std::string("\0x", 2)}) {
    EXPECT_TRUE(parse(folder).isNull()) << folder;
  }
}

TEST(Strings, SeesEveryNewVersionOfAFile) {
  const TemporaryRoot root;
  root.write(kFile, R"({"a": {"b": "one"}})");
  set_time(root, 1000, 1);
  EXPECT_EQ(parse()["a"]["b"], "one");

  root.write(kFile, R"({"a": {"b": "two"}})");
  set_time(root, 1000, 1);  // nothing tells it from the version that is kept
  EXPECT_EQ(parse()["a"]["b"], "one");
  set_time(root, 1000, 2);
  EXPECT_EQ(parse()["a"]["b"], "two");

  root.write("new", R"({"a": {"b": "six"}})");
  std::filesystem::rename(root.path() / "new", root.path() / kFile);
  set_time(root, 1000, 2);  // another inode
  EXPECT_EQ(parse()["a"]["b"], "six");

  std::filesystem::remove(root.path() / kFile);
  EXPECT_TRUE(parse().isNull());
}

TEST(Strings, CopiesShareTextsAndNothingElse) {
  const TemporaryRoot root;
  root.write(kFile, R"({"a": {"b": "text", "c": "other"}})");
  Json::Value first = parse();
  const Json::Value second = parse();
  EXPECT_EQ(first["a"]["b"].asCString(), second["a"]["b"].asCString());  // one address

  first["a"]["b"] = "changed";
  first["a"]["new"] = "added";
  first["a"].removeMember("c");
  first["absent"]["x"];
  first["s"].swap(first["a"]);
  EXPECT_EQ(first["s"]["b"], "changed");
  for (const Json::Value& unchanged : {parse(), second}) {
    EXPECT_EQ(Json::FastWriter().write(unchanged), "{\"a\":{\"b\":\"text\",\"c\":\"other\"}}\n");
  }
}

TEST(Strings, AreReadByManyThreadsWhileAFileChanges) {
  const TemporaryRoot root;
  root.write(kFile, R"({"a": {"b": "0"}})");
  std::atomic<bool> wrong = false;
  std::atomic<bool> done = false;
  const auto read = [&] {
    do {
      Json::Value texts = parse();
      if (!texts["a"]["b"].isString()) wrong = true;
      texts["a"]["b"] = "mine";
    } while (!done);
  };
  std::array<std::thread, 3> readers{std::thread(read), std::thread(read), std::thread(read)};
  for (int version = 1; version <= 200; ++version) {
    root.write("new", R"({"a": {"b": ")" + std::to_string(version) + "\"}}");
    std::filesystem::rename(root.path() / "new", root.path() / kFile);
  }
  done = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_FALSE(wrong);
  EXPECT_EQ(parse()["a"]["b"], "200");
}

}  // namespace
