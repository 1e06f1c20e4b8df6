// The appliance's configuration reader.
#pragma once

#include <string>

#pragma GCC visibility push(default)

class KavoConf {
 public:
  // The value of `key` in the appliance configuration ("/etc/kavo/kavo.conf", lines of
  // key="value"), or `fallback` when the key is absent or the file cannot be read. The last line of
  // a key that stands twice wins. The file is read at every call; safe on any thread.
  static std::string Def(const std::string& key, const std::string& fallback);
};

#pragma GCC visibility pop
