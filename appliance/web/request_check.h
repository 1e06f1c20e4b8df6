// Checks of a request's head, before anything is done for it. All of them throw Refused.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "web/http_message.h"
#include "web/limits.h"

namespace kavo {

// Under which names the server is reached, and through whom.
struct Reached {
  std::vector<std::string> names;  // names beside those of the loopback, in lower case
  std::string proxy;               // the address of the reverse proxy that is believed, or empty
};

// Who asks, after what a believed proxy says of it.
struct Client {
  std::string address;
  bool secure = false;  // the way from the browser is encrypted
};
Client client_of(const HttpRequest& request, const Reached& reached);

// Sizes and framing; a request that fails here cannot be followed by another on its connection.
void check_framing(const HttpRequest& request, const Limits& limits);

// The Host is one of this server's, and so is the Origin if there is one.
void check_origin(const HttpRequest& request, const Reached& reached);

// The body is declared to be JSON.
void check_content_type(const HttpRequest& request);

// The path that a target stands for: absolute, percent-decoded, of clean UTF-8.
std::string decode_path(std::string_view target);

// The value of a session cookie that could be one: 64 hexadecimal digits.
std::optional<std::string> session_cookie(const HttpRequest& request);

// The language of a request among those that are installed: the one that it names, else the best of
// its Accept-Language, else en-US.
std::string language_of(const HttpRequest& request);
// The best for an Accept-Language header among `installed`; en-US when none fits.
std::string best_language(std::string_view accepted, const std::vector<std::string>& installed);

}  // namespace kavo
