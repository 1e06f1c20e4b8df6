// How deeply a JSON text is nested.
#pragma once

#include <cstddef>
#include <string_view>

namespace kavo {

// Deeper texts are not stored: the JSON library throws when it reads more than 1,000 levels, and
// what is stored here is read back inside a document that adds some of its own.
inline constexpr std::size_t kMaxJsonDepth = 900;

// The deepest nesting of arrays and objects in `text`, whether or not it is valid JSON. Reads the
// text once and allocates nothing.
constexpr std::size_t json_depth(std::string_view text) {
  std::size_t depth = 0;
  std::size_t deepest = 0;
  bool in_string = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (in_string) {
      i += c == '\\' ? 1 : 0;
      in_string = c != '"';
    } else if (c == '"') {
      in_string = true;
    } else if (c == '[' || c == '{') {
      ++depth;
      deepest = depth > deepest ? depth : deepest;
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

}  // namespace kavo
