// What a path stands for.
#pragma once

#include <string>

namespace kavo {

struct Route {
  enum class Kind { kCall, kSession, kSignIn, kSignOut, kMethods, kDescription, kHealth, kFile };

  Kind kind = Kind::kFile;
  std::string api;  // of a call
  int version = 0;
  std::string method;
};

// The route of a request: its method, and its path after decode_path(). Throws Refused: 404 for a
// path below /webapi/ that stands for nothing, 405 for a method that the path does not take.
Route route_of(const std::string& http_method, const std::string& path);

}  // namespace kavo
