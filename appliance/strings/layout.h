// Where the desktop's page, its strings and its apps lie, and which paths are taken for them.
#pragma once

#include <string>
#include <string_view>

namespace kavo {

// Absolute paths of the appliance, to be passed through rooted().
inline constexpr char kWebmanFolder[] = "/usr/kavo/kavoman/webman/";
inline constexpr char kStringsFile[] = "/strings.json";  // in a language's folder

// True for what can name a language's folder: 1 to 32 letters, digits, "_" and "-".
bool is_language_name(std::string_view name);

// True when `path` may be followed from a folder without leaving it: relative, not empty, without
// a ".." component or a zero byte.
bool stays_inside(std::string_view path);

// True when the folder `path`, absolute and not yet rooted, has a strings file.
bool has_strings(const std::string& path);

}  // namespace kavo
