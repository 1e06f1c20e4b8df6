// Blank records, converters and setters: what is kept, and what is refused.

#include "base/clock.h"
#include "store/json_depth.h"
#include "store_fixture.h"

namespace {

using kavo::StoreError;

class RecordTest : public StoreTest {
 protected:
  // Expects a section to be refused, and the record to stay as it was.
  template <typename Convert, typename Print>
  static void expect_refused(_tag_kavo_sched_task_& task, Convert convert, Print print,
                             const std::string& section) {
    SCOPED_TRACE(section.substr(0, 60));
    const Json::Value before = print(task);
    XLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(convert(task, json(section)));
    EXPECT_EQ(last_error(), static_cast<int>(StoreError::kBadInput));
    EXPECT_TRUE(*XLIBCErrorGetFile() != '\0' && XLIBCErrorGetLine() > 0);
    EXPECT_EQ(print(task), before);
  }
};

TEST_F(RecordTest, BlankRecordBehavesAsATaskThatShowsUp) {
  const kavo::Clock::Stopped clock{1793880000};  // 2026-11-05 12:00 UTC
  const TaskPtr allocated = new_task();
  const TaskPtr loaded = load(-1);
  for (const TaskPtr* task : {&allocated, &loaded}) {
    EXPECT_EQ(basic(**task),
              json(R"({"id": -1, "task_name": "", "owner": "root", "enabled": "on", "app": "",
                       "action": "", "can_edit_name": true})"));
    EXPECT_EQ(schedule(**task), json(R"({
      "type": "weekly", "week_name": "0,1,2,3,4,5,6", "date": "2026-11-05", "repeat": "never",
      "hour": 0, "min": 0, "repeat_hour": 0, "repeat_min": 0, "last_hour": 23, "last_min": 59,
      "timezone": "", "missed": "skip", "time_limit": 0, "next_trigger_time": "N/A",
      "repeat_min_store_config": [1,2,3,5,10,15,20,30],
      "repeat_hour_store_config": [1,2,3,4,6,8,12]})"));
    for (const auto is : {KAVOSchedTaskIsNew, KAVOSchedTaskIsListable, KAVOSchedTaskIsCanRunFromUI,
                          KAVOSchedTaskIsCanEditFromUI, KAVOSchedTaskIsCanDeleteFromUI}) {
      EXPECT_TRUE(is(**task));
    }
    EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(**task), "N/A");
  }
}

TEST_F(RecordTest, LoadingReplacesEveryFieldAndForgetsWhatWasSet) {
  const int id = store("stored");
  const TaskPtr task = new_task();
  KAVOSchedCTaskSetApp(task.get(), "other");
  KAVOSchedCTaskSetListable(task.get(), 0);
  ASSERT_EQ(KAVOSchedTaskLoad(id, task.get()), 0);
  EXPECT_TRUE(KAVOSchedTaskIsListable(*task) && !KAVOSchedTaskIsNew(*task));
  save(task);
  EXPECT_EQ(KAVOSchedTaskGetApp(*load(id)), "");
}

