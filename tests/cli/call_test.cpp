// kavo call: the module's methods over a real store.
#include "cli_fixture.h"

namespace {

using testing::HasSubstr;

class CallTest : public CliTest {
 protected:
  // A member of each row of a list answer.
  std::string column(const std::string& request, const char* name) const {
    const Json::Value answer = data(request);
    std::string values;
    for (const Json::Value& row : answer["tasks"]) values += row[name].asString() + "|";
    return values;
  }
};

TEST_F(CallTest, TasksOfEveryTypeFromCreationToDeletion) {
  const std::string methods = kavo("call --list").out;
  EXPECT_EQ(std::count(methods.begin(), methods.end(), '\n'), 1 + 10 + 9) << methods;
  EXPECT_THAT(methods, HasSubstr("1        list"));
  EXPECT_THAT(methods, HasSubstr("2        create"));

  EXPECT_EQ(create_script("a script", "echo '#1'"), "1");
  data(R"(2 create type=beep enable=false extra='{"beep_duration": 5}')");
  data(R"(2 create type=service enable=false extra='{"action": "start",
          "services": [{"id": "NTP", "enable": true}]}')");
  data(R"(2 create type=recycle enable=false extra='{"clean_share_policy": {"clean_all": true}}')");
  EXPECT_EQ(data("1 list")["total"], 4);
  EXPECT_EQ(column("1 list sort_by=id", "type"), "script|beep|service|recycle|");
  EXPECT_EQ(column("1 list sort_by=id", "enable"), "true|false|false|false|");
  EXPECT_EQ(column("1 list sort_by=id", "action"),
            "Run: echo '#1'|Beep for 5 seconds|Start service: \"NTP time service\"|"
            "Empty all recycle bins|");
  EXPECT_EQ(column("1 list sort_by=id --language de-DE", "action"),
            "Ausführen: echo '#1'|Signalton für 5 Sekunden|Dienst starten: \"NTP-Zeitdienst\"|"
            "Alle Papierkörbe leeren|");
  EXPECT_EQ(column("1 list sort_by=id sort_direction=desc limit=2", "id"), "4|3|");

  data(R"(1 set_enable status='[{"id": 3, "enable": true}]')");
  EXPECT_EQ(column("1 list sort_by=id", "enable"), "true|false|true|false|");
  data("1 delete task='[2, 4]'");
  data("1 delete task=3");
  EXPECT_EQ(call("1 delete task=3")["error"]["code"], 4802);
  EXPECT_EQ(call("1 get id=7")["error"]["code"], 4801);
  EXPECT_EQ(call("1 create type=frobnicate")["error"]["code"], 4800);
  EXPECT_EQ(column("1 list", "id"), "1|");
}

TEST_F(CallTest, WhatWasReadCanBeWrittenBackWithAnotherName) {
  create_script("before", "true", R"({"week_day": "1,3", "hour": 4, "minute": 30, "repeat_min": 15,
                                      "last_hour": 20, "kept": "x"})");
  Json::Value task = data("2 get id=1");
  EXPECT_EQ(task["schedule"]["week_day"], "1,3");
  EXPECT_TRUE(task["schedule"].isMember("repeat_min"));
  EXPECT_FALSE(data("1 get id=1")["schedule"].isMember("repeat_min"));
  root_.write("task.json", task.toStyledString());
  data("2 set --json task.json name=after");
  task["name"] = "after";
  EXPECT_EQ(data("2 get id=1"), task);
}

TEST_F(CallTest, ValueThatIsJsonIsJsonAndAnyOtherIsText) {
  // clang-format off
  const std::pair<std::string, const char*> rows[] = {  // null where it is not text and refused
      {"12abc", "12abc"}, {"{broken", "{broken"}, {"\"quoted\"", "quoted"}, {"a=b", "a=b"}, {"", ""},
      {"[1] x", "[1] x"}, {"// no", "// no"}, {"-", "-"}, {"007", "007"}, {"1.", "1."}, {"+1", "+1"},
      {"null", ""}, {" 1.5e3 ", nullptr}, {"12", nullptr}, {"true", nullptr}, {"[\"a\"]", nullptr}, {" {} ", nullptr}};
  // clang-format on
  for (const auto& [written, name] : rows) {
    const Json::Value created = call("2 create type=script 'name=" + written + "'");
    EXPECT_EQ(created["success"], name != nullptr) << written << created;
    if (name != nullptr) {
      EXPECT_EQ(data("1 get id=" + created["data"]["id"].asString())["name"], name) << written;
    }
  }
}

