// JSON as the store keeps it: compact text.
#pragma once

#include <json/value.h>

#include <string>

namespace kavo {

// The value on one line, members in byte order, texts as UTF-8, no line feed at the end.
std::string compact_text(const Json::Value& value);

// The value of a stored text, which was valid and not too deeply nested when it was stored. Throws
// StoreFailure (kCorrupt) when it is not now.
Json::Value parse_text(const std::string& text);

}  // namespace kavo
