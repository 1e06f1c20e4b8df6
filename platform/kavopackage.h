// The package library: which packages are installed and whether they can be started.
#pragma once

#include <list>
#include <string>

#pragma GCC visibility push(default)

namespace KAVOPackageTool {

// What a package's manifest says of it.
struct PackageInfo {
  std::string display_name;     // for people; the package's name where the manifest has none
  bool can_be_started = false;  // whether it has something to start and stop
};

// Reads the installed packages. One thread at a time; different objects may be used at once.
class PackageManager {
 public:
  // Opens the folder of packages. False with the error state set when it cannot be read; a folder
  // that is not there holds no packages, which is no failure.
  bool init();

  // The names of the installed packages in byte order. `filter` is reserved and must be null.
  std::list<std::string> enumPackages(const void* filter) const;

  // Fills `info` from the manifest of `name`. False with the error state set, and `info`
  // unchanged, when the package is not installed or its manifest is broken. `locale` is reserved
  // and must be null.
  bool getPackageInfo(const std::string& name, PackageInfo& info, const void* locale) const;

 private:
  std::list<std::string> names_;
};

}  // namespace KAVOPackageTool

#pragma GCC visibility pop
