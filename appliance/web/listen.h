// Listening sockets.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

struct Listener {
  Descriptor socket;
  std::string host;  // as it stands in a URL: "127.0.0.1", "[::1]"
  int port = 0;
};

// A numeric address, "127.0.0.1" or "::1" with or without brackets, as the system writes it;
// nothing for anything else.
std::optional<std::string> canonical_address(const std::string& text);
bool is_loopback_address(const std::string& text);

// Sockets that listen on the addresses, all on one port: `port`, or any free one for 0. An address
// that this machine does not have is passed over, with a line in the log, unless it is the only
// one. Throws std::runtime_error, for people, when the port is taken or no socket can be had.
std::vector<Listener> listen_on(const std::vector<std::string>& addresses, int port);

}  // namespace kavo
