#include "apis/output_text.h"

#include <algorithm>

#include "base/utf8.h"

namespace kavo {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// How long a character is that starts with this byte; 1 for a byte that starts none.
std::size_t length_by(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if (byte >= 0xC2 && byte <= 0xDF) {
    return 2;
  }
  if (byte >= 0xE0 && byte <= 0xEF) {
    return 3;
  }
  return byte >= 0xF0 && byte <= 0xF4 ? 4 : 1;
}

// Whether more bytes could make a character of these.
bool is_cut_off(std::string_view bytes) {
  return bytes.size() < length_by(bytes.front()) &&
         std::all_of(bytes.begin() + 1, bytes.end(),
                     [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; });
}

}  // namespace

TextPiece text_of(std::string_view bytes, std::size_t limit, bool last) {
  TextPiece piece;
  while (!bytes.empty()) {
    if (!last && is_cut_off(bytes)) {
      break;
    }
    std::string_view character = bytes.substr(0, length_by(bytes.front()));
    std::string_view shown = character;
    if (character != std::string_view("\0", 1) && !is_clean_text(character)) {
      character = bytes.substr(0, 1);
      shown = kReplacement;
    }
    if (piece.text.size() + shown.size() > limit) {
      break;
    }
    piece.text += shown;
    piece.bytes += character.size();
    bytes.remove_prefix(character.size());
  }
  return piece;
}

}  // namespace kavo
