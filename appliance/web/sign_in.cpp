#include "web/sign_in.h"

#include <sys/stat.h>

#include "base/root.h"
#include "store/session_store.h"
#include "web/audit.h"
#include "web/http_message.h"

namespace kavo {
namespace {

std::string sign_in_by_link(const std::string& link, const std::string& address) {
  const auto user = SessionStore::use_link(link);
  write_audit_line(user.value_or(""), address, "sign-in-by-link", "", user ? "ok" : "refused");
  if (!user) throw Refused(401, "The link is not valid any more.");
  return *user;
}

}  // namespace

bool has_password_sign_in() {
  struct stat status = {};
  return stat(rooted("/etc/pam.d/kavo-webd").c_str(), &status) == 0;
}

std::string sign_in(const Json::Value& parameters, const std::string& address) {
  if (parameters["link"].isString()) {
    return sign_in_by_link(parameters["link"].asString(), address);
  }
  throw Refused(400, "A link is needed.");
}

}  // namespace kavo
