#include "tools/services.h"

#include <sstream>

#include "base/file.h"
#include "base/root.h"
#include "conf/conf.h"

namespace kavo {
namespace {

constexpr size_t kMaxFileSize = size_t{1} << 20;

}  // namespace

std::optional<ServiceUnits> read_services() {
  const auto text = read_file(rooted("/etc/kavo/services.conf"), kMaxFileSize);
  if (!text) return std::nullopt;
  ServiceUnits services;
  for (const auto& [key, units] : parse_conf(*text)) {
    std::istringstream words(units);
    std::vector<std::string>& list = services[key];
    for (std::string unit; words >> unit;) list.push_back(unit);
  }
  return services;
}

}  // namespace kavo
