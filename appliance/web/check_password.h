// Checking an administrator's password, in a process of its own: what the system's modules for that
// do to a process, and how long they take, is no matter of the server's.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace kavo {

// The exit codes of kavo-check-password as well.
enum class PasswordCheck {
  kMaySignIn = 0,
  kWrong = 1,             // the password, or the account may not sign in at all
  kNotAdministrator = 2,  // the password is right
  kCannotCheck = 3,
};

// Whether passwords can be checked: the service file "/etc/pam.d/kavo-webd" is there. Without it
// the system would go by its file for other services, which may let anybody in.
bool can_check_passwords();

// Whether `user`, who asks from `address`, may sign in with this password: root, and the members of
// the group "adminGroup" of the configuration (default "sudo"). Runs
// "/usr/kavo/lib/kavo-check-password" and ends it when `limit` is over. With kCannotCheck, `why` is
// for the log. Any thread.
PasswordCheck check_password(const std::string& user, const std::string& address,
                             std::string_view password, std::chrono::milliseconds limit,
                             std::string& why);

// Longer passwords are wrong.
inline constexpr std::size_t kMaxPasswordBytes = 512;

}  // namespace kavo
