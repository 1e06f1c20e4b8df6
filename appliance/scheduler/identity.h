// The account that a task runs as.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace kavo {

struct Identity {
  std::string name;
  uid_t user = 0;
  gid_t group = 0;
  std::vector<gid_t> groups;  // with the supplementary ones; only looked up by root
  std::string home;
  std::string shell;
};

// The account `name`. Throws std::runtime_error with the reason, for people, when there is no such
// account, or when this process is not root and the account is not its own.
Identity find_identity(const std::string& name);

// Takes on the identity with its supplementary groups, for good. False, with errno set, when the
// system refuses; the process must then not go on. Does nothing in a process that is not root. Only
// makes calls of the system.
bool take_on(const Identity& identity);

}  // namespace kavo
