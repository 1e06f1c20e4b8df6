// kavo call: the module's methods over a real store.
#include "cli_fixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A member of each row of a list answer.
std::vector<std::string> column(const Json::Value& answer, const char* name) {
  std::vector<std::string> values;
  for (const Json::Value& row : answer["data"]["tasks"]) {
    values.push_back(row[name].asString());
  }
  return values;
}

TEST_F(CliTest, TasksOfEveryTypeFromCreationToDeletion) {
  const Outcome methods = kavo({"call", "--list"});
  EXPECT_EQ(methods.code, 0) << methods.err;
  EXPECT_EQ(std::count(methods.out.begin(), methods.out.end(), '\n'), 1 + 10) << methods.out;
  for (const char* method : {"1        list", "1        run", "2        create"}) {
    EXPECT_THAT(methods.out, HasSubstr(method));
  }

  EXPECT_EQ(create_script("a script", "echo '#1'"), 1);
  for (const auto& [type, extra] :
       {std::pair("beep", R"({"beep_duration": 5})"),
        std::pair("service", R"({"action": "start", "services": [{"id": "NTP", "enable": true}]})"),
        std::pair("recycle", R"({"clean_share_policy": {"clean_all": true}})")}) {
    const Json::Value answer = call("2", "create",
                                    {"type=" + std::string(type), "name=a " + std::string(type),
                                     "enable=false", "extra=" + std::string(extra)});
    EXPECT_TRUE(answer["success"].asBool()) << answer.toStyledString();
  }
  const std::vector<std::string> by_id = {"sort_by=id"};
  const Json::Value list = call("1", "list", by_id);
  EXPECT_EQ(list["data"]["total"], 4);
  EXPECT_THAT(column(list, "type"), ElementsAre("script", "beep", "service", "recycle"));
  EXPECT_THAT(column(list, "enable"), ElementsAre("true", "false", "false", "false"));
  EXPECT_THAT(column(list, "action"),
              ElementsAre("Run: echo '#1'", "Beep for 5 seconds",
                          "Start service: \"NTP time service\"", "Empty all recycle bins"));
  EXPECT_THAT(column(call("1", "list", {"sort_by=id", "--language", "de-DE"}), "action"),
              ElementsAre("Ausführen: echo '#1'", "Signalton für 5 Sekunden",
                          "Dienst starten: \"NTP-Zeitdienst\"", "Alle Papierkörbe leeren"));
  EXPECT_THAT(column(call("1", "list", {"sort_by=id", "sort_direction=desc", "limit=2"}), "id"),
              ElementsAre("4", "3"));

  EXPECT_TRUE(
      call("1", "set_enable", {R"(status=[{"id": 3, "enable": true}])"})["success"].asBool());
  EXPECT_THAT(column(call("1", "list", by_id), "enable"),
              ElementsAre("true", "false", "true", "false"));
  EXPECT_TRUE(call("1", "delete", {"task=[2, 4]"})["success"].asBool());
  EXPECT_TRUE(call("1", "delete", {"task=3"})["success"].asBool());
  EXPECT_EQ(call("1", "delete", {"task=3"})["error"]["code"], 4802);
  EXPECT_THAT(column(call("1", "list"), "id"), ElementsAre("1"));
}

TEST_F(CliTest, WhatWasReadCanBeWrittenBackWithAnotherName) {
  const std::string id =
      "id=" + std::to_string(create_script("before", "true",
                                           R"({"week_day": "1,3", "hour": 4, "minute": 30,
                                         "repeat_min": 15, "last_hour": 20, "kept": "x"})"));
  Json::Value before = call("2", "get", {id})["data"];
  const Json::Value old = call("1", "get", {id})["data"];
  for (const char* hidden : {"repeat_min", "repeat_min_store_config", "repeat_hour_store_config"}) {
    EXPECT_TRUE(before["schedule"].isMember(hidden)) << hidden;
    EXPECT_FALSE(old["schedule"].isMember(hidden)) << hidden;
  }
  EXPECT_EQ(before["schedule"]["week_day"], "1,3");

  root_.write("task.json", before.toStyledString());
  EXPECT_TRUE(
      call("2", "set", {"--json", root_.path() / "task.json", "name=after"})["success"].asBool());
  const Json::Value after = call("2", "get", {id})["data"];
  EXPECT_EQ(after["name"], "after");
  before["name"] = "after";
  EXPECT_EQ(after, before);
}

TEST_F(CliTest, ValueThatIsJsonIsJsonAndAnyOtherIsText) {
  struct Row {
    const char* written;
    const char* name;  // the name that is stored; null when it is not text and refused
  };
  for (const Row& row :
       {Row{"12abc", "12abc"}, Row{"{broken", "{broken"}, Row{"\"quoted\"", "quoted"},
        Row{"a=b", "a=b"}, Row{"", ""}, Row{"[1] x", "[1] x"}, Row{"// no", "// no"}, Row{"-", "-"},
        Row{"007", "007"}, Row{"1.", "1."}, Row{"+1", "+1"}, Row{" 1.5e3 ", nullptr},
        Row{"null", ""}, Row{"12", nullptr}, Row{"true", nullptr}, Row{"[\"a\"]", nullptr},
        Row{" {} ", nullptr}}) {
    const Json::Value created =
        call("2", "create", {"type=script", "name=" + std::string(row.written)});
    EXPECT_EQ(created["success"], row.name != nullptr) << row.written << created.toStyledString();
    if (row.name != nullptr) {
      const std::string id = "id=" + created["data"]["id"].asString();
      EXPECT_EQ(call("1", "get", {id})["data"]["name"], row.name) << row.written;
    }
  }
}

