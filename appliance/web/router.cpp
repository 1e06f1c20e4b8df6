#include "web/router.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "web/http_message.h"

namespace kavo {
namespace {

constexpr std::string_view kApiFolder = "/webapi/";

struct FixedPath {
  std::string_view path;
  Route::Kind kind;
};
constexpr std::array kFixedPaths = {
    FixedPath{"/webapi/session", Route::Kind::kSession},
    FixedPath{"/webapi/sign-in", Route::Kind::kSignIn},
    FixedPath{"/webapi/sign-out", Route::Kind::kSignOut},
    FixedPath{"/webapi/methods", Route::Kind::kMethods},
    FixedPath{"/webapi/openapi.json", Route::Kind::kDescription},
    FixedPath{"/healthz", Route::Kind::kHealth},
};

Refused no_such_path() {
  return {404, "There is nothing under this path."};
}

// "api/version/method".
Route call_route(std::string_view rest) {
  Route route;
  route.kind = Route::Kind::kCall;
  const std::size_t first = rest.find('/');
  if (first == std::string_view::npos) throw no_such_path();
  const std::size_t second = rest.find('/', first + 1);
  if (second == std::string_view::npos) throw no_such_path();
  const std::string_view version = rest.substr(first + 1, second - first - 1);
  const auto [end, error] =
      std::from_chars(version.data(), version.data() + version.size(), route.version);
  if (error != std::errc() || std::to_string(route.version) != version || route.version < 1) {
    throw no_such_path();
  }
  route.api = rest.substr(0, first);
  route.method = rest.substr(second + 1);
  if (route.api.empty() || route.method.empty() || route.method.find('/') != std::string::npos) {
    throw no_such_path();
  }
  return route;
}

bool changes(Route::Kind kind) {
  return kind == Route::Kind::kCall || kind == Route::Kind::kSignIn ||
         kind == Route::Kind::kSignOut;
}

}  // namespace

Route route_of(const std::string& http_method, const std::string& path) {
  Route route;
  const auto fixed = std::find_if(kFixedPaths.begin(), kFixedPaths.end(),
                                  [&](const FixedPath& row) { return row.path == path; });
  if (fixed != kFixedPaths.end()) {
    route.kind = fixed->kind;
  } else if (path.starts_with(kApiFolder)) {
    route = call_route(std::string_view(path).substr(kApiFolder.size()));
  }
  const bool fits =
      changes(route.kind) ? http_method == "POST" : http_method == "GET" || http_method == "HEAD";
  if (!fits) {
    throw Refused(405, "The path does not take this method.",
                  {{"Allow", changes(route.kind) ? "POST" : "GET, HEAD"}});
  }
  return route;
}

}  // namespace kavo
