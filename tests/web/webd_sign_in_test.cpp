// Signing in and out, over real sockets.
#include <tuple>

#include "webd_fixture.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr char kPath[] = "/webapi/sign-in";

class WebdSignInTest : public WebdTest {
 protected:
  // A program in the place of the one that asks the system: the password says what it finds.
  void add_password_check() const {
    root_.write("etc/pam.d/kavo-webd", "# not looked into\n");
    root_.write("usr/kavo/lib/kavo-check-password",
                "#!/bin/sh\nread -r password\n"
                "case $password in right) exit 0;; wrong) exit 1;; user) exit 2;; *) exit 3;; "
                "esac\n");
    std::filesystem::permissions(path("usr/kavo/lib/kavo-check-password"),
                                 std::filesystem::perms::owner_all);
  }

  Reply try_password(const std::string& user, const std::string& password,
                     const std::string& from = "127.0.0.1") const {
    Client client(base_);
    client.interface = from;
    Json::Value body;
    body["user"] = user;
    body["password"] = password;
    return client.post(kPath, Json::FastWriter().write(body), {kJson});
  }
};

TEST_F(WebdSignInTest, LinkOpensOneSessionThatEndsAtSignOut) {
  add_module(TASK_SCHEDULER);
  start();
  Client stranger(base_);
  const Json::Value before = stranger.get("/webapi/session").json()["data"];
  EXPECT_TRUE(before["user"].isNull() && before["token"].isNull());
  EXPECT_EQ(before["idle_minutes"], 30);
  EXPECT_EQ(before["languages"][1]["id"], "en-US");

  const std::string body = R"({"link": ")" + link_ + "\"}";
  const Reply reply = stranger.post(kPath, body, {kJson});
  EXPECT_EQ(reply.status, 200) << reply.body;
  EXPECT_THAT(reply.header("set-cookie"),
              MatchesRegex("kavo_session=[0-9a-f]+; HttpOnly; SameSite=Strict; Path=/"));
  const Reply again = stranger.post(kPath, body, {kJson});
  EXPECT_EQ(again.status, 401);
  EXPECT_EQ(again.message(), "The link is not valid any more.");

  const std::string cookie = "Cookie: a=b; " + reply.header("set-cookie").substr(0, 77);
  const std::string token = "X-Kavo-Token: " + reply.json()["data"]["token"].asString();
  const Json::Value session = stranger.get("/webapi/session", {cookie}).json()["data"];
  EXPECT_EQ(session["user"], reply.json()["data"]["user"]);
  EXPECT_EQ(session["token"], reply.json()["data"]["token"]);
  for (const auto& [headers, status] :
       {std::pair(std::vector<std::string>{kJson, cookie, token}, 200),
        std::pair(std::vector<std::string>{kJson, cookie}, 403),
        std::pair(std::vector<std::string>{kJson, cookie, token + "0"}, 403),
        std::pair(std::vector<std::string>{kJson, cookie, "X-Kavo-Token: " + std::string(64, '0')},
                  403),
        std::pair(std::vector<std::string>{kJson, token}, 401),
        std::pair(std::vector<std::string>{kJson, token, cookie.substr(0, 60)}, 401),
        std::pair(
            std::vector<std::string>{kJson, token, "Cookie: kavo_session=" + std::string(64, '0')},
            401)}) {
    EXPECT_EQ(stranger.post("/webapi/KAVO.Core.TaskScheduler/1/list", "{}", headers).status, status)
        << headers.back();
  }
  const Reply out = stranger.post("/webapi/sign-out", "{}", {kJson, cookie, token});
  EXPECT_EQ(out.status, 200);
  EXPECT_THAT(out.header("set-cookie"), HasSubstr("Max-Age=0"));
  EXPECT_EQ(stranger.get("/webapi/methods", {cookie}).status, 401);
  EXPECT_THAT(read("log"), HasSubstr("from=127.0.0.1 method=sign-in tasks=- outcome=ok"));
  EXPECT_THAT(read("log"), HasSubstr("from=127.0.0.1 method=sign-out tasks=- outcome=ok"));
}

TEST_F(WebdSignInTest, PasswordsAreCheckedByTheProgramAndEveryTryIsOnRecord) {
  add_password_check();
  start();
  int address = 10;  // of its own for each, which nobody has to wait for
  for (const auto& [user, password, status, message] :
       {std::tuple("ann", "right", 200, ""),
        std::tuple("ben", "wrong", 401, "The name or the password is wrong."),
        std::tuple("", "right", 401, "The name or the password is wrong."),
        std::tuple("cid", "user", 403, "This account may not administer the appliance."),
        std::tuple("dan", "broken", 503,
                   "Passwords cannot be checked now; the system log says "
                   "why.")}) {
    const Reply reply = try_password(user, password, "127.0.0." + std::to_string(++address));
    EXPECT_EQ(reply.status, status) << user;
    EXPECT_EQ(reply.message(), message);
    EXPECT_EQ(reply.header("set-cookie").empty(), status != 200);
  }
  (void)try_password("eve\naudit user=root outcome=ok \"", "wrong");
  EXPECT_THAT(read("log"), HasSubstr("audit user=ann from=127.0.0.11 method=sign-in tasks=- "
                                     "outcome=ok"));
  EXPECT_THAT(read("log"), HasSubstr("audit user=ben from=127.0.0.12 method=sign-in tasks=- "
                                     "outcome=refused"));
  EXPECT_THAT(read("log"), HasSubstr("audit user=eve?audit?user?root?outcome?ok?? from="));
  EXPECT_THAT(read("log"), Not(HasSubstr("wrong\n")));
  for (const char* body : {"{}", R"({"user": "ann"})", R"({"user": 1, "password": "right"})",
                           R"({"link": 1})", "[]", "", "null", "{\"user\"", "\xff"}) {
    EXPECT_EQ(Client(base_).post(kPath, body, {kJson}).status, 400) << body;
  }
}

TEST_F(WebdSignInTest, FailuresSlowDownAccountAndAddress) {
  add_password_check();
  start();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(try_password("root", "wrong", "127.0.0." + std::to_string(i + 2)).status, 401);
  }
  const Reply slowed = try_password("root", "right", "127.0.0.9");
  EXPECT_EQ(slowed.status, 429);
  EXPECT_GE(std::stoi("0" + slowed.header("retry-after")), 1);
  EXPECT_EQ(try_password("ann", "right", "127.0.0.9").status, 200);
  for (int i = 0; i < 10; ++i) {
    (void)try_password("user" + std::to_string(i), "wrong", "127.0.0.20");
  }
  EXPECT_EQ(try_password("ben", "right", "127.0.0.20").status, 429);
}

TEST_F(WebdSignInTest, WithoutTheServiceFileLinksAreTheOnlyWay) {
  start();
  const Reply reply = try_password("root", "right");
  EXPECT_EQ(reply.status, 503);
  EXPECT_THAT(reply.message(), HasSubstr("switched off"));
  EXPECT_THAT(read("log"), HasSubstr("kavo-webd is missing"));
  EXPECT_EQ(signed_in()->get("/webapi/methods").status, 200);
}

}  // namespace
