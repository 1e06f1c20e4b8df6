// Runs programs as a shell does.
#pragma once

#include <sys/wait.h>

#include <cstdlib>

#include "temporary_folder.h"

struct Finished {
  int code = -1;  // exit code; -1 when the shell did not exit
  std::string out, err;
};

inline std::string read_whole(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Runs a command line to its end, in the folder and over the files "in", "out" and "err" there.
inline Finished run_in(const TemporaryFolder& folder, const std::string& command,
                       const std::string& input = "") {
  folder.write("in", input);
  const std::string whole =
      "cd '" + folder.path().string() + "' && {\n" + command + "\n} <in >out 2>err";
  const int status = std::system(whole.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_whole(folder.path() / "out"),
          read_whole(folder.path() / "err")};
}
