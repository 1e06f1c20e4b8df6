#include "json_text.h"

#include <json/reader.h>
#include <json/writer.h>

// The stored form is that of these two classes; the library's newer ones write and read another.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

std::string CompactText(const Json::Value& value) {
  return Json::FastWriter().write(value);
}

Json::Value ParseText(const std::string& text) {
  Json::Value value;
  Json::Reader().parse(text, value, true);
  return value;
}
