#include "strings/layout.h"

#include <filesystem>
#include <system_error>

#include "base/root.h"

namespace kavo {

bool is_language_name(std::string_view name) {
  constexpr std::string_view kCharacters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
  return !name.empty() && name.size() <= 32 &&
         name.find_first_not_of(kCharacters) == std::string_view::npos;
}

bool stays_inside(std::string_view path) {
  if (path.empty() || path.front() == '/' || path.find('\0') != std::string_view::npos) {
    return false;
  }
  while (true) {
    const size_t slash = path.find('/');
    if (path.substr(0, slash) == "..") return false;
    if (slash == std::string_view::npos) return true;
    path.remove_prefix(slash + 1);
  }
}

bool has_strings(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(rooted(path + kStringsFile), ignored);
}

}  // namespace kavo
