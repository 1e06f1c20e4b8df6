// Bytes of a program as a text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kavo {

struct TextPiece {
  std::string text;       // UTF-8
  std::size_t bytes = 0;  // of the input that it stands for
};

// The beginning of `bytes` as a text of up to `limit` bytes, with U+FFFD for every byte that is no
// UTF-8. A character that is cut off at the end is left for the next piece, unless these are the
// last bytes.
TextPiece text_of(std::string_view bytes, std::size_t limit, bool last);

}  // namespace kavo
