// Blank records, converters and setters: what is kept, and what is refused.

#include "base/clock.h"
#include "store/json_depth.h"
#include "store_fixture.h"

namespace {

using kavo::StoreError;

constexpr std::int64_t kNoon = 1793880000;  // 2026-11-05 12:00 UTC, a Thursday

class RecordTest : public StoreTest {
 protected:
  static bool set_basic(_tag_kavo_sched_task_& task, const std::string& section) {
    Json::Value doc;
    doc["basic"] = json(section);
    return KAVOSchedTaskConvertFromJson_Basic(doc, task);
  }
  static bool set_schedule(_tag_kavo_sched_task_& task, const std::string& section) {
    Json::Value doc;
    doc["schedule"] = json(section);
    return KAVOSchedTaskConvertFromJson_Schedule(doc, task);
  }
  kavo::Clock::Stopped clock_{kNoon};
};

TEST_F(RecordTest, BlankRecordBehavesAsATaskThatShowsUp) {
  const TaskPtr allocated = new_task();
  const TaskPtr loaded = load(-1);
  for (const TaskPtr* task : {&allocated, &loaded}) {
    EXPECT_TRUE(KAVOSchedTaskIsNew(**task));
    EXPECT_EQ(basic(**task),
              json(R"({"id": -1, "task_name": "", "owner": "root", "enabled": "on", "app": "",
                       "action": "", "can_edit_name": true})"));
    EXPECT_TRUE(KAVOSchedTaskIsListable(**task));
    EXPECT_TRUE(KAVOSchedTaskIsCanRunFromUI(**task));
    EXPECT_TRUE(KAVOSchedTaskIsCanEditFromUI(**task));
    EXPECT_TRUE(KAVOSchedTaskIsCanDeleteFromUI(**task));
    EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(**task), "N/A");
    EXPECT_EQ(schedule(**task), json(R"({
      "type": "weekly", "week_name": "0,1,2,3,4,5,6", "date": "2026-11-05", "repeat": "never",
      "hour": 0, "min": 0, "repeat_hour": 0, "repeat_min": 0, "last_hour": 23, "last_min": 59,
      "timezone": "", "missed": "skip", "time_limit": 0, "next_trigger_time": "N/A",
      "repeat_min_store_config": [1,2,3,5,10,15,20,30],
      "repeat_hour_store_config": [1,2,3,4,6,8,12]})"));
  }
}

TEST_F(RecordTest, LoadingReplacesEveryFieldAndForgetsWhatWasSet) {
  const int id = store("stored");
  const TaskPtr task = new_task();
  KAVOSchedCTaskSetApp(task.get(), "other");
  KAVOSchedCTaskSetListable(task.get(), 0);
  ASSERT_EQ(KAVOSchedTaskLoad(id, task.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetApp(*task), "");
  EXPECT_TRUE(KAVOSchedTaskIsListable(*task));
  EXPECT_FALSE(KAVOSchedTaskIsNew(*task));
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetApp(*load(id)), "");
}

TEST_F(RecordTest, BasicMembersAreReadWithTheirDefaults) {
  const TaskPtr task = new_task();
  ASSERT_TRUE(set_basic(*task, R"({"id": "17", "task_name": "Übung", "owner": "anna",
                                   "enabled": "OFF", "app": "ignored", "more": {"a": 1}})"));
  Json::Value section = basic(*task);
  EXPECT_EQ(section["id"], 17);
  EXPECT_EQ(section["task_name"], "Übung");
  EXPECT_EQ(section["owner"], "anna");
  EXPECT_EQ(section["enabled"], "off");
  EXPECT_EQ(section["app"], "");
  // A null or missing member is the default again.
  ASSERT_TRUE(set_basic(*task, R"({"id": null, "owner": null})"));
  section = basic(*task);
  EXPECT_EQ(section["id"], -1);
  EXPECT_EQ(section["task_name"], "");
  EXPECT_EQ(section["owner"], "root");
  EXPECT_EQ(section["enabled"], "on");
}

