#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <string>

#include "apis/methods.h"
#include "apis/output_text.h"
#include "base/utf8.h"

namespace kavo {
namespace {

constexpr char kLoginDefinitions[] = "/etc/login.defs";

// The numbers of accounts that are people's.
struct UserRange {
  uid_t least = 1000;
  uid_t most = 60000;
};

UserRange user_range() {
  UserRange range;
  std::ifstream file(kLoginDefinitions);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string key;
    uid_t number = 0;
    if (!(words >> key >> number)) {
      continue;
    }
    if (key == "UID_MIN") {
      range.least = number;
    } else if (key == "UID_MAX") {
      range.most = number;
    }
  }
  return range;
}

// The shells that the system lets people have.
std::set<std::string> usable_shells() {
  std::set<std::string> shells = {""};  // stands for /bin/sh
  setusershell();
  for (const char* shell = getusershell(); shell != nullptr; shell = getusershell()) {
    shells.insert(shell);
  }
  endusershell();
  return shells;
}

// The first part of the comment of an account.
std::string full_name(const passwd& account) {
  const std::string comment = account.pw_gecos == nullptr ? "" : account.pw_gecos;
  return text_of(comment.substr(0, comment.find(',')), std::numeric_limits<std::size_t>::max(),
                 true)
      .text;
}

}  // namespace

Json::Value list_accounts(const KAVO::APIRequest&) {
  static std::mutex enumeration;  // the system's own goes on where it stopped, for all threads
  const std::lock_guard lock(enumeration);
  const UserRange people = user_range();
  const std::set<std::string> shells = usable_shells();
  std::map<std::string, Json::Value> accounts;
  setpwent();
  for (const passwd* entry = getpwent(); entry != nullptr; entry = getpwent()) {
    const bool person = entry->pw_uid >= people.least && entry->pw_uid <= people.most &&
                        shells.contains(entry->pw_shell);
    if ((entry->pw_uid == 0 || person) && is_clean_text(entry->pw_name)) {
      Json::Value& account = accounts[entry->pw_name];
      account["name"] = entry->pw_name;
      account["uid"] = entry->pw_uid;
      account["full_name"] = full_name(*entry);
    }
  }
  endpwent();
  Json::Value data;
  data["accounts"] = Json::Value(Json::arrayValue);
  for (const auto& [name, account] : accounts) {
    data["accounts"].append(account);
  }
  return data;
}

}  // namespace kavo