TEST_F(CallTest, WrongUseIsToldFromAnErrorAnswer) {
  root_.write("list.json", "[]");
  root_.write("broken.json", "{");
  const std::string api = std::string("call ") + kApi;
  const std::string list = api + " 1 list ";
  // clang-format off
  for (const std::string& wrong : std::initializer_list<std::string>{
           "", "frobnicate", "call", "call KAVO.Core.Nothing 1 list",
           api, api + " 1", api + " 3 list", api + " one list", api + " 2 list", api + " 1 frobnicate",
           list + "offset", list + "=1", list + "--frobnicate", list + "--json missing.json",
           list + "--json list.json", list + "--json broken.json", list + "--json .", list + "--json -",
           list + "--language xx", list + "--language ../../etc", list + "--language ''",
           "task", "task show", "task show x", "task show 0", "task next 1 -n 0", "run", "run 2147483648"}) {
    // clang-format on
    const Finished done = kavo(wrong);
    EXPECT_EQ(done.code, 2) << wrong << done.err;
    EXPECT_TRUE(done.out == "" && done.err != "") << wrong;
  }
  EXPECT_EQ(kavo("--help").code, 0);
  EXPECT_EQ(kavo("task list >/dev/full").code, 1);  // a result that did not arrive
}

TEST_F(CallTest, BrokenModulesAreReportedAndTheOthersServed) {
  const std::filesystem::path folder = root_.path() / "usr/kavo/lib/webapi";
  std::filesystem::copy(MODULE_WITHOUT_TABLE, folder / "00-broken.so");
  std::filesystem::copy(MODULE_WITH_BROKEN_METHODS, folder / "zz-methods.so");

  const Finished methods = kavo("call --list");
  EXPECT_EQ(methods.code, 1);
  EXPECT_THAT(methods.out, HasSubstr(kApi));
  EXPECT_THAT(methods.err, HasSubstr("00-broken.so has no GetAPITable"));
  const Finished list = kavo(std::string("call ") + kApi + " 1 list");
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(json(list.out)["data"]["total"], 0);
  EXPECT_EQ(list.err, methods.err);
  for (const auto& [method, reason] :
       {std::pair("silent", "no answer"), std::pair("twice", "more than one answer"),
        std::pair("number", "unknown exception"), std::pair("runtime_error", "on fire")}) {
    const Finished done = kavo(std::string("call Test.Good 1 ") + method);
    EXPECT_TRUE(done.code == 1 && done.out == "") << method;
    EXPECT_THAT(done.err, HasSubstr(reason));
  }
}

TEST_F(CallTest, AppWithStringsOfItsOwn) {
  const std::string app = "usr/kavo/kavoman/webman/3rdparty/Example/";
  root_.write(app + "manifest.json", R"({"namespace": "KAVO.Example.Notes", "texts": "texts"})");
  root_.write(app + "texts/en-US/strings.json",
              R"({"notes": {"title": "Notes", "action": "Take a note"}})");
  const TaskPtr task = new_task();
  KAVOSchedCTaskSetApp(task.get(), "KAVO.Example.Notes");
  KAVOSchedCTaskSetAppName(task.get(), "#notes:title#");
  KAVOSchedCTaskSetAction(task.get(), "#notes:action#: #common:run# #notes:missing#");
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(column("1 list", "app_name"), "Notes|");
  EXPECT_EQ(column("1 list --language de-DE", "action"), "Take a note: Ausführen #notes:missing#|");
}

}  // namespace
