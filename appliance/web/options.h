// The server's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "web/http_server.h"
#include "web/request_check.h"

namespace kavo {

// A command line that is not followed. The message is for people.
class WrongUse : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Options {
  std::vector<std::string> addresses = {"127.0.0.1", "::1"};
  int port = 5050;
  Reached reached;
  std::optional<Encryption> encryption;
  bool print_link = false;
  bool verbose = false;
};

// Nothing when help was asked for, and given. Throws WrongUse: beyond the loopback, only with a
// certificate or behind a proxy.
std::optional<Options> parse_options(int argc, char** argv);

}  // namespace kavo
