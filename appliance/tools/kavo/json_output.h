// JSON for programs.
#pragma once

#include <json/value.h>
#include <json/writer.h>

#include <iostream>

namespace kavo {

// Writes a value to standard output, indented, texts as UTF-8.
inline void print_json(const Json::Value& value) {
  Json::StreamWriterBuilder settings;
  settings["indentation"] = "  ";
  settings["emitUTF8"] = true;
  settings["enableYAMLCompatibility"] = true;  // no blank before a colon
  std::cout << Json::writeString(settings, value) << '\n';
}

}  // namespace kavo
