#include <pwd.h>
#include <unistd.h>

#include <iostream>

#include "store/session_store.h"
#include "tools/kavo/commands.h"

namespace kavo {

int print_sign_in_link(const std::optional<std::string>& user, std::string url) {
  const passwd* account = user ? getpwnam(user->c_str()) : getpwuid(getuid());
  if (account == nullptr) {
    throw UsageError(user ? "There is no account \"" + *user + "\"." : "The caller has no name.");
  }
  while (url.ends_with('/')) {
    url.pop_back();
  }
  std::cout << url << "/#sign-in=" << SessionStore::make_link(account->pw_name) << '\n';
  return 0;
}

}  // namespace kavo
