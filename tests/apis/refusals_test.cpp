// What the appliance's methods refuse.

#include <tuple>

#include "apis_fixture.h"
#include "store/database.h"

namespace {

using testing::HasSubstr;

TEST_F(ApisTest, WrongParametersAreNamedAndMissingRunsToldApart) {
  store("task");
  Json::Value too_many(Json::objectValue);
  too_many["tasks"] = Json::Value(Json::arrayValue);
  too_many["tasks"].resize(1001);
  EXPECT_EQ(error("TaskRun", "last", too_many).first, 4800);
  // clang-format off
  for (const auto& [api, method, parameters, code, message] :
       {std::tuple("TaskRun", "list", R"({"task": "x"})", 4800, "\"task\""),
        std::tuple("TaskRun", "list", R"({"task": 0})", 4800, "\"task\""),
        std::tuple("TaskRun", "list", R"({"result": "great"})", 4800, "\"result\""),
        std::tuple("TaskRun", "list", R"({"result": ["ok"]})", 4800, "\"result\""),
        std::tuple("TaskRun", "list", R"({"result": "' OR 1 --"})", 4800, "\"result\""),
        std::tuple("TaskRun", "list", R"({"offset": -1})", 4800, "\"offset\""),
        std::tuple("TaskRun", "list", R"({"limit": 0})", 4800, "\"limit\""),
        std::tuple("TaskRun", "list", R"({"limit": 1001})", 4800, "1 to 1000"),
        std::tuple("TaskRun", "last", R"({})", 4800, "\"tasks\""),
        std::tuple("TaskRun", "last", R"({"tasks": {"1": 1}})", 4800, "\"tasks\""),
        std::tuple("TaskRun", "last", R"({"tasks": [1, "2"]})", 4800, "\"tasks\""),
        std::tuple("TaskRun", "last", R"({"tasks": [1.0]})", 4800, "\"tasks\""),
        std::tuple("TaskRun", "last", R"({"tasks": [0]})", 4800, "\"tasks\""),
        std::tuple("TaskRun", "last", R"({"tasks": [], "revision": "new"})", 4800, "\"revision\""),
        std::tuple("TaskRun", "output", R"({})", 4800, "\"id\" is missing"),
        std::tuple("TaskRun", "output", R"({"id": [1]})", 4800, "\"id\""),
        std::tuple("TaskRun", "output", R"({"id": 1, "offset": -1})", 4800, "\"offset\""),
        std::tuple("TaskRun", "output", R"({"id": 1, "offset": 4294967296})", 4800, "\"offset\""),
        std::tuple("TaskRun", "output", R"({"id": 99})", 4801, "no run 99"),
        std::tuple("TaskRun", "stop", R"({})", 4800, "\"id\" is missing"),
        std::tuple("TaskRun", "stop", R"({"id": 99})", 4801, "no run 99"),
        std::tuple("Schedule", "preview", R"({"count": 1})", 4800, "\"schedule\" is missing"),
        std::tuple("Schedule", "preview", R"({"schedule": [1]})", 4800, "not an object"),
        std::tuple("Schedule", "preview", R"({"schedule": "{}"})", 4800, "not an object"),
        std::tuple("Schedule", "preview", R"({"schedule": {"minute": 60}})", 4800, ": minute: 60"),
        std::tuple("Schedule", "preview", R"({"schedule": {"week_day": "7"}})", 4800, ": week_day: "),
        std::tuple("Schedule", "preview", R"({"schedule": {"repeat_date": "hourly"}})", 4800, ": repeat_date: "),
        std::tuple("Schedule", "preview", R"({"schedule": {"timezone": "../../etc/passwd"}})", 4800, "time zone"),
        std::tuple("Schedule", "preview", R"({"schedule": {"timezone": 1}})", 4800, "time zone"),
        std::tuple("Schedule", "preview", R"({"schedule": {}, "count": 0})", 4800, "\"count\""),
        std::tuple("Schedule", "preview", R"({"schedule": {}, "count": 51})", 4800, "1 to 50")}) {
    EXPECT_THAT(error(api, method, json(parameters)), testing::Pair(code, HasSubstr(message)))
        << method << parameters;
  }
  // clang-format on
}

TEST_F(ApisTest, AStoreThatCannotBeReadIsAnError) {
  std::filesystem::create_directories(kavo::store_folder());
  root_.write("var/lib/kavo/tasks.db", std::string(8192, 'x'));
  for (const auto& [method, parameters] : {std::pair("list", "{}"),
                                           {"last", R"({"tasks": [1]})"},
                                           {"output", R"({"id": 1})"},
                                           {"stop", R"({"id": 1})"}}) {
    EXPECT_THAT(error("TaskRun", method, json(parameters)),
                testing::Pair(117, HasSubstr("task store failed")));
  }
}

}  // namespace
