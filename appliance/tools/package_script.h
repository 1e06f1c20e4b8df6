// The script with which a package is started and stopped.
#pragma once

#include <string>

namespace kavo {

// Checks that the script at `relative_path` in the folder `package_folder` may be run with the
// caller's rights: it is a regular file, reached through no link, and it and every folder from
// `package_folder` on belong to root or to the caller and can be written by nobody else. Empty when
// it may, otherwise what is wrong.
std::string check_package_script(const std::string& package_folder,
                                 const std::string& relative_path);

}  // namespace kavo
