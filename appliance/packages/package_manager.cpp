#include <cerrno>
#include <filesystem>
#include <system_error>

#include <kavopackage.h>
#include <xlibc.h>
#include "packages/errors.h"
#include "packages/manifest.h"

namespace KAVOPackageTool {

bool PackageManager::init() {
  // A folder whose name cannot be a package's is not one, nor is a link to a folder.
  std::list<std::string> names;
  std::error_code error;
  std::filesystem::directory_iterator entry(kavo::packages_folder(), error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    std::error_code vanished;
    const std::string name = entry->path().filename().string();
    if (entry->symlink_status(vanished).type() == std::filesystem::file_type::directory &&
        kavo::is_package_name(name)) {
      names.push_back(name);
    }
  }
  if (error && error != std::errc::no_such_file_or_directory) {
    XLIBCErrSetEx(kavo::kPackagesUnreadable, __FILE_NAME__, __LINE__);
    return false;
  }
  names.sort();
  names_ = std::move(names);
  return true;
}

std::list<std::string> PackageManager::enumPackages(const void* filter) const {
  if (filter != nullptr) {
    XLIBCErrSetEx(kavo::kPackageInvalidArgument, __FILE_NAME__, __LINE__);
    return {};
  }
  return names_;
}

bool PackageManager::getPackageInfo(const std::string& name, PackageInfo& info,
                                    const void* locale) const {
  if (locale != nullptr) {
    XLIBCErrSetEx(kavo::kPackageInvalidArgument, __FILE_NAME__, __LINE__);
    return false;
  }
  const std::optional<kavo::Manifest> manifest = kavo::read_manifest(name);
  if (!manifest) return false;
  info.display_name = manifest->display_name;
  info.can_be_started = manifest->startable;
  return true;
}

}  // namespace KAVOPackageTool
