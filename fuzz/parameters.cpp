// The JSON body of a request, as the parameters of a method.
#include <algorithm>

#include "base/strict_json.h"
#include "base/utf8.h"
#include "fuzz/fuzz.h"
#include "store/json_depth.h"
#include "store/json_text.h"
#include "web/request.h"

namespace {

std::size_t depth_of(const Json::Value& value) {
  std::size_t depth = 0;
  for (const Json::Value& member : value) {
    depth = std::max(depth, depth_of(member));
  }
  return value.isArray() || value.isObject() ? depth + 1 : 0;
}

template <typename Parameter>
void check_states(const Parameter& required, const Parameter& optional, bool sent) {
  require(required.IsSet() == sent && optional.IsSet() == sent, "what was sent is set");
  require(required.IsInvalid() == (!sent || optional.IsInvalid()),
          "only a missing parameter tells required from optional");
}

void check_parameter(const kavo::JsonRequest& request, const std::string& name) {
  const Json::Value missing("missing");
  const Json::Value value = request.GetParam(name, missing);
  const bool sent = request.GetParam("", {}).isMember(name);
  using KAVO::APIRequest;
  const auto number = request.GetAndCheckInt(name, APIRequest::PARAM_OPTIONAL, nullptr);
  check_states(request.GetAndCheckInt(name, APIRequest::PARAM_REQUIRED, nullptr), number, sent);
  const auto text = request.GetAndCheckString(name, APIRequest::PARAM_OPTIONAL, nullptr);
  check_states(request.GetAndCheckString(name, APIRequest::PARAM_REQUIRED, nullptr), text, sent);
  require(sent || value == missing, "a missing parameter is its default");
  if (sent && !text.IsInvalid()) {
    require(value == text.Get(), "a text is what was sent");
  }
  if (sent && !number.IsInvalid()) {
    require(value.isString() || value == number.Get(), "a number is what was sent");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = text_of(data, size);
  const auto body = kavo::parse_strict_json(text);
  if (!body) {
    return 0;
  }
  require(depth_of(*body) <= kavo::json_depth(text), "the depth that is counted is not too small");
  const std::string printed = kavo::compact_text(*body);
  if (kavo::is_clean_text(printed)) {
    const auto again = kavo::parse_strict_json(printed);
    require(again && kavo::compact_text(*again) == printed, "a printed value reads back as it was");
  }
  if (!body->isObject()) {
    return 0;
  }
  const kavo::JsonRequest request(*body, "en-US");
  require(request.GetParam("", {}) == *body, "all parameters are those of the body");
  for (const std::string& name : body->getMemberNames()) {
    if (!name.empty()) {
      check_parameter(request, name);
    }
  }
  check_parameter(request, "not sent");
  return 0;
}
