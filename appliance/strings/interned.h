// Texts that are kept once for the life of the process.
#pragma once

#include <json/value.h>

namespace kavo {

// A copy of `value` in which the names of sections (the members of an object), the names of their
// keys, and their texts are interned: copies of the result share them, so that copying costs no
// allocation for a text. Everything else, and a text with a zero byte in it, is copied as it is.
//
// Interned texts are never released. Each different text is held once, however many values hold
// it. Safe on any thread.
Json::Value with_interned_texts(const Json::Value& value);

}  // namespace kavo
