// Methods of modules over HTTP: those of the task scheduler end to end, and those that break their
// promise.
#include <pwd.h>

#include <tuple>

#include "scheduler_process.h"
#include "store/run_store.h"
#include "webd_fixture.h"

namespace {

using testing::HasSubstr;

class WebdCallsTest : public WebdTest {
 protected:
  // The data of a method of the task scheduler that succeeds.
  Json::Value scheduler(Client& client, const std::string& method, const std::string& body) {
    const Reply reply = call(client, "KAVO.Core.TaskScheduler/" + method, body);
    EXPECT_EQ(reply.status, 200) << reply.body;
    EXPECT_TRUE(reply.json()["success"].asBool()) << method << reply.body;
    return reply.json()["data"];
  }
};

TEST_F(WebdCallsTest, AllMethodsOverARealStoreAndScheduler) {
  add_module(TASK_SCHEDULER);
  std::filesystem::create_symlink(KAVO_RUNNER, path("usr/kavo/lib/kavo-runner"));
  start();
  const SchedulerProcess process(KAVO_SCHEDD, path("schedd"));
  const auto client = signed_in();
  const std::string owner = getpwuid(geteuid())->pw_name;
  const std::string task =
      R"("type": "script", "owner": ")" + owner + R"(", "enable": true, "schedule": {"hour": 3},
         "extra": {"script": "true"})";
  EXPECT_EQ(scheduler(*client, "1/create", "{\"name\": \"one\", " + task + "}")["id"], 1);
  EXPECT_EQ(scheduler(*client, "2/create", "{\"name\": \"zwölf\", " + task + "}")["id"], 2);
  const Json::Value list =
      scheduler(*client, "1/list", R"({"sort_by": "id", "offset": 1, "limit": "1"})");
  EXPECT_EQ(list["total"], 2);
  EXPECT_EQ(list["tasks"][0]["name"], "zwölf");
  EXPECT_EQ(list["tasks"].size(), 1U);
  EXPECT_EQ(scheduler(*client, "1/get", R"({"id": 1})")["extra"]["script"], "true");
  EXPECT_FALSE(scheduler(*client, "1/get", R"({"id": 1})")["schedule"].isMember("repeat_min"));
  for (const auto& [version, name] : {std::pair("1", "eins"), std::pair("2", "uno")}) {
    (void)scheduler(*client, std::string(version) + "/set",
                    R"({"id": 1, "name": ")" + std::string(name) + "\", " + task + "}");
    EXPECT_EQ(scheduler(*client, "2/get", R"({"id": 1})")["name"], name);
  }
  (void)scheduler(*client, "1/set_enable", R"({"status": [{"id": 2, "enable": false}]})");
  EXPECT_EQ(scheduler(*client, "2/get", R"({"id": 2})")["enable"], false);
  (void)scheduler(*client, "1/run", R"({"task": [1]})");
  EXPECT_TRUE(eventually([] {
    const auto runs = kavo::latest_runs(1, 1);
    return !runs.empty() && runs[0].result == kavo::result::kOk;
  }));
  (void)scheduler(*client, "1/delete", R"({"task": [1, 2]})");
  EXPECT_EQ(scheduler(*client, "1/list", "{}")["total"], 0);
  // An error is the module's own.
  const Reply error = call(*client, "KAVO.Core.TaskScheduler/2/set", R"({"id": 1})");
  EXPECT_EQ(error.status, 200);
  EXPECT_EQ(error.json()["error"]["code"], 4801);
  EXPECT_EQ(client->get("/healthz").json()["data"]["scheduler"], true);
  EXPECT_EQ(client->get("/webapi/methods").json()["data"].size(), 10U);

  const std::string line =
      "audit user=" + owner + " from=127.0.0.1 method=KAVO.Core.TaskScheduler/";
  for (const char* rest :
       {"2/create tasks=2 outcome=ok", "1/set tasks=1 outcome=ok", "2/set tasks=1 outcome=ok",
        "1/set_enable tasks=2 outcome=ok", "1/run tasks=1 outcome=ok",
        "1/delete tasks=1,2 outcome=ok", "2/set tasks=1 outcome=error 4801"}) {
    EXPECT_THAT(read("log"), HasSubstr(line + rest));
  }
  EXPECT_THAT(read("log"), testing::Not(HasSubstr("/get ")));
}

TEST_F(WebdCallsTest, MethodsThatBreakTheirPromiseFailAlone) {
  for (const char* name :
       {"no_table", "null_table", "null_handler", "undefined_symbol", "good", "second", "hard"}) {
    add_module(FIXTURES_FOLDER + std::string(name) + ".so");
  }
  start("webMethodSeconds=\"1\"\n");
  const auto client = signed_in();
  for (const auto& [method, status, logged] : {
           std::tuple("Test.Good/1/echo", 200, "has no method table"),
           std::tuple("Test.Second/1/own", 200, "belongs to an earlier module"),
           std::tuple("Test.Good/1/silent", 500, "gave no answer"),
           std::tuple("Test.Good/1/twice", 500, "more than one answer"),
           std::tuple("Test.Good/1/runtime_error", 500, "the disk is on fire"),
           std::tuple("Test.Good/1/number", 500, "unknown exception"),
           std::tuple("Test.Good/1/json_error", 500, "requires objectValue"),
           std::tuple("Test.Good/1/answer_and_throw", 500, "an afterthought"),
           std::tuple("Test.Hard/1/hang", 504, "method=Test.Hard/1/process"),
           std::tuple("Test.Hard/1/end_process", 0, "Aborted"),
           std::tuple("Test.Good/2/later", 200, "method=Test.Good/2/later"),
       }) {
    EXPECT_EQ(call(*client, method).status, status) << method;
    EXPECT_EQ(call(*client, "Test.Hard/1/process").status, 200) << "after " << method;
    EXPECT_TRUE(eventually([&, text = logged] {
      return read("log").find(text) != read("log").npos;
    })) << logged;
  }
  EXPECT_THAT(read("log"), HasSubstr("method=Test.Good/1/number tasks=- outcome=failed"));
}

}  // namespace
