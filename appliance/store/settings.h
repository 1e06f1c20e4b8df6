// Numbers of the appliance's configuration.
#pragma once

#include <string>

namespace kavo {

// The value of a key, or `fallback` when it is absent or no whole number from `least` to `most`. A
// value that is not taken is told to the system's log, once.
int setting(const std::string& key, int fallback, int least, int most);

}  // namespace kavo
