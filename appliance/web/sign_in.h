// Opening sessions.
#pragma once

#include <json/value.h>

#include <string>

namespace kavo {

// The user who may sign in by what the parameters hold: "link", or "user" and "password". Throws
// Refused: 400, 401, 403, 429 with Retry-After, 503 when passwords cannot be checked.
std::string sign_in(const Json::Value& parameters, const std::string& address);

}  // namespace kavo
