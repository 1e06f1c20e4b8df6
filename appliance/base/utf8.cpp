#include "base/utf8.h"

#include <cstdint>

namespace kavo {
namespace {

// The form of a character that starts with `lead`: how many bytes follow, and the smallest code
// point that needs that many. A byte that starts nothing has a negative count.
struct CharacterForm {
  int following;
  uint32_t smallest;
  uint32_t lead_bits;
};

CharacterForm form_of(unsigned char lead) {
  if (lead < 0x80) return {0, 1, lead};  // a zero byte is below the smallest
  if ((lead & 0xE0U) == 0xC0) return {1, 0x80, lead & 0x1FU};
  if ((lead & 0xF0U) == 0xE0) return {2, 0x800, lead & 0x0FU};
  if ((lead & 0xF8U) == 0xF0) return {3, 0x10000, lead & 0x07U};
  return {-1, 0, 0};
}

bool is_surrogate(uint32_t code_point) {
  return code_point >= 0xD800 && code_point <= 0xDFFF;
}

}  // namespace

bool is_clean_text(std::string_view text) {
  while (!text.empty()) {
    const CharacterForm form = form_of(static_cast<unsigned char>(text.front()));
    text.remove_prefix(1);
    if (form.following < 0 || text.size() < static_cast<size_t>(form.following)) return false;

    uint32_t code_point = form.lead_bits;
    for (int i = 0; i < form.following; ++i) {
      const auto byte = static_cast<unsigned char>(text.front());
      text.remove_prefix(1);
      if ((byte & 0xC0U) != 0x80) return false;
      code_point = code_point << 6 | (byte & 0x3FU);
    }
    if (code_point < form.smallest || code_point > 0x10FFFF || is_surrogate(code_point)) {
      return false;
    }
  }
  return true;
}

}  // namespace kavo
