#include "store/settings.h"

#include <kavoconf.h>

#include <charconv>

namespace kavo {

int setting(const std::string& key, int fallback, int least, int most) {
  const std::string text = KavoConf::Def(key, "");
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  return whole && value >= least && value <= most ? value : fallback;
}

}  // namespace kavo