TEST_F(RecordTest, BadDocumentsAreRefusedAsAWholeAndLeaveTheRecord) {
  const TaskPtr task = new_task();
  ASSERT_TRUE(set_basic(*task, R"({"id": "5", "task_name": "before", "enabled": "off"})"));
  const Json::Value before = basic(*task);
  const std::string long_name(256, 'n');
  const std::string huge((1 << 20) + 1, 'x');
  for (const std::string& section : std::vector<std::string>{
           R"("text")", "[1]", "3", "true", R"({"task_name": "new", "id": "12x"})",
           R"({"task_name": "new", "id": ""})", R"({"task_name": "new", "id": "2147483648"})",
           R"({"task_name": "new", "id": 1.5})", R"({"task_name": "new", "id": [1]})",
           R"({"task_name": 7})", R"({"task_name": "new", "owner": {}})",
           R"({"task_name": "new", "enabled": true})",
           R"({"task_name": "new", "enabled": "maybe"})", R"({"task_name": "zero \u0000 byte"})",
           "{\"task_name\": \"not \xff utf-8\"}", R"({"task_name": ")" + long_name + "\"}",
           R"({"task_name": "new", "more": ")" + huge + "\"}"}) {
    SCOPED_TRACE(section.substr(0, 60));
    XLIBCErrSetEx(0, "", 0);
    EXPECT_FALSE(set_basic(*task, section));
    EXPECT_EQ(last_error(), static_cast<int>(StoreError::kBadInput));
    EXPECT_STRNE(XLIBCErrorGetFile(), "");
    EXPECT_GT(XLIBCErrorGetLine(), 0);
    EXPECT_EQ(basic(*task), before);
  }
  EXPECT_FALSE(KAVOSchedTaskConvertFromJson_Basic(Json::Value("text"), *task));
  EXPECT_TRUE(set_basic(*task, R"({"task_name": ")" + long_name.substr(1) + "\"}"));
}

TEST_F(RecordTest, ScheduleMembersComeBackAndBadOnesAreRefused) {
  const TaskPtr task = new_task();
  ASSERT_TRUE(set_schedule(*task, R"({"hour": "7", "min": 30, "week_name": "1,3",
                                      "timezone": "Europe/Berlin", "color": ["red"],
                                      "next_trigger_time": "ignored",
                                      "repeat_min_store_config": "ignored"})"));
  const Json::Value section = schedule(*task);
  EXPECT_EQ(section["hour"], 7);
  EXPECT_EQ(section["min"], 30);
  EXPECT_EQ(section["week_name"], "1,3");
  EXPECT_EQ(section["color"], json(R"(["red"])"));
  EXPECT_EQ(section["repeat_min_store_config"].size(), 8U);
  for (const char* bad : {R"({"hour": 24})", R"({"timezone": "Mars/Olympus"})", R"([])",
                          R"({"week_name": ""})", R"({"note": "\u0000"})"}) {
    SCOPED_TRACE(bad);
    EXPECT_FALSE(set_schedule(*task, bad));
    EXPECT_EQ(last_error(), static_cast<int>(StoreError::kBadInput));
    EXPECT_EQ(schedule(*task), section);
  }
  // A missing section is the default schedule.
  EXPECT_TRUE(KAVOSchedTaskConvertFromJson_Schedule(Json::Value(), *task));
  EXPECT_EQ(schedule(*task)["hour"], 0);
}

TEST_F(RecordTest, ATextThatCannotBeStoredMakesTheSaveFail) {
  const std::string too_deep(kavo::kMaxJsonDepth + 1, '[');
  const std::string too_long((128 << 10), 'x');
  struct Row {
    int (*set)(_tag_kavo_sched_task_*, const char*);
    const char* value;
  };
  for (const Row& row :
       {Row{KAVOSchedCTaskSetAction, "bad \xc3 text"},
        Row{KAVOSchedCTaskSetAppArgs, too_deep.c_str()},
        Row{KAVOSchedCTaskSetCommand, too_long.c_str()}, Row{KAVOSchedCTaskSetApp, nullptr}}) {
    const TaskPtr task = new_task();
    EXPECT_LT(row.set(task.get(), row.value), 0);
    EXPECT_LT(KAVOSchedTaskSave(task.get()), 0);
    EXPECT_NE(last_error(), 0);
    EXPECT_TRUE(KAVOSchedTaskIsNew(*task));
  }
  _tag_kavo_sched_task_* head = nullptr;
  EXPECT_EQ(KAVOSchedTaskListGet(&head, [](const _tag_kavo_sched_task_*) { return true; }), 0);
}

TEST(JsonDepth, CountsBracketsOutsideTexts) {
  EXPECT_EQ(kavo::json_depth("1"), 0U);
  EXPECT_EQ(kavo::json_depth(R"({"a": [1, {"b": "[[[ \" [["}], "c": {}})"), 3U);
  EXPECT_EQ(kavo::json_depth(R"("\\" [ ])"), 1U);
  EXPECT_EQ(kavo::json_depth("]]]["), 1U);
}

}  // namespace
