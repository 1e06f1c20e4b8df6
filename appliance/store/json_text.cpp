#include "store/json_text.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

#include "store/failure.h"
#include "store/json_depth.h"

namespace kavo {

std::string compact_text(const Json::Value& value) {
  static const Json::StreamWriterBuilder builder = [] {
    Json::StreamWriterBuilder settings;
    settings["indentation"] = "";
    settings["emitUTF8"] = true;
    return settings;
  }();
  return Json::writeString(builder, value);
}

Json::Value parse_text(const std::string& text) {
  static const Json::CharReaderBuilder builder;
  Json::Value value;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  if (json_depth(text) > kMaxJsonDepth ||
      !reader->parse(text.data(), text.data() + text.size(), &value, nullptr)) {
    throw StoreFailure(StoreError::kCorrupt, "A stored JSON text cannot be read.");
  }
  return value;
}

}  // namespace kavo
