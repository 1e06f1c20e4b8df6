// The shape of the handler classes, their error state, and the dispatch of a method word.
#include <array>
#include <cstdint>
#include <cstring>
#include <tuple>
#include <type_traits>

#include "basic_handler.h"
#include "module/module_test.h"

namespace {

using HandlerTest = ModuleTest;

static_assert(!std::is_polymorphic_v<TaskSchedulerHandler>);
static_assert(!std::has_virtual_destructor_v<TaskSchedulerBasicHandler>);

// The place in the virtual table that a pointer to a virtual member names in this platform's ABI:
// the offset in bytes, plus one where the low bit tells virtual members apart.
template <typename Member>
size_t slot(Member member) {
  uintptr_t offset = 0;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset & ~uintptr_t{1}) / sizeof(void*);
}

TEST_F(HandlerTest, AppOperationsStandInSlotOrder) {
  using Handler = TaskSchedulerBasicHandler;
  EXPECT_EQ(
      (std::array{slot(&Handler::ConvertToJson_App), slot(&Handler::ConvertFromJson_App),
                  slot(&Handler::ReConstructJsonGet_App), slot(&Handler::ReConstructJsonSet_App),
                  slot(&Handler::GetAppEditOwnerValue)}),
      (std::array<size_t, 5>{0, 1, 2, 3, 4}));
}

TEST_F(HandlerTest, FirstErrorWinsAndItsDataCarriesTheMessage) {
  Standalone<TaskSchedulerHandler> first;
  first.handler.SetError(4801, "first");
  first.handler.SetError(4802, "second");
  first.handler.SetError(4803, "third", R"({"why": 3})"_json);
  first.handler.Process_v1("unknown");
  EXPECT_EQ(only(first.response), error(4801, "first"));
  // clang-format off
  const std::vector<std::array<const char*, 3>> cases{  // message, data, payload
      {"", "null", "null"}, {"", "{}", "null"}, {"", "[]", "null"}, {"", "[1]", "[1]"}, {"", R"({"a":1})", R"({"a":1})"},
      {"why", "[]", R"({"msg":"why"})"}, {"why", R"({"a":1,"msg":"gives way"})", R"({"a":1,"msg":"why"})"}};
  // clang-format on
  for (const auto& [message, data, payload] : cases) {
    Standalone<TaskSchedulerHandler> alone;
    alone.handler.SetError(117, message, json(data));
    alone.handler.SetError(118, "second", R"({"why": 2})"_json);
    alone.handler.ReportError();
    EXPECT_EQ(only(alone.response), (Answer{false, 117, json(payload)}));
  }
}

TEST_F(HandlerTest, MethodWords) {
  const Json::Value parameters = R"({"id": -1, "task": [], "status": []})"_json;
  for (const auto& [of_base, of_basic] : {std::pair("List", "Get"), std::pair("run\n", "get "),
                                          std::pair("get", "list"), std::pair("set", "create")}) {
    Standalone<TaskSchedulerHandler> base(parameters);
    base.handler.Process_v1(of_base);
    EXPECT_EQ(only(base.response), error(0)) << of_base;
    Standalone<TaskSchedulerBasicHandler> basic(parameters);
    basic.handler.Process(of_basic, 2);
    EXPECT_EQ(only(basic.response), error(0)) << of_basic;
  }
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    Standalone<TaskSchedulerBasicHandler> basic;
    static_cast<TaskSchedulerHandler&>(basic.handler).Process_v1(none);
    basic.handler.Process_v2(none);
    EXPECT_TRUE(basic.response.answers() == 0);
  }
  EXPECT_EQ(platform.calls, Lines());
}

TEST_F(HandlerTest, FiltersKeepListableAndEnabledTasks) {
  platform.add(1).listable = false;
  platform.add(2).enabled = false;
  platform.add(3);
  for (const auto& [filter, count, line] :
       {std::tuple(&onlyListable, 2, 9), std::tuple(&onlyListAndEnable, 1, 16)}) {
    _tag_kavo_sched_task_* head = nullptr;
    EXPECT_EQ(KAVOSchedTaskListGet(&head, filter), count);
    KAVOSchedTaskListFree(&head);
    EXPECT_FALSE(filter(nullptr));
    EXPECT_EQ(take_log(), Lines{"KAVO.Core.TaskScheduler:" + std::to_string(line) +
                                " Invaild Argument (__null != pTask)=[0]\n"});
    EXPECT_EQ(platform.error.code, 0x0D00);
    EXPECT_STREQ(platform.error.file, "KAVO.Core.TaskScheduler");
    EXPECT_EQ(platform.error.line, line);
  }
}

}  // namespace
