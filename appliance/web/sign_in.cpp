#include "web/sign_in.h"

#include <syslog.h>

#include <chrono>

#include "store/session_store.h"
#include "web/audit.h"
#include "web/check_password.h"
#include "web/http_message.h"

namespace kavo {
namespace {

// The system itself takes a second or two to say no.
constexpr std::chrono::seconds kCheckTime{20};
constexpr std::size_t kMaxName = 256;

[[noreturn]] void refuse(const std::string& user, const std::string& address, Refused refused) {
  write_audit_line(user, address, "sign-in", "", "refused");
  throw std::move(refused);
}

std::string sign_in_by_link(const std::string& link, const std::string& address) {
  const auto user = SessionStore::use_link(link);
  if (!user) refuse("", address, Refused(401, "The link is not valid any more."));
  return *user;
}

std::string sign_in_by_password(const std::string& user, const std::string& password,
                                const std::string& address) {
  if (!can_check_passwords()) {
    syslog(LOG_WARNING, "Passwords are not checked: /etc/pam.d/kavo-webd is missing");
    refuse(user, address,
           Refused(503,
                   "Signing in by password is switched off on this appliance: use a link of "
                   "\"kavo sign-in-link\"."));
  }
  if (user.empty() || user.size() > kMaxName || user.find('\0') != std::string::npos) {
    refuse(user, address, Refused(401, "The name or the password is wrong."));
  }
  if (const int seconds = SessionStore::wait_before_sign_in(user, address); seconds > 0) {
    refuse(user, address,
           Refused(429, "There were too many failed tries. Try again later.",
                   {{"Retry-After", std::to_string(seconds)}}));
  }
  std::string why;
  switch (check_password(user, address, password, kCheckTime, why)) {
    case PasswordCheck::kMaySignIn:
      SessionStore::sign_in_succeeded(user, address);
      return user;
    case PasswordCheck::kWrong:
      refuse(user, address, Refused(401, "The name or the password is wrong."));
    case PasswordCheck::kNotAdministrator:
      refuse(user, address, Refused(403, "This account may not administer the appliance."));
    case PasswordCheck::kCannotCheck:
      break;
  }
  syslog(LOG_ERR, "A password cannot be checked: %s", why.c_str());
  refuse(user, address, Refused(503, "Passwords cannot be checked now; the system log says why."));
}

}  // namespace

std::string sign_in(const Json::Value& parameters, const std::string& address) {
  const Json::Value& link = parameters["link"];
  const Json::Value& user = parameters["user"];
  const Json::Value& password = parameters["password"];
  std::string name;
  if (link.isString()) {
    name = sign_in_by_link(link.asString(), address);
  } else if (user.isString() && password.isString()) {
    name = sign_in_by_password(user.asString(), password.asString(), address);
  } else {
    throw Refused(400, "To sign in takes a user and a password, or a link.");
  }
  write_audit_line(name, address, "sign-in", "", "ok");
  return name;
}

}  // namespace kavo
