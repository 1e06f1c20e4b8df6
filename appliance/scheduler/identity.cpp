#include "scheduler/identity.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace kavo {
namespace {

std::vector<gid_t> groups_of(const passwd& account) {
  std::vector<gid_t> groups(32);
  int count = static_cast<int>(groups.size());
  while (getgrouplist(account.pw_name, account.pw_gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<std::size_t>(count));
  }
  groups.resize(static_cast<std::size_t>(count));
  return groups;
}

}  // namespace

Identity find_identity(const std::string& name) {
  std::vector<char> buffer(1024);
  passwd entry = {};
  passwd* found = nullptr;
  int error = 0;
  while ((error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found)) ==
         ERANGE) {
    buffer.resize(buffer.size() * 2);
  }
  if (found == nullptr) {
    throw std::runtime_error(error == 0 ? "The owner \"" + name + "\" does not exist."
                                        : "The owner \"" + name +
                                              "\" cannot be looked up: " + strerror(error));
  }
  if (geteuid() != 0 && entry.pw_uid != geteuid()) {
    throw std::runtime_error("A task of \"" + name + "\" can only be run by root.");
  }
  const std::string shell = entry.pw_shell;
  return {name,         entry.pw_uid,
          entry.pw_gid, geteuid() == 0 ? groups_of(entry) : std::vector<gid_t>(),
          entry.pw_dir, shell.empty() ? "/bin/sh" : shell};
}

bool take_on(const Identity& identity) {
  return geteuid() != 0 || (setgroups(identity.groups.size(), identity.groups.data()) == 0 &&
                            setresgid(identity.group, identity.group, identity.group) == 0 &&
                            setresuid(identity.user, identity.user, identity.user) == 0);
}

}  // namespace kavo
