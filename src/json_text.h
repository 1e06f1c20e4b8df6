// An app's settings as text: how they are kept in the task store and read back.
#pragma once

#include <json/value.h>

#include <string>

// The value as compact text: members in byte order, a line feed at the end.
std::string CompactText(const Json::Value& value);

// The value of a text. What cannot be read is not an error here: the answer is what the reader made
// of it, null for an empty or unreadable text.
Json::Value ParseText(const std::string& text);
