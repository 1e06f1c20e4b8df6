#include "shares/shares.h"

#include <stdexcept>

#include "apis/methods.h"

namespace kavo {

Json::Value list_shares(const KAVO::APIRequest&) {
  std::string why;
  const auto shares = read_shares(&why);
  if (!shares) {
    throw std::runtime_error("The shared folders cannot be read: " + why + ".");
  }
  Json::Value data;
  data["shares"] = Json::Value(Json::arrayValue);
  for (const Share& each : *shares) {
    Json::Value share;
    share["name"] = each.name;
    share["path"] = each.path;
    share["recycle_bin"] = each.recycle_bin;
    data["shares"].append(share);
  }
  return data;
}

}  // namespace kavo
