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

// An installed language with its name in that language: the text "language_name" of the section
// "common", or the code where there is none.
struct Language {
  std::string code;
  std::string name;
};

// The installed languages whose texts can be read, by code.
std::vector<Language> named_languages();

}  // namespace kavo
