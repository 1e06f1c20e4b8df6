// kavo-check-password USER ADDRESS, with the password on standard input: whether the user may sign
// in. The exit codes are those of PasswordCheck; standard error says why nothing could be checked.
//
// Root, and an account in the group "shadow", can have every account checked. Any other can have
// its own, and is told of all others that the password is wrong.

#include <grp.h>
#include <kavoconf.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/root.h"
#include "web/check_password.h"

namespace {

using kavo::PasswordCheck;

constexpr char kService[] = "kavo-webd";

// The password, wiped when it is no longer needed.
class Password {
 public:
  Password() = default;
  Password(const Password&) = delete;
  Password& operator=(const Password&) = delete;
  ~Password() { explicit_bzero(text_.data(), text_.size()); }

  // Reads all of standard input. False when that cannot be a password.
  bool read_input() {
    std::size_t size = 0;
    for (ssize_t got = 1; got != 0 && size < text_.size() - 1;) {
      got = read(STDIN_FILENO, text_.data() + size, text_.size() - 1 - size);
      if (got < 0 && errno != EINTR) {
        return false;
      }
      size += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    return size > 0 && size <= kavo::kMaxPasswordBytes && strlen(text_.data()) == size;
  }

  const char* text() const { return text_.data(); }

 private:
  std::array<char, kavo::kMaxPasswordBytes + 2> text_ = {};  // one more, and the zero at the end
};

// Answers the questions of the system's modules: the one for the password, and no other.
int answer(int count, const pam_message** questions, pam_response** answers, void* password) {
  auto* replies = static_cast<pam_response*>(
      calloc(static_cast<std::size_t>(std::max(count, 1)), sizeof(pam_response)));
  if (replies == nullptr) {
    return PAM_BUF_ERR;
  }
  for (int i = 0; i < count; ++i) {
    const int style = questions[i]->msg_style;
    if (style == PAM_PROMPT_ECHO_OFF) {
      replies[i].resp = strdup(static_cast<const Password*>(password)->text());
    } else if (style != PAM_TEXT_INFO && style != PAM_ERROR_MSG) {
      for (int j = 0; j < i; ++j) {
        if (replies[j].resp != nullptr) {
          explicit_bzero(replies[j].resp, strlen(replies[j].resp));
        }
        free(replies[j].resp);
      }
      free(replies);
      return PAM_CONV_ERR;
    }
  }
  *answers = replies;  // the caller's now, who wipes them
  return PAM_SUCCESS;
}

// A conversation with the system about one user.
class Authentication {
 public:
  Authentication(const char* user, const char* address, Password& password)
      : conversation_{answer, &password} {
    // An appliance in a folder of its own has its own service file.
    const std::string folder = kavo::rooted("/etc/pam.d");
    result_ = kavo::rooted("").empty()
                  ? pam_start(kService, user, &conversation_, &handle_)
                  : pam_start_confdir(kService, user, &conversation_, folder.c_str(), &handle_);
    if (result_ == PAM_SUCCESS) {
      result_ = pam_set_item(handle_, PAM_RHOST, address);
    }
  }
  Authentication(const Authentication&) = delete;
  Authentication& operator=(const Authentication&) = delete;
  ~Authentication() {
    if (handle_ != nullptr) {
      pam_end(handle_, result_);
    }
  }

  // PAM_SUCCESS when the password is right and the account may sign in.
  int check() {
    if (result_ == PAM_SUCCESS) {
      result_ = pam_authenticate(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    }
    if (result_ == PAM_SUCCESS) {
      result_ = pam_acct_mgmt(handle_, PAM_SILENT | PAM_DISALLOW_NULL_AUTHTOK);
    }
    return result_;
  }

  // The user whose password it was: modules may have put another in place of the one asked about.
  std::string user() const {
    const void* name = nullptr;
    return pam_get_item(handle_, PAM_USER, &name) == PAM_SUCCESS && name != nullptr
               ? static_cast<const char*>(name)
               : "";
  }

 private:
  pam_conv conversation_;
  pam_handle_t* handle_ = nullptr;
  int result_ = PAM_ABORT;
};

bool is_refusal(int result) {
  constexpr std::array kRefusals = {PAM_AUTH_ERR,     PAM_USER_UNKNOWN,      PAM_MAXTRIES,
                                    PAM_PERM_DENIED,  PAM_CRED_INSUFFICIENT, PAM_ACCT_EXPIRED,
                                    PAM_CRED_EXPIRED, PAM_NEW_AUTHTOK_REQD,  PAM_AUTHTOK_EXPIRED};
  return std::find(kRefusals.begin(), kRefusals.end(), result) != kRefusals.end();
}

bool is_administrator(const std::string& user) {
  const passwd* account = getpwnam(user.c_str());
  if (account == nullptr) {
    return false;
  }
  if (account->pw_uid == 0) {
    return true;
  }
  const gid_t own_group = account->pw_gid;
  const group* administrators = getgrnam(KavoConf::Def("adminGroup", "sudo").c_str());
  if (administrators == nullptr) {
    return false;
  }
  const gid_t wanted = administrators->gr_gid;
  int count = 64;
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  while (getgrouplist(user.c_str(), own_group, groups.data(), &count) < 0) {
    groups.resize(std::max(static_cast<std::size_t>(count), 2 * groups.size()));
    count = static_cast<int>(groups.size());
  }
  return std::find(groups.begin(), groups.begin() + count, wanted) != groups.begin() + count;
}

PasswordCheck cannot_check(const std::string& why) {
  (void)fprintf(stderr, "The password cannot be checked: %s\n", why.c_str());
  return PasswordCheck::kCannotCheck;
}

PasswordCheck check(const char* user, const char* address) {
  if (!kavo::can_check_passwords()) {
    return cannot_check(std::string("there is no service file ") + kService + " in " +
                        kavo::rooted("/etc/pam.d") + ".");
  }
  Password password;
  if (!password.read_input()) {
    return PasswordCheck::kWrong;
  }
  Authentication authentication(user, address, password);
  const int result = authentication.check();
  if (is_refusal(result)) {
    return PasswordCheck::kWrong;
  }
  if (result != PAM_SUCCESS) {
    return cannot_check(pam_strerror(nullptr, result));
  }
  if (authentication.user() != user) {
    return cannot_check("the system takes the account for another one.");
  }
  return is_administrator(user) ? PasswordCheck::kMaySignIn : PasswordCheck::kNotAdministrator;
}

}  // namespace

int main(int argc, char** argv) {
  prctl(PR_SET_DUMPABLE, 0);  // no core file with a password in it
  if (argc != 3) {
    (void)fprintf(stderr,
                  "Use: kavo-check-password USER ADDRESS, the password on standard input\n");
    return static_cast<int>(PasswordCheck::kCannotCheck);
  }
  return static_cast<int>(check(argv[1], argv[2]));
}
