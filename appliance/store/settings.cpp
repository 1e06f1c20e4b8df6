#include "store/settings.h"

#include <kavoconf.h>
#include <syslog.h>

#include <charconv>
#include <mutex>
#include <set>

namespace kavo {
namespace {

void tell_once(const std::string& key, const std::string& text, int fallback, int least, int most) {
  static std::mutex mutex;
  static std::set<std::string> told;
  const std::lock_guard lock(mutex);
  if (told.insert(key + "=" + text).second) {
    syslog(LOG_WARNING, "%s=\"%s\" in the configuration is no number from %d to %d; it is %d",
           key.c_str(), text.c_str(), least, most, fallback);
  }
}

}  // namespace

int setting(const std::string& key, int fallback, int least, int most) {
  const std::string text = KavoConf::Def(key, "");
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool whole = error == std::errc() && end == text.data() + text.size();
  if (whole && value >= least && value <= most) {
    return value;
  }
  if (!text.empty()) {
    tell_once(key, text, fallback, least, most);
  }
  return fallback;
}

}  // namespace kavo
