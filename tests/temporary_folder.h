// A fresh folder for a test, with KAVO_ROOT pointing at it where the test asks for that.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

// Makes a folder of its own and removes it with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kavo-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp " + name);
    path_ = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }

  // Writes a file below the folder, with the folders that lead to it.
  void write(const std::string& relative_path, std::string_view bytes) const {
    const std::filesystem::path file = path_ / relative_path;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream.flush()) throw std::runtime_error("cannot write " + file.string());
  }
  // Writes a shell script that can be run; its path.
  std::filesystem::path write_program(const std::string& relative_path,
                                      const std::string& script) const {
    write(relative_path, "#!/bin/sh\n" + script);
    std::filesystem::permissions(path_ / relative_path, std::filesystem::perms(0755));
    return path_ / relative_path;
  }

 private:
  std::filesystem::path path_;
};

// A shell command that waits until the file `path` is there, or its folder is gone: a test that
// failed leaves nothing waiting.
inline std::string wait_for_file(const std::filesystem::path& path) {
  return "while [ ! -e " + path.string() + " ] && [ -d " + path.parent_path().string() +
         " ]; do sleep 0.02; done";
}

// A temporary folder that is the root of the appliance's own paths while it lives.
class TemporaryRoot : public TemporaryFolder {
 public:
  TemporaryRoot() { setenv("KAVO_ROOT", path().c_str(), 1); }
  ~TemporaryRoot() { unsetenv("KAVO_ROOT"); }
};
