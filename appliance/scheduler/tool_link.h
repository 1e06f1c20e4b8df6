// The link by which commands of tasks find the appliance's tool.
#pragma once

#include <string>

namespace kavo {

// Checks, for a command that names /tmp/kavoschedtool, that this leads where it should: it is a
// symbolic link of root's to /usr/kavo/bin/kavoschedtool, in a folder of root's in which nobody
// else can replace it. Throws std::runtime_error with the reason, for people. Other commands pass.
void check_tool_link(const std::string& command, const std::string& folder = "/tmp");

}  // namespace kavo