TEST_F(CliTest, WrongUseIsToldFromAnErrorAnswer) {
  root_.write("list.json", "[]");
  root_.write("broken.json", "{");
  const std::string root = root_.path();
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"frobnicate"},
      {"call"},
      {"call", kApi},
      {"call", kApi, "1"},
      {"call", "KAVO.Core.Nothing", "1", "list"},
      {"call", kApi, "3", "list"},
      {"call", kApi, "one", "list"},
      {"call", kApi, "2", "list"},
      {"call", kApi, "1", "frobnicate"},
      {"call", kApi, "1", "list", "offset"},
      {"call", kApi, "1", "list", "=1"},
      {"call", kApi, "1", "list", "--frobnicate"},
      {"call", kApi, "1", "list", "--json", root + "/missing.json"},
      {"call", kApi, "1", "list", "--json", root + "/list.json"},
      {"call", kApi, "1", "list", "--json", root + "/broken.json"},
      {"call", kApi, "1", "list", "--json", root},
      {"call", kApi, "1", "list", "--json", "-"},
      {"call", kApi, "1", "list", "--language", "xx"},
      {"call", kApi, "1", "list", "--language", "../../etc"},
      {"call", kApi, "1", "list", "--language", ""},
      {"task"},
      {"task", "show"},
      {"task", "show", "x"},
      {"task", "show", "0"},
      {"task", "next", "1", "-n", "0"},
      {"run"},
      {"run", "2147483648"},
  };
  for (const auto& arguments : wrong) {
    const Outcome outcome = kavo(arguments);
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(outcome.code, 2) << outcome.err;
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err, "");
  }
  EXPECT_EQ(call("1", "get", {"id=7"})["error"]["code"], 4801);
  EXPECT_EQ(call("1", "create", {"type=frobnicate"})["error"]["code"], 4800);
  EXPECT_EQ(kavo({"--help"}).code, 0);
  // A result that did not arrive is not a success.
  EXPECT_EQ(run_program({"/bin/sh", "-c", "exec \"$0\" task list >/dev/full", program()}).code, 1);
}

TEST_F(CliTest, BrokenModulesAreReportedAndTheOthersServed) {
  const std::filesystem::path folder = root_.path() / "usr/kavo/lib/webapi";
  std::filesystem::copy(MODULE_WITHOUT_TABLE, folder / "00-broken.so");
  std::filesystem::copy(MODULE_WITH_BROKEN_METHODS, folder / "zz-methods.so");

  const Outcome methods = kavo({"call", "--list"});
  EXPECT_EQ(methods.code, 1);
  EXPECT_THAT(methods.out, HasSubstr(kApi));
  EXPECT_THAT(methods.err, HasSubstr("00-broken.so has no GetAPITable"));
  const Outcome list = kavo({"call", kApi, "1", "list"});
  EXPECT_EQ(list.code, 0);
  EXPECT_EQ(json(list.out)["data"]["total"], 0);
  EXPECT_THAT(list.err, HasSubstr("00-broken.so has no GetAPITable"));

  for (const auto& [method, reason] :
       {std::pair("silent", "no answer"), std::pair("twice", "more than one answer"),
        std::pair("number", "unknown exception"), std::pair("runtime_error", "on fire")}) {
    const Outcome outcome = kavo({"call", "Test.Good", "1", method});
    EXPECT_EQ(outcome.code, 1) << method;
    EXPECT_EQ(outcome.out, "") << method;
    EXPECT_THAT(outcome.err, HasSubstr(reason)) << method;
  }
}

TEST_F(CliTest, AppWithStringsOfItsOwn) {
  const std::string app = "usr/kavo/kavoman/webman/3rdparty/Example/";
  root_.write(app + "manifest.json", R"({"namespace": "KAVO.Example.Notes", "texts": "texts"})");
  root_.write(app + "texts/en-US/strings.json",
              R"({"notes": {"title": "Notes", "action": "Take a note"}})");
  const TaskPtr task = new_task();
  KAVOSchedCTaskSetApp(task.get(), "KAVO.Example.Notes");
  KAVOSchedCTaskSetAppName(task.get(), "#notes:title#");
  KAVOSchedCTaskSetAction(task.get(), "#notes:action#: #common:run# #notes:missing#");
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);

  const Json::Value list = call("1", "list");
  EXPECT_THAT(column(list, "type"), ElementsAre("custom"));
  EXPECT_THAT(column(list, "app_name"), ElementsAre("Notes"));
  EXPECT_THAT(column(list, "action"), ElementsAre("Take a note: Run #notes:missing#"));
  EXPECT_THAT(column(call("1", "list", {"--language", "de-DE"}), "action"),
              ElementsAre("Take a note: Ausführen #notes:missing#"));
}

}  // namespace
