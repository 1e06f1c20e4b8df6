// Reading of JSON that people and other programs write for the appliance.
#pragma once

#include <json/json.h>

#include <memory>
#include <optional>
#include <string>

namespace kavo {

// The value of a text that is wholly one JSON value: no comments, no repeated keys, nothing after
// it, and not nested beyond the library's limit. Otherwise nothing, with the reason in `error`
// where that is given.
inline std::optional<Json::Value> parse_strict_json(const std::string& text,
                                                    std::string* error = nullptr) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string reason;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &value, &reason)) {
      return value;
    }
  } catch (const Json::Exception& exception) {
    reason = exception.what();
  }
  if (error != nullptr) {
    *error = reason;
  }
  return std::nullopt;
}

}  // namespace kavo
