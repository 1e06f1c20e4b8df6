#include "web/audit.h"

#include <syslog.h>

#include <algorithm>
#include <array>

namespace kavo {
namespace {

constexpr std::size_t kMaxField = 256;
constexpr int kMaxTasks = 50;

// A value that ends where it seems to end, and stays on its line.
std::string field(const std::string& text) {
  std::string clean = text.substr(0, kMaxField);
  std::replace_if(
      clean.begin(), clean.end(),
      [](char c) { return c <= ' ' || c >= 0x7f || c == '"' || c == '\'' || c == '='; }, '?');
  return clean.empty() ? "-" : clean;
}

class TaskNumbers {
 public:
  void add(const Json::Value& id) {
    if (!id.isIntegral() && !id.isString()) return;
    if (++count_ > kMaxTasks) return;
    text_ += (text_.empty() ? "" : ",") + field(id.asString()).substr(0, 11);
  }
  void add_all(const Json::Value& ids) {
    if (!ids.isArray()) return add(ids);
    for (const Json::Value& id : ids) add(id);
  }
  std::string text() const {
    return count_ <= kMaxTasks ? text_
                               : text_ + ",and-" + std::to_string(count_ - kMaxTasks) + "-more";
  }

 private:
  std::string text_;
  int count_ = 0;
};

const Json::Value& member(const Json::Value& object, const char* name) {
  static const Json::Value none;
  return object.isObject() && object.isMember(name) ? object[name] : none;
}

}  // namespace

void write_audit_line(const std::string& user, const std::string& address,
                      const std::string& method, const std::string& tasks,
                      const std::string& outcome) {
  syslog(LOG_AUTHPRIV | LOG_INFO, "audit user=%s from=%s method=%s tasks=%s outcome=%s",
         field(user).c_str(), field(address).c_str(), field(method).c_str(),
         tasks.empty() ? "-" : tasks.c_str(), outcome.c_str());
}

bool is_audited(std::string_view method) {
  constexpr std::array<std::string_view, 6> kReading = {"list",   "get",     "last",
                                                        "output", "preview", "timezones"};
  return std::find(kReading.begin(), kReading.end(), method) == kReading.end();
}

std::string named_tasks(const Json::Value& parameters, const Json::Value& envelope) {
  TaskNumbers numbers;
  const Json::Value& made = member(member(envelope, "data"), "id");
  numbers.add_all(made.isNull() ? member(parameters, "id") : made);
  numbers.add_all(member(parameters, "task"));
  const Json::Value& states = member(parameters, "status");
  for (Json::ArrayIndex i = 0; states.isArray() && i < states.size(); ++i) {
    numbers.add(member(states[i], "id"));
  }
  return numbers.text();
}

std::string outcome_of(const Json::Value& envelope) {
  if (member(envelope, "success") == Json::Value(true)) return "ok";
  const Json::Value& code = member(member(envelope, "error"), "code");
  return "error " + (code.isInt() ? std::to_string(code.asInt()) : std::string("?"));
}

}  // namespace kavo
