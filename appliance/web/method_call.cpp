#include "web/method_call.h"

#include "base/strict_json.h"
#include "base/utf8.h"
#include "store/json_depth.h"

namespace kavo {

Json::Value read_parameters(const std::string& body, std::size_t depth) {
  // Before the JSON library sees it, which goes down as deep as the text leads it.
  if (json_depth(body) > depth) {
    throw Refused(400, "The body is nested too deeply.");
  }
  if (!is_clean_text(body)) {
    throw Refused(400, "The body is not UTF-8.");
  }
  const auto parameters = parse_strict_json(body);
  if (!parameters || !parameters->isObject()) {
    throw Refused(400, "The body is not a JSON object.");
  }
  return *parameters;
}

Json::Value call_method(const KAVO::APIMethod& method, const Json::Value& parameters,
                        const std::string& language, unsigned list_results) {
  JsonRequest request(parameters, language);
  JsonResponse response;
  call(method, request, response);
  const Json::Value& data = response.envelope()["data"];
  for (const Json::Value& member : data) {
    if (member.isArray() && member.size() > list_results) {
      throw Refused(413,
                    "The list is too long for one answer: ask for parts of it with offset "
                    "and limit.");
    }
  }
  return response.envelope();
}

}  // namespace kavo
