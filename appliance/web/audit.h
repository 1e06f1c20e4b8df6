// One line in the system log for each call that changes something, and for each sign-in.
#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

namespace kavo {

// `method` is "api/version/method", or "sign-in" and the like; `tasks` is of named_tasks(), or
// empty.
void write_audit_line(const std::string& user, const std::string& address,
                      const std::string& method, const std::string& tasks,
                      const std::string& outcome);

// False for methods that are known to change nothing.
bool is_audited(std::string_view method);

// The tasks that a call names, or has made: numbers separated by commas.
std::string named_tasks(const Json::Value& parameters, const Json::Value& envelope);

// "ok" or "error N".
std::string outcome_of(const Json::Value& envelope);

}  // namespace kavo