TEST_F(RecordTest, BasicMembersAreReadWithTheirDefaultsOrRefusedAsAWhole) {
  const TaskPtr task = new_task();
  const auto expect_basic = [&](const std::string& sent, const std::string& kept) {
    EXPECT_TRUE(set_basic(*task, json(sent)));
    Json::Value section = basic(*task);
    for (const char* member : {"app", "action", "can_edit_name"}) section.removeMember(member);
    EXPECT_EQ(section, json(kept));
  };
  expect_basic(R"({"id": null, "owner": null})",
               R"({"id": -1, "task_name": "", "owner": "root", "enabled": "on"})");
  expect_basic(R"({"id": 18})", R"({"id": 18, "task_name": "", "owner": "root", "enabled": "on"})");
  expect_basic(R"({"id": "17", "task_name": "Übung", "owner": "anna", "enabled": "OFF",
                   "app": "ignored", "more": {"a": 1}})",
               R"({"id": 17, "task_name": "Übung", "owner": "anna", "enabled": "off"})");
  EXPECT_EQ(KAVOSchedTaskGetApp(*task), "");

  const std::string long_name(256, 'n');
  const std::string huge((1 << 20) + 1, 'x');
  for (const std::string& section :
       {std::string(R"("text")"), std::string("[1]"), std::string(R"({"task_name": 7})"),
        std::string(R"({"task_name": "zero \u0000 byte"})"),
        std::string("{\"task_name\": \"not \xff utf-8\"}"),
        R"({"task_name": ")" + long_name + "\"}",
        R"({"task_name": "new", "more": ")" + huge + "\"}"}) {
    expect_refused(*task, set_basic, basic, section);
  }
  for (const std::string member :
       {R"("id": "12x")", R"("id": "")", R"("id": "2147483648")", R"("id": 1.5)", R"("id": 1.0)",
        R"("id": [1])", R"("owner": {})", R"("enabled": true)", R"("enabled": "maybe")"}) {
    expect_refused(*task, set_basic, basic, R"({"task_name": "new", )" + member + "}");
  }
  EXPECT_FALSE(KAVOSchedTaskConvertFromJson_Basic(Json::Value("text"), *task));
  EXPECT_TRUE(set_basic(*task, json(R"({"task_name": ")" + long_name.substr(1) + "\"}")));
}

TEST_F(RecordTest, ScheduleMembersComeBackAndBadOnesAreRefused) {
  const TaskPtr task = new_task();
  ASSERT_TRUE(set_schedule(*task, json(R"({"hour": "7", "week_name": "1,3", "color": ["red"],
      "next_trigger_time": "ignored", "repeat_min_store_config": "ignored"})")));
  const Json::Value section = schedule(*task);
  EXPECT_EQ(section["hour"], 7);
  EXPECT_EQ(section["week_name"], "1,3");
  EXPECT_EQ(section["color"], json(R"(["red"])"));
  EXPECT_EQ(section["repeat_min_store_config"].size(), 8U);
  for (const char* bad : {R"({"hour": 24})", "[]", R"({"note": "\u0000"})"}) {
    expect_refused(*task, set_schedule, schedule, bad);
  }
  // A missing section is the default schedule.
  EXPECT_TRUE(KAVOSchedTaskConvertFromJson_Schedule(Json::Value(), *task));
  EXPECT_EQ(schedule(*task)["hour"], 0);
}

TEST_F(RecordTest, ATextThatCannotBeStoredMakesTheSaveFail) {
  const std::string too_deep(kavo::kMaxJsonDepth + 1, '[');
  const std::string too_long((128 << 10), 'x');
  for (const auto& [set, value] : {std::pair(&KAVOSchedCTaskSetAction, "bad \xc3 text"),
                                   std::pair(&KAVOSchedCTaskSetAppArgs, too_deep.c_str()),
                                   std::pair(&KAVOSchedCTaskSetCommand, too_long.c_str())}) {
    const TaskPtr task = new_task();
    EXPECT_LT(set(task.get(), value), 0);
    EXPECT_LT(KAVOSchedTaskSave(task.get()), 0);
    EXPECT_NE(last_error(), 0);
  }
  EXPECT_LT(KAVOSchedCTaskSetApp(new_task().get(), nullptr), 0);
  EXPECT_EQ(sorted(), "");
}

TEST(JsonDepth, CountsBracketsOutsideTexts) {
  EXPECT_EQ(kavo::json_depth("1"), 0U);
  EXPECT_EQ(kavo::json_depth(R"({"a": [1, {"b": "[[[ \" [["}], "c": {}})"), 3U);
  EXPECT_EQ(kavo::json_depth(R"("\\" [ ])"), 1U);
  EXPECT_EQ(kavo::json_depth("]]]["), 1U);
}

}  // namespace
