// The shape of the handler classes, their error state, and the dispatch of a method word.
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "beep_handler.h"
#include "module/module_test.h"
#include "recycle_handler.h"
#include "script_handler.h"
#include "service_handler.h"

namespace {

using HandlerTest = ModuleTest;

static_assert(!std::is_polymorphic_v<TaskSchedulerHandler>);
template <typename Handler>
constexpr bool kEditsTasks =
    std::is_base_of_v<TaskSchedulerBasicHandler, Handler>&& std::is_polymorphic_v<Handler> &&
    !std::has_virtual_destructor_v<Handler>;
static_assert(kEditsTasks<TaskSchedulerBasicHandler> && kEditsTasks<TaskSchedulerBeepHandler> &&
              kEditsTasks<TaskSchedulerScriptHandler> && kEditsTasks<TaskSchedulerServiceHandler> &&
              kEditsTasks<TaskSchedulerRecycleHandler>);

// The place in the virtual table that a pointer to a virtual member names in this platform's ABI:
// the offset in bytes, plus one where the low bit tells virtual members apart.
template <typename Member>
size_t slot(Member member) {
  uintptr_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset & ~uintptr_t{1}) / sizeof(void*);
}

TEST_F(HandlerTest, AppOperationsStandInSlotOrder) {
  EXPECT_EQ(slot(&TaskSchedulerBasicHandler::ConvertToJson_App), 0U);
  EXPECT_EQ(slot(&TaskSchedulerBasicHandler::ConvertFromJson_App), 1U);
  EXPECT_EQ(slot(&TaskSchedulerBasicHandler::ReConstructJsonGet_App), 2U);
  EXPECT_EQ(slot(&TaskSchedulerBasicHandler::ReConstructJsonSet_App), 3U);
  EXPECT_EQ(slot(&TaskSchedulerBasicHandler::GetAppEditOwnerValue), 4U);
}

TEST_F(HandlerTest, FirstErrorWins) {
  Standalone<TaskSchedulerHandler> first;
  first.handler.SetError(4801, "first");
  first.handler.SetError(4802, "second");
  first.handler.SetError(4803, "third", R"({"why": 3})"_json);
  first.handler.ReportError();
  EXPECT_EQ(first.response.only(), error(4801, "first"));

  Standalone<TaskSchedulerHandler> with_data;
  with_data.handler.SetError(117, "first", R"({"why": 1, "msg": "gives way"})"_json);
  with_data.handler.SetError(118, "second", R"({"why": 2})"_json);
  with_data.handler.ReportError();
  const Answer expected{false, 117, R"({"why": 1, "msg": "first"})"_json};
  EXPECT_EQ(with_data.response.only(), expected);
}

TEST_F(HandlerTest, ErrorPayload) {
  struct Case {
    const char* message;
    Json::Value data;
    Json::Value payload;
  };
  const std::vector<Case> cases{
      {"", {}, {}},
      {"", "{}"_json, {}},
      {"", "[]"_json, {}},
      {"", "[1]"_json, "[1]"_json},
      {"why", "[]"_json, R"({"msg": "why"})"_json},
      {"", R"({"a": 1})"_json, R"({"a": 1})"_json},
  };
  for (const Case& row : cases) {
    Standalone<TaskSchedulerHandler> alone;
    alone.handler.SetError(117, row.message, row.data);
    alone.handler.ReportError();
    const Answer expected{false, 117, row.payload};
    EXPECT_EQ(alone.response.only(), expected);
  }
}

TEST_F(HandlerTest, MethodWordsAreComparedExactly) {
  const Json::Value parameters = R"({"id": -1, "task": [], "status": []})"_json;
  for (const char* method : {"List", "list ", "lis", "run\n", "get", "set", "create"}) {
    Standalone<TaskSchedulerHandler> alone(parameters);
    alone.handler.Process_v1(method);
    EXPECT_EQ(alone.response.only(), bare_error(0)) << method;
  }
  for (const char* method : {"Get", "get ", "se", "create", "list", "run"}) {
    Standalone<TaskSchedulerBasicHandler> alone(parameters);
    alone.handler.Process(method, 2);
    EXPECT_EQ(alone.response.only(), bare_error(0)) << method;
  }
  EXPECT_EQ(platform.calls, Lines());
}

TEST_F(HandlerTest, UnknownMethodReportsTheErrorRecordedBefore) {
  Standalone<TaskSchedulerHandler> alone;
  alone.handler.SetError(117, "earlier");
  alone.handler.Process_v1("unknown");
  EXPECT_EQ(alone.response.only(), error(117, "earlier"));
}

TEST_F(HandlerTest, NullOrEmptyMethodWordAnswersNothing) {
  Standalone<TaskSchedulerHandler> base;
  base.handler.Process_v1(nullptr);
  base.handler.Process_v1("");
  EXPECT_TRUE(base.response.answers.empty());

  Standalone<TaskSchedulerBasicHandler> basic;
  basic.handler.Process(nullptr, 1);
  basic.handler.Process_v1("");
  basic.handler.Process_v2(nullptr);
  EXPECT_TRUE(basic.response.answers.empty());
}

TEST_F(HandlerTest, FiltersKeepListableAndEnabledTasks) {
  FakeTask& hidden = platform.add(1);
  hidden.listable = false;
  FakeTask& off = platform.add(2);
  off.enabled = false;
  platform.add(3);
  for (const auto& [filter, count] :
       {std::pair(&onlyListable, 2), std::pair(&onlyListAndEnable, 1)}) {
    _tag_kavo_sched_task_* head = nullptr;
    EXPECT_EQ(KAVOSchedTaskListGet(&head, filter), count);
    KAVOSchedTaskListFree(&head);
  }
}

TEST_F(HandlerTest, FiltersRejectNull) {
  for (const auto& [filter, line] :
       {std::pair(&onlyListable, 9), std::pair(&onlyListAndEnable, 16)}) {
    EXPECT_FALSE(filter(nullptr));
    EXPECT_EQ(take_log(), Lines{"KAVO.Core.TaskScheduler:" + std::to_string(line) +
                                " Invaild Argument (__null != pTask)=[0]\n"});
    EXPECT_EQ(platform.error.code, 0x0D00);
    EXPECT_STREQ(platform.error.file, "KAVO.Core.TaskScheduler");
    EXPECT_EQ(platform.error.line, line);
  }
}

}  // namespace
