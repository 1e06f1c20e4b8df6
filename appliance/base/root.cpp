#include "base/root.h"

#include <cstdlib>

namespace kavo {

std::string rooted(const std::string& absolute_path) {
  const char* root = secure_getenv("KAVO_ROOT");
  return root != nullptr ? root + absolute_path : absolute_path;
}

}  // namespace kavo
