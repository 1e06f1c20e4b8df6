#include "scheduler/identity.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace kavo {

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
  return {name, entry.pw_uid, entry.pw_gid, entry.pw_dir, shell.empty() ? "/bin/sh" : shell};
}

bool take_on(const Identity& identity) {
  return geteuid() != 0 || (initgroups(identity.name.c_str(), identity.group) == 0 &&
                            setresgid(identity.group, identity.group, identity.group) == 0 &&
                            setresuid(identity.user, identity.user, identity.user) == 0);
}

}  // namespace kavo
