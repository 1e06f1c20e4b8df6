// What the built library shows to the server that loads it. MODULE_NM and MODULE_FILE come from the
// build.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string symbols(const std::string& options) {
  const std::string command = MODULE_NM " " + options + " '" MODULE_FILE "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> part{};
  size_t size = 0;
  while (pipe != nullptr && (size = std::fread(part.data(), 1, part.size(), pipe.get())) > 0) {
    output.append(part.data(), size);
  }
  return output;
}

TEST(ExportsTest, NothingButTheTableAndTheEntryFunctions) {
  const std::string parameters = "(KAVO::APIRequest*, KAVO::APIResponse*)";
  const std::string with_version = "(KAVO::APIRequest*, KAVO::APIResponse*, int)";
  std::set<std::string> expected{"GetAPITable", "gTable"};
  for (const char* name : {"List_v1", "SetEnable_v1", "Delete_v1", "Run_v1", "Get_v1", "Get_v2",
                           "Set_v1", "Set_v2", "Create_v1", "Create_v2"}) {
    expected.insert(std::string("TaskScheduler") + name + parameters);
  }
  for (const char* name : {"Get", "Set", "Create"}) {
    expected.insert(std::string("TaskScheduler") + name + with_version);
  }
  std::set<std::string> exported;
  std::istringstream lines(symbols("-D -C --defined-only"));
  std::string address;
  std::string kind;
  std::string name;
  while (lines >> address >> kind >> std::ws && std::getline(lines, name)) exported.insert(name);
  EXPECT_EQ(exported, expected);
}

TEST(ExportsTest, HandlersHaveFiveVirtualOperations) {
  // A virtual table holds two words before its slots.
  constexpr size_t kSize = (2 + 5) * sizeof(void*);
  std::istringstream lines(symbols("-S --defined-only"));
  int tables = 0;
  std::string line;
  while (std::getline(lines, line)) {
    if (line.find(" _ZTV") == std::string::npos) continue;
    if (line.find("TaskScheduler") == std::string::npos) continue;
    EXPECT_EQ(std::stoul(line.substr(line.find(' ')), nullptr, 16), kSize) << line;
    ++tables;
  }
  EXPECT_EQ(tables, 5);
}

}  // namespace
