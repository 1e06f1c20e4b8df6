// A call of a function of the base room, which lies in the library that modules link.
#include <string>

namespace kavo {
std::string rooted(const std::string& absolute_path);
}  // namespace kavo

void call() {
  kavo::rooted("/etc");
}
