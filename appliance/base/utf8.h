// Checks of text that comes from outside.
#pragma once

#include <string_view>

namespace kavo {

// True when `text` is UTF-8 (no overlong form, no surrogate, nothing beyond U+10FFFF) and holds no
// zero byte. The empty text is clean.
bool is_clean_text(std::string_view text);

}  // namespace kavo
