// What the built library shows to the server that loads it. MODULE_NM and MODULE_FILE come from the
// build.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

// The lines of what the command for a library's symbols prints.
std::set<std::string> symbols(const std::string& options) {
  const std::string command = MODULE_NM " " + options + " '" MODULE_FILE "'";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::set<std::string> lines;
  std::array<char, 4096> line{};
  while (std::fgets(line.data(), line.size(), pipe.get()) != nullptr) lines.insert(line.data());
  return lines;
}

TEST(ExportsTest, NothingButTheTableAndTheEntryFunctions) {
  std::set<std::string> expected{"GetAPITable\n", "gTable\n"};
  for (const std::string name :
       {"List_v1", "SetEnable_v1", "Delete_v1", "Run_v1", "Get_v1", "Get_v2", "Set_v1", "Set_v2",
        "Create_v1", "Create_v2", "Get", "Set", "Create"}) {
    const char* version = name.find("_v") == std::string::npos ? ", int" : "";
    expected.insert("TaskScheduler" + name + "(KAVO::APIRequest*, KAVO::APIResponse*" + version +
                    ")\n");
  }
  std::set<std::string> exported;
  for (const std::string& line : symbols("-D -C --defined-only")) {
    exported.insert(line.substr(line.find(' ') + 3));  // behind the address and the kind
  }
  EXPECT_EQ(exported, expected);
}

TEST(ExportsTest, HandlersHaveFiveVirtualOperations) {
  // A virtual table holds two words before its slots.
  constexpr size_t kSize = (2 + 5) * sizeof(void*);
  int tables = 0;
  for (const std::string& line : symbols("-S --defined-only")) {
    if (line.find(" _ZTV") == std::string::npos || line.find("TaskScheduler") == std::string::npos)
      continue;
    EXPECT_EQ(std::stoul(line.substr(line.find(' ')), nullptr, 16), kSize) << line;
    ++tables;
  }
  EXPECT_EQ(tables, 5);
}

}  // namespace
