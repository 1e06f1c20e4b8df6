// Manifests of packages.
#include "packages/manifest.h"

#include <kavopackage.h>

#include <algorithm>

#include "base/utf8.h"
#include "fuzz/fuzz.h"
#include "temporary_folder.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TemporaryRoot root;
  root.write("usr/kavo/packages/index/manifest.json", text_of(data, size));

  std::string why;
  const auto manifest = kavo::read_manifest("index", &why);
  require(manifest.has_value() == why.empty(), "a refusal has a reason, and nothing else has");
  KAVOPackageTool::PackageManager packages;
  KAVOPackageTool::PackageInfo info;
  require(packages.init() && packages.enumPackages(nullptr).size() == 1, "the package is listed");
  require(packages.getPackageInfo("index", info, nullptr) == manifest.has_value(),
          "both readers of a manifest agree");
  if (!manifest) {
    return 0;
  }
  require(info.can_be_started == manifest->startable && info.display_name == manifest->display_name,
          "both readers of a manifest agree");
  require(!manifest->display_name.empty() && kavo::is_clean_text(manifest->display_name),
          "a display name is a text");
  require(manifest->units.empty() || manifest->script.empty(), "there is one way to start it");
  require(!manifest->startable || !manifest->units.empty() || !manifest->script.empty(),
          "what is startable has something to start");
  require(std::all_of(manifest->units.begin(), manifest->units.end(), kavo::is_unit_name),
          "a unit is named as one");
  require(!manifest->script.starts_with('/') &&
              ("/" + manifest->script + "/").find("/../") == std::string::npos,
          "the script lies in the package");
  return 0;
}
