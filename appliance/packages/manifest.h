// What a package says of itself.
//
// A package is a folder of its own below "/usr/kavo/packages/", named like the package, with a file
// "manifest.json":
//   {
//     "name": "photo-index",                 the folder's name
//     "display_name": "Photo index",         optional: the name for people
//     "startable": true,                     optional: false when missing
//     "units": ["photo-index.service"]       what starts and stops it: systemd units, or
//     "script": "bin/control"                a program in the folder, run with "start" or "stop"
//   }
// A startable package has either "units" or "script". Other members are left to the package.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kavo {

struct Manifest {
  std::string display_name;  // the package's name where the manifest has none
  bool startable = false;
  std::vector<std::string> units;  // in the order in which they are switched
  std::string script;              // relative to the package's folder, without "." and ".."
};

// Whether `name` can name a package: 1 to 255 bytes of UTF-8 without a zero byte or "/", not
// beginning with "-" (a tool would read it as an option) or "." (folders of package tools).
bool is_package_name(std::string_view name);

// Whether `name` is a full name of a systemd unit ("smbd.service"), and nothing that systemctl
// would take for an option or a pattern.
bool is_unit_name(std::string_view name);

// The folder that holds the packages, and the one of the package `name`.
std::string packages_folder();
std::string package_folder(const std::string& name);

// The manifest of the installed package `name`. Nothing, with the error state set and the reason in
// `*why` where given, when there is no such package or its manifest is broken.
std::optional<Manifest> read_manifest(const std::string& name, std::string* why = nullptr);

}  // namespace kavo
