#include "web/request.h"

#include <charconv>
#include <utility>

namespace kavo {
namespace {

std::optional<int> as_int(const Json::Value& value) {
  if (value.isString()) {
    const std::string text = value.asString();
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole ? std::optional(number) : std::nullopt;
  }
  // isInt() also accepts a real number without a fraction.
  const bool integer = value.type() == Json::intValue || value.type() == Json::uintValue;
  return integer && value.isInt() ? std::optional(value.asInt()) : std::nullopt;
}

std::optional<std::string> as_text(const Json::Value& value) {
  return value.isString() ? std::optional(value.asString()) : std::nullopt;
}

template <typename T, typename Validator>
KAVO::APIParameter<T> parameter(const Json::Value* value,
                                KAVO::APIRequest::PARAM_NECESSITY necessity, Validator validator,
                                std::optional<T> (*read)(const Json::Value&)) {
  using Parameter = KAVO::APIParameter<T>;
  if (value == nullptr) {
    return Parameter::Absent(necessity == KAVO::APIRequest::PARAM_REQUIRED);
  }
  std::optional<T> readable = read(*value);
  if (!readable || (validator != nullptr && !validator(*readable))) {
    return Parameter::Unreadable();
  }
  return Parameter::Of(std::move(*readable));
}

// A parameter of the request, or null when it has none of this name.
const Json::Value* find(const Json::Value& parameters, const std::string& name) {
  return parameters.isObject() ? parameters.find(name.data(), name.data() + name.size()) : nullptr;
}

}  // namespace

JsonRequest::JsonRequest(Json::Value parameters, std::string language)
    : parameters_(std::move(parameters)), language_(std::move(language)) {}

std::string JsonRequest::GetUILanguage() const {
  return language_;
}

KAVO::APIParameter<int> JsonRequest::GetAndCheckInt(const std::string& name,
                                                    PARAM_NECESSITY necessity,
                                                    bool (*validator)(int)) const {
  return parameter<int>(find(parameters_, name), necessity, validator, as_int);
}

KAVO::APIParameter<std::string> JsonRequest::GetAndCheckString(
    const std::string& name, PARAM_NECESSITY necessity,
    bool (*validator)(const std::string&)) const {
  return parameter<std::string>(find(parameters_, name), necessity, validator, as_text);
}

Json::Value JsonRequest::GetParam(const std::string& name, const Json::Value& fallback) const {
  if (name.empty()) {
    return parameters_;
  }
  const Json::Value* value = find(parameters_, name);
  return value == nullptr ? fallback : *value;
}

void JsonResponse::SetSuccess(const Json::Value& data) {
  answer(true, "data", data);
}

void JsonResponse::SetError(int code, const Json::Value& data) {
  Json::Value error;
  error["code"] = code;
  error["data"] = data;
  answer(false, "error", error);
}

void JsonResponse::answer(bool success, const char* name, const Json::Value& value) {
  if (++answers_ > 1) {
    return;
  }
  success_ = success;
  envelope_["success"] = success;
  envelope_[name] = value;
}

}  // namespace kavo
