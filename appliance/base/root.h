// Where the appliance's own files lie.
#pragma once

#include <string>

namespace kavo {

// The place of one of the appliance's own files: `absolute_path` itself, or with the value of the
// environment variable KAVO_ROOT put before it when that is set. The variable is read at each call,
// and not at all in a program that runs with raised privileges (set-user-id or the like). Safe on
// any thread as long as none changes the environment meanwhile.
std::string rooted(const std::string& absolute_path);

}  // namespace kavo
