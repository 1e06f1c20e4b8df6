#include "strings/languages.h"

#include "apis/methods.h"

namespace kavo {

Json::Value list_languages(const KAVO::APIRequest&) {
  Json::Value data;
  data["languages"] = Json::Value(Json::arrayValue);
  for (const Language& each : named_languages()) {
    Json::Value language;
    language["id"] = each.code;
    language["name"] = each.name;
    data["languages"].append(language);
  }
  return data;
}

}  // namespace kavo
