// kavo-check-password over the system's real modules, with service files of the test's own.
// CHECK_PASSWORD comes from the build.
#include <gmock/gmock.h>

#include <grp.h>
#include <pwd.h>

#include <tuple>

#include "temporary_folder.h"
#include "web/check_password.h"

namespace {

using kavo::PasswordCheck;
using testing::HasSubstr;
using namespace std::chrono_literals;

class CheckPasswordTest : public testing::Test {
 protected:
  CheckPasswordTest() {
    std::filesystem::create_directories(root_.path() / "usr/kavo/lib");
    std::filesystem::create_symlink(CHECK_PASSWORD, program());
  }

  std::filesystem::path program() const {
    return root_.path() / "usr/kavo/lib/kavo-check-password";
  }

  // A service in which a shell script has the password on its standard input, and says whether it
  // is right.
  void serve(const std::string& script, const std::string& account_module = "pam_permit.so") const {
    root_.write("script", "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(root_.path() / "script", std::filesystem::perms::owner_all);
    root_.write("etc/pam.d/kavo-webd",
                "auth [success=1 default=ignore] pam_exec.so quiet expose_authtok " +
                    (root_.path() / "script").string() +
                    "\nauth requisite pam_deny.so\nauth required pam_permit.so\n"
                    "account required " +
                    account_module + "\n");
  }

  PasswordCheck check(const std::string& user, const std::string& password,
                      std::chrono::milliseconds limit = 60s) {
    why_.clear();
    return kavo::check_password(user, "192.0.2.7", password, limit, why_);
  }

  const TemporaryRoot root_;
  std::string why_;
};

// The name of a group and of an account that is a member of it beside its own group.
std::optional<std::pair<std::string, std::string>> any_member() {
  std::optional<std::pair<std::string, std::string>> found;
  setgrent();
  for (const group* entry = getgrent(); entry != nullptr && !found; entry = getgrent()) {
    if (entry->gr_mem[0] != nullptr && getpwnam(entry->gr_mem[0]) != nullptr)
      found = {entry->gr_name, entry->gr_mem[0]};
  }
  endgrent();
  return found;
}

TEST_F(CheckPasswordTest, AdministratorsMaySignInWithTheirPasswordOnly) {
  serve(R"sh([ "$(tr -d '\0')" = 'open "sesame" 7' ] && [ "$PAM_RHOST" = 192.0.2.7 ])sh");
  const std::string right = "open \"sesame\" 7";
  for (const auto& [admin_group, user, password, expected] :
       {std::tuple("sudo", "root", right, PasswordCheck::kMaySignIn),
        std::tuple("no-such-group", "root", right, PasswordCheck::kMaySignIn),
        std::tuple("sudo", "root", right + "8", PasswordCheck::kWrong),
        std::tuple("sudo", "nobody", right, PasswordCheck::kNotAdministrator),
        std::tuple("no-such-group", "nobody", right, PasswordCheck::kNotAdministrator),
        std::tuple("nogroup", "nobody", right, PasswordCheck::kMaySignIn),
        std::tuple("nogroup", "nobody", right + "8", PasswordCheck::kWrong),
        std::tuple("nogroup", "no-such-user", right, PasswordCheck::kNotAdministrator),
        std::tuple("nogroup", "-nobody", right, PasswordCheck::kNotAdministrator)}) {
    root_.write("etc/kavo/kavo.conf", std::string("adminGroup=\"") + admin_group + "\"\n");
    EXPECT_EQ(check(user, password), expected) << admin_group << ' ' << user << ": " << why_;
  }
  if (const auto member = any_member()) {
    root_.write("etc/kavo/kavo.conf", "adminGroup=\"" + member->first + "\"\n");
    EXPECT_EQ(check(member->second, right), PasswordCheck::kMaySignIn) << member->second;
  }
  serve("exit 0", "pam_deny.so");  // the password is right, the account has expired
  EXPECT_EQ(check("root", right), PasswordCheck::kWrong);
}

TEST_F(CheckPasswordTest, WhatCanBeNoNameOrPasswordIsWrongWhateverTheSystemSays) {
  serve("exit 0");
  const std::string longest(kavo::kMaxPasswordBytes, 'x');
  EXPECT_EQ(check("root", longest), PasswordCheck::kMaySignIn);
  const std::string zero("a\0b", 3);
  for (const auto& [user, password] : {std::pair<std::string, std::string>("root", ""),
                                       {"root", longest + "x"},
                                       {"root", zero},
                                       {"", "x"},
                                       {"root" + zero, "x"},
                                       {"\xFF", "x"},
                                       {std::string(1 << 20, 'r'), "x"}}) {
    EXPECT_EQ(check(user, password), PasswordCheck::kWrong) << user.substr(0, 10);
  }
  // The program itself, which does not rely on who calls it.
  const std::string call = program().string() + " root x 2>/dev/null";
  EXPECT_EQ(std::system((": | " + call).c_str()) >> 8, 1);
  EXPECT_EQ(std::system(("head -c 100000 /dev/zero | tr '\\0' x | " + call).c_str()) >> 8, 1);
  EXPECT_EQ(std::system((call + " more </dev/null").c_str()) >> 8, 3);
}

TEST_F(CheckPasswordTest, WhatCannotBeCheckedSaysWhy) {
  EXPECT_FALSE(kavo::can_check_passwords());
  EXPECT_EQ(check("root", "x"), PasswordCheck::kCannotCheck);
  EXPECT_THAT(why_, HasSubstr("no service file kavo-webd"));

  root_.write("etc/pam.d/kavo-webd", "auth required pam_no_such_module.so\n");
  EXPECT_TRUE(kavo::can_check_passwords());
  EXPECT_EQ(check("root", "x"), PasswordCheck::kCannotCheck);
  EXPECT_THAT(why_, HasSubstr("cannot be checked: "));

  serve("while [ -d '" + root_.path().string() + "' ]; do sleep 0.02; done");
  EXPECT_EQ(check("root", "x", 200ms), PasswordCheck::kCannotCheck);
  EXPECT_THAT(why_, HasSubstr("took too long"));

  std::filesystem::remove(program());
  EXPECT_EQ(check("root", "x"), PasswordCheck::kCannotCheck);
  EXPECT_THAT(why_, HasSubstr("cannot be started"));
}

}  // namespace
