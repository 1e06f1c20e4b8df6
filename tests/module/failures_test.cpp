// What fails, and what is refused: the answer, the log line, and that nothing is done or left after
// it.
#include <array>

#include "module/hook_handler.h"
#include "module/module_test.h"

namespace {

const Json::Value kParameters =
    R"({"id": 12, "task": [12], "status": [{"id": 5, "enable": true}, {"id": 12, "enable": true}]})"_json;
const std::string kDeep = std::string(1100, '[') + std::string(1100, ']');  // for the JSON reader

class FailureTest : public ModuleTest {
 protected:
  static void reset() {
    expect_nothing_left();
    platform = FakePlatform();
    platform.add(5);
    platform
        .add(12, kService,
             R"({"service_action": "1", "service_store": [{"name": "NTP", "service_type": 1}]})")
        .enabled = false;
  }

  // Sends a request; "hook" ones to a handler whose app operations can be made to fail.
  static Answer send(const std::string& request, const Json::Value& parameters) {
    if (!request.starts_with("hook ")) return call(request, 1, parameters);
    Standalone<HookHandler> alone(parameters);
    Json::Value section;
    if (request != "hook app") {
      alone.handler.Process(request.substr(5).c_str(), 2);
    } else if (!alone.handler.GetOriginAppObj(section)) {
      alone.handler.ReportError();
    }
    return only(alone.response);
  }
};

struct Failure {
  std::string request;
  std::string operation;
  int nth;  // call of the operation fails
  int code;
  std::string message;
  std::string log;
};

// clang-format off
const std::vector<Failure> kFailures = {
    {"list", "KAVOSchedTaskListGet", 1, 117, "get task list failed", ":160 get task list failed."},
    {"list", "KAVOSchedTaskListSort", 1, 117, "sort task list failed", ":173 sort task list failed."},
    {"run", "KAVOSchedTaskRun", 1, 4803, "Failed to run task", ":289 Failed to run task [12]."},
    {"delete", "KAVOSchedTaskRemove", 1, 4802, "Failed to delete task", ":250 Failed to delete task 12."},
    {"set_enable", "KAVOSchedTaskAlloc", 1, 117, "Failed to create task", ":315 Failed to new task -1."},
    {"set_enable", "KAVOSchedTaskLoad", 2, 4801, "Failed to get task", ":328 Failed to get task 12."},
    {"set_enable", "KAVOSchedTaskSave", 2, 4804, "Failed to update task", ":335 Failed to upadte task 12."},
    {"hook get", "KAVOSchedTaskAlloc", 1, 117, "Failed to allocate task", ".Basic:145 alloc task failed. id:[12]"},
    {"hook get", "KAVOSchedTaskLoad", 1, 4801, "Failed to load task", ".Basic:151 load task failed. id:[12]"},
    {"hook get", "KAVOSchedTaskConvertToJson_Basic", 1, 117, "Failed to convert basic object",
     ".Basic:157 convert task to json (basic) faield. id:[12]"},
    {"hook get", "KAVOSchedTaskConvertToJson_Schedule", 1, 117, "Failed to convert schedule object",
     ".Basic:163 convert task to json (schedule) faield. id:[12]"},
    {"hook get", "ConvertToJson_App", 1, 117, "Failed to convert app object",
     ".Basic:169 convert task to json (app) faield. id:[12]"},
    {"hook get", "ReConstructJsonGet_App", 1, 117, "Failed to convert app object", ".Basic:186 Convert task from json (app) failed."},
    {"hook set", "ReConstructJsonSet_App", 1, 4800, "invalid (app) object", ".Basic:238 Convert task from json (app) failed."},
    {"hook set", "KAVOSchedTaskAlloc", 1, 117, "Failed to new task", ".Basic:245 Failed to new task."},
    {"hook set", "KAVOSchedTaskConvertFromJson_Basic", 1, 117, "Invalid (basic) object",
     ".Basic:250 Convert task from json (basic) failed."},
    {"hook set", "KAVOSchedTaskConvertFromJson_Schedule", 1, 117, "Invalid (schedule) object",
     ".Basic:255 Convert task from json (schedule) failed."},
    {"hook set", "ConvertFromJson_App", 1, 117, "Invalid (app) object", ".Basic:260 Convert task from json (app) failed."},
    {"hook set", "KAVOSchedTaskSave", 1, 117, "Failed to save task", ".Basic:267 Save task failed."},
    {"hook app", "KAVOSchedTaskAlloc", 1, 117, "Failed to allocate task", ".Basic:102 alloc task failed. id:[12]"},
    {"hook app", "KAVOSchedTaskLoad", 1, 4801, "Failed to load task", ".Basic:108 load task failed. id:[12]"},
    {"hook app", "ConvertToJson_App", 1, 117, "Failed to convert app object", ".Basic:114 convert task to json (app) faield. id:[12]"},
    {"get", "KAVOSchedTaskAlloc", 1, 4801, "", "lib:38 alloc task failed. id:[12]"},
    {"set", "KAVOSchedTaskLoad", 1, 4801, "", "lib:43 load task failed. id:[12]"},
    {"get", "KAVOSchedTaskConvertToJson_Basic", 1, 4801, "", "lib:48 convert task to json (basic) faield. id:[12]"}};

TEST_F(FailureTest, OfEachOperation) {
  for (const Failure& row : kFailures) {
    // clang-format on
    reset();
    platform.fail(row.operation, row.nth);
    EXPECT_EQ(send(row.request, kParameters), error(row.code, row.message)) << row.log;
    const std::string source = row.log.starts_with("lib") ? "" : "KAVO.Core.TaskScheduler";
    EXPECT_EQ(take_log(), Lines{source + row.log + " [0x0A0B file.c:77]"});
    EXPECT_TRUE(platform.calls.back().starts_with(row.operation)) << platform.calls.back();
    EXPECT_TRUE(platform.tasks[12].name == "task 12" && !platform.tasks[12].enabled);
  }
}

struct Refusal {
  std::string request;
  const char* parameters;
  int code;
  std::string message;
  std::string log;
};

TEST_F(FailureTest, OfWrongInput) {
  const std::string list = "task must be an array of id or a single id";
  const std::string state = "id must be an integer, enabled must be a boolean";
  const std::string app =
      "KAVO.Core.TaskScheduler.Basic:238 Convert task from json (app) failed. [0x0000 :0]";
  const std::string not_stored = "lib:43 load task failed. id:[99] [0x0404 store.c:9]";
  // clang-format off
  const std::vector<Refusal> rows = {
      {"get", "{}", 4800, "", ""}, {"get", R"({"id": "twelve"})", 4800, "", ""}, {"get", R"({"type": "beep"})", 4800, "", ""},
      {"get", R"({"id": 12, "type": 5})", 4800, "", ""}, {"get", R"({"id": 99})", 4801, "", not_stored},
      {"get", R"({"id": 12, "type": "Beep"})", 4800, "", "main:114 Unknown app type: Beep"},
      {"get", R"({"id": 12, "type": ""})", 4800, "", "main:114 Unknown app type: "},
      {"hook get", R"({"id": "x"})", 4800, "id is invalid", ""},
      {"set", "{}", 4800, "", ""}, {"set", R"({"id": [12], "type": "beep"})", 4800, "", ""},
      {"set", R"({"id": 99, "type": "beep"})", 4801, "", not_stored},
      {"create", "{}", 4800, "", ""}, {"create", R"({"type": null})", 4800, "", ""},
      {"create", R"({"type": "custom"})", 4800, "", "main:195 Unknown app type: custom"},
      {"create", R"({"type": ""})", 4800, "", "main:195 Unknown app type: "},
      {"run", "{}", 4800, list, ""}, {"run", R"({"task": null})", 4800, list, ""}, {"delete", R"({"task": "7"})", 4800, list, ""},
      {"delete", R"({"task": true})", 4800, list, ""}, {"run", R"({"task": {"id": 7}})", 4800, list, ""},
      {"run", R"({"task": 3000000000})", 4800, list, ""}, {"run", R"({"task": ["8", 5]})", 4800, "id must be an integer", ""},
      {"delete", R"({"task": [null]})", 4800, "id must be an integer", ""},
      {"delete", R"({"task": [[5]]})", 4800, "id must be an integer", ""},
      {"set_enable", "{}", 4800, "tasks must be an array", ""}, {"set_enable", R"({"status": {}})", 4800, "tasks must be an array", ""},
      {"set_enable", R"({"status": [{"id": 5, "enable": 1}]})", 4800, state, ""},
      {"set_enable", R"({"status": [{"id": 5, "enable": "true"}]})", 4800, state, ""},
      {"set_enable", R"({"status": [{"id": "5", "enable": true}]})", 4800, state, ""},
      {"set_enable", R"({"status": [{"id": 3000000000, "enable": true}]})", 4800, state, ""},
      {"set", R"({"id": 12, "extra": {"action": "Stop"}})", 4800, "invalid (app) object", app},
      {"set", R"({"id": 12, "extra": {"services": [{"id": "NTP", "enable": 1}]}})", 4800, "invalid (app) object", app},
      {"set", R"({"id": 12, "extra": {"services": [{"id": 5, "enable": true}]}})", 4800, "invalid (app) object", app},
      {"set", R"({"id": 12, "extra": {"services": [{}]}})", 4800, "invalid (app) object", app}};
  // clang-format on
  for (const Refusal& row : rows) {
    reset();
    EXPECT_EQ(send(row.request, json(row.parameters)), error(row.code, row.message))
        << row.request << row.parameters;
    EXPECT_EQ(take_log(), row.log.empty() ? Lines() : Lines{row.log});
    EXPECT_TRUE(!saved() && platform.tasks.size() == 2);
    EXPECT_EQ(calls_of("KAVOSchedTaskRun"), Lines());
  }
}

TEST_F(FailureTest, ExceptionsPassThroughAndLeaveNothing) {
  const std::string number =
      R"({"service_action": "1", "service_store": [{"name": "NTP", "service_type": "x"}]})";
  const std::string name =
      R"({"service_action": "1", "service_store": [{"name": {}, "service_type": 2}]})";
  platform.shares = {"a"};
  // clang-format off
  for (const auto& [app, stored, request, parameters] : std::vector<std::array<std::string, 4>>{
           {"", R"({"basic": {"app": {}}})", "get", R"({"id": 12})"}, {"", R"({"basic": "no section"})", "set", R"({"id": 12})"},
           {"", "", "set", R"({"id": 12, "schedule": "every day"})"}, {"", "", "set", R"({"id": 12, "enable": "true"})"},
           {kBeep, kDeep, "get", R"({"id": 12})"}, {kScript, kDeep, "get", R"({"id": 12})"},
           {kBeep, "", "set", R"({"id": 12, "extra": {"beep_duration": "60"}})"},
           {kBeep, "", "set", R"({"id": 12, "extra": {"beep_duration": 3000000000}})"},
           {kScript, "", "set", R"({"id": 12, "extra": {"script": ["a"]}})"}, {kScript, "", "set", R"({"id": 12, "extra": []})"},
           {kService, number, "get", R"({"id": 12})"}, {kService, number, "set", R"({"id": 12})"},
           {kService, name, "set", R"({"id": 12})"}, {kRecycle, R"({"advconfig": "text"})", "get", R"({"id": 12})"},
           {kRecycle, R"({"recycle_action": "2", "clean_all": "no", "selected_shares": [{}]})", "set", R"({"id": 12})"},
           {kRecycle, R"({"recycle_action": "2"})", "set", R"({"id": 12, "extra": {"enableRecycle": {}}})"}}) {
    // clang-format on
    FakeTask& task = platform.add(12, app, stored);
    task.basic = stored.starts_with("{\"basic") ? json(stored)["basic"] : Json::Value();
    EXPECT_THROW(call(request, 2, json(parameters)), Json::Exception)
        << app << stored << parameters;
  }
  EXPECT_FALSE(saved());
}

}  // namespace
