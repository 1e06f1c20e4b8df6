// The UI languages that are installed.
#pragma once

#include <string>
#include <vector>

namespace kavo {

// True when `code` names an installed language of the desktop: a plain folder name (1 to 32
// letters, digits, "_" and "-") of a folder with strings. Looks at the disk at each call; safe on
// any thread.
bool is_language(const std::string& code);

// The codes of the installed languages in byte order; empty when the folder cannot be read.
std::vector<std::string> languages();

}  // namespace kavo
