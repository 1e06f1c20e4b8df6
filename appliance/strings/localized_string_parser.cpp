#include <kavozel.h>

#include "base/root.h"
#include "strings/json_files.h"
#include "strings/layout.h"

namespace KAVO::ZEL {

// Each caller gets a copy of the kept value; the texts in it are shared (see json_file).
Json::Value LocalizedStringParser::ParseTexts(const std::string& path) const {
  if (!path.starts_with('/') || !kavo::stays_inside(path.substr(1))) return {};
  const auto texts = kavo::json_file(kavo::rooted(path + kavo::kStringsFile));
  return texts->isObject() ? *texts : Json::Value();
}

}  // namespace KAVO::ZEL
