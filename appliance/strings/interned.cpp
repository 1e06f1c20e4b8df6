#include "strings/interned.h"

#include <mutex>
#include <string>
#include <unordered_set>

namespace kavo {
namespace {

class TextPool {
 public:
  // A text of the same bytes that stays where it is. `text` must hold no zero byte.
  Json::StaticString intern(const std::string& text) {
    const std::lock_guard lock(mutex_);
    return Json::StaticString(texts_.insert(text).first->c_str());
  }

 private:
  std::mutex mutex_;
  std::unordered_set<std::string> texts_;  // its nodes do not move
};

TextPool& text_pool() {
  // Never destroyed: values that share its texts may live until the very end of the process.
  static auto* const pool = new TextPool;
  return *pool;
}

// A static text ends at its first zero byte.
bool can_be_static(const std::string& text) {
  return text.find('\0') == std::string::npos;
}

Json::Value interned(const Json::Value& value) {
  if (!value.isString()) return value;
  const std::string text = value.asString();
  return can_be_static(text) ? Json::Value(text_pool().intern(text)) : value;
}

// `object` with interned names, and each member's value as `convert` returns it.
template <typename Convert>
Json::Value with_interned_names(const Json::Value& object, Convert convert) {
  Json::Value result(Json::objectValue);
  for (auto member = object.begin(); member != object.end(); ++member) {
    const std::string name = member.name();
    Json::Value& target = can_be_static(name) ? result[text_pool().intern(name)] : result[name];
    target = convert(*member);
  }
  return result;
}

}  // namespace

Json::Value with_interned_texts(const Json::Value& value) {
  if (!value.isObject()) return value;
  return with_interned_names(value, [](const Json::Value& section) {
    return section.isObject() ? with_interned_names(section, interned) : section;
  });
}

}  // namespace kavo
