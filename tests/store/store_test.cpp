// The store's file: saving, listing, sorting, migrating, and failing.

#include <sqlite3.h>
#include <sys/stat.h>

#include "base/clock.h"
#include "store/database.h"
#include "store/run_claim.h"
#include "store_fixture.h"

namespace {

using kavo::StoreError;

constexpr std::int64_t kNoon = 1793880000;  // 2026-11-05 12:00 UTC, a Thursday

bool everything(const _tag_kavo_sched_task_*) {
  return true;
}

class TaskStoreTest : public StoreTest {
 protected:
  // The names of all tasks in the order of a sort key.
  static std::vector<std::string> sorted(const char* key, int ascending) {
    _tag_kavo_sched_task_* head = nullptr;
    EXPECT_GE(KAVOSchedTaskListGet(&head, everything), 0);
    EXPECT_EQ(KAVOSchedTaskListSort(&head, key, ascending), 0);
    std::vector<std::string> names;
    for (auto task = head; task != nullptr; task = KAVOSchedTaskNext(task)) {
      names.push_back(KAVOSchedTaskGetName(*task));
    }
    KAVOSchedTaskListFree(&head);
    EXPECT_EQ(head, nullptr);
    return names;
  }
  kavo::Clock::Stopped clock_{kNoon};
};

TEST_F(TaskStoreTest, SavingANewTaskGivesItAnIdThatIsNeverUsedAgain) {
  const int first = store("first");
  const int second = store("second");
  EXPECT_GT(first, 0);
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(KAVOSchedTaskRemove(second), 0);
  EXPECT_EQ(store("third"), second + 1);
  EXPECT_EQ(KAVOSchedTaskGetName(*load(first)), "first");
}

TEST_F(TaskStoreTest, SavingOverATaskWritesOnlyWhatWasSet) {
  const int id = store("report", "old command", R"({"hour": 3})");
  {
    const TaskPtr task = load(id);
    KAVOSchedCTaskSetApp(task.get(), "KAVO.ZEL.DataAnalysis");
    KAVOSchedCTaskSetAppArgs(task.get(), "{\"kept\":1}");
    KAVOSchedCTaskSetAction(task.get(), "reports");
    KAVOSchedCTaskSetCanEditName(task.get(), 0);
    ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  }
  // A fresh record with basic and schedule only, as a plain edit makes it.
  const TaskPtr edit = new_task();
  const Json::Value doc =
      json(R"({"basic": {"id": ")" + std::to_string(id) +
           R"(", "task_name": "renamed", "enabled": "on"}, "schedule": {"hour": 4}})");
  ASSERT_TRUE(KAVOSchedTaskConvertFromJson_Basic(doc, *edit));
  ASSERT_TRUE(KAVOSchedTaskConvertFromJson_Schedule(doc, *edit));
  ASSERT_EQ(KAVOSchedTaskSave(edit.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetID(*edit), id);

  const TaskPtr task = load(id);
  EXPECT_EQ(KAVOSchedTaskGetName(*task), "renamed");
  EXPECT_EQ(schedule(*task)["hour"], 4);
  EXPECT_EQ(KAVOSchedTaskGetApp(*task), "KAVO.ZEL.DataAnalysis");
  EXPECT_EQ(KAVOSchedTaskGetAppArgs(*task), "{\"kept\":1}");
  EXPECT_EQ(KAVOSchedTaskGetAction(*task), "reports");
  EXPECT_EQ(basic(*task)["can_edit_name"], false);

  // Two records of one task, loaded before either was saved, do not undo each other.
  const TaskPtr one = load(id);
  const TaskPtr other = load(id);
  KAVOSchedCTaskSetState(one.get(), 0);
  KAVOSchedCTaskSetAction(other.get(), "changed");
  ASSERT_EQ(KAVOSchedTaskSave(one.get()), 0);
  ASSERT_EQ(KAVOSchedTaskSave(other.get()), 0);
  EXPECT_FALSE(KAVOSchedTaskIsEnabled(*load(id)));
  EXPECT_EQ(KAVOSchedTaskGetAction(*load(id)), "changed");
}

TEST_F(TaskStoreTest, NextTriggerTimeFollowsScheduleAndState) {
  const int id = store("daily", "true", R"({"hour": 7, "min": 30, "timezone": "Asia/Kolkata"})");
  // Noon UTC is 17:30 there.
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*load(id)), "2026-11-06 07:30");
  const TaskPtr task = load(id);
  KAVOSchedCTaskSetState(task.get(), 0);
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*task), "N/A");
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*load(id)), "N/A");
  // A run that is due is not lost because something else of the task is changed.
  const int due = store("due", "true", R"({"hour": 12, "min": 1})");
  clock_.set(kNoon + 100);
  const TaskPtr renamed = load(due);
  KAVOSchedCTaskSetAction(renamed.get(), "changed");
  ASSERT_EQ(KAVOSchedTaskSave(renamed.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*load(due)), "2026-11-05 12:01");
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(
                *load(store("past", "true", R"({"type": "date", "date": "2020-01-01"})"))),
            "N/A");
}

TEST_F(TaskStoreTest, WhatIsNotThereFailsWithItsCode) {
  const TaskPtr task = new_task();
  EXPECT_LT(KAVOSchedTaskLoad(99, task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kNoSuchTask));
  EXPECT_STREQ(XLIBCErrorGetFile(), "task_store.cpp");
  EXPECT_GT(XLIBCErrorGetLine(), 0);
  EXPECT_TRUE(KAVOSchedTaskIsNew(*task));

  Json::Value doc;
  doc["basic"]["id"] = "99";
  ASSERT_TRUE(KAVOSchedTaskConvertFromJson_Basic(doc, *task));
  EXPECT_LT(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kNoSuchTask));
  EXPECT_LT(KAVOSchedTaskRemove(99), 0);
  EXPECT_LT(KAVOSchedTaskRemove(-1), 0);
  EXPECT_LT(KAVOSchedTaskRun(99, 0, 0), 0);
  EXPECT_LT(KAVOSchedTaskRun(-1, 0, 0), 0);
  EXPECT_LT(KAVOSchedTaskLoad(-2, task.get()), 0);
  EXPECT_LT(KAVOSchedTaskLoad(1, nullptr), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kInvalidArgument));
  _tag_kavo_sched_task_* head = nullptr;
  EXPECT_EQ(KAVOSchedTaskListGet(&head, everything), 0);
  EXPECT_EQ(head, nullptr);
  EXPECT_LT(KAVOSchedTaskListSort(&head, "Name", 1), 0);
}

TEST_F(TaskStoreTest, ListKeepsWhatTheFilterTakesById) {
  store("a");
  const int hidden = store("b");
  store("c");
  const TaskPtr task = load(hidden);
  KAVOSchedCTaskSetListable(task.get(), 0);
  ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  _tag_kavo_sched_task_* head = nullptr;
  EXPECT_EQ(KAVOSchedTaskListGet(
                &head, [](const _tag_kavo_sched_task_* t) { return KAVOSchedTaskIsListable(*t); }),
            2);
  EXPECT_EQ(KAVOSchedTaskGetName(*head), "a");
  EXPECT_EQ(KAVOSchedTaskGetName(*KAVOSchedTaskNext(head)), "c");
  EXPECT_EQ(KAVOSchedTaskNext(KAVOSchedTaskNext(head)), nullptr);
  KAVOSchedTaskListFree(&head);
}

TEST_F(TaskStoreTest, SortsByEachKeyBothWays) {
  struct Row {
    const char* name;
    const char* app_name;
    const char* action;
    const char* schedule;
    bool enabled;
  };
  // Ids go up in this order.
  for (const Row& row : {Row{"beta", "2", "x", R"({"hour": 15})", true},
                         Row{"Alpha", "10", "X", R"({"hour": 14})", false},
                         Row{"alpha", "2", "y", R"({"hour": 13})", true},
                         Row{"gamma", "", "", R"({"type": "date", "date": "2020-01-01"})", true},
                         Row{"Beta", "1", "x", R"({"hour": 13})", true}}) {
    const TaskPtr task = load(store(row.name, "true", row.schedule));
    KAVOSchedCTaskSetAppName(task.get(), row.app_name);
    KAVOSchedCTaskSetAction(task.get(), row.action);
    KAVOSchedCTaskSetState(task.get(), row.enabled ? 1 : 0);
    ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  }
  using Names = std::vector<std::string>;
  const std::vector<std::pair<const char*, Names>> orders = {
      {"id", {"beta", "Alpha", "alpha", "gamma", "Beta"}},
      {"name", {"Alpha", "alpha", "Beta", "beta", "gamma"}},
      {"state", {"beta", "alpha", "gamma", "Beta", "Alpha"}},
      {"app name", {"gamma", "Beta", "Alpha", "beta", "alpha"}},
      {"action", {"gamma", "Alpha", "beta", "Beta", "alpha"}},
      {"next trigger time", {"alpha", "Beta", "beta", "Alpha", "gamma"}},
  };
  for (const auto& [key, names] : orders) {
    SCOPED_TRACE(key);
    EXPECT_EQ(sorted(key, 1), names);
    EXPECT_EQ(sorted(key, 0), Names(names.rbegin(), names.rend()));
  }
}

TEST_F(TaskStoreTest, AnOlderFileIsBroughtUpToDateAndKeepsItsTasks) {
  // A file of version 1, as the first release wrote it: tasks, and no history.
  std::filesystem::create_directories(kavo::store_folder());
  sqlite3* file = nullptr;
  ASSERT_EQ(sqlite3_open(kavo::store_file().c_str(), &file), SQLITE_OK);
  char* error = nullptr;
  ASSERT_EQ(sqlite3_exec(file, R"(
      CREATE TABLE tasks (
        id INTEGER PRIMARY KEY AUTOINCREMENT CHECK (id BETWEEN 1 AND 2147483647),
        name TEXT NOT NULL, owner TEXT NOT NULL, app TEXT NOT NULL, app_name TEXT NOT NULL,
        app_args TEXT NOT NULL, action TEXT NOT NULL, command TEXT NOT NULL,
        edit_form TEXT NOT NULL, enabled INTEGER NOT NULL, simple_edit_form INTEGER NOT NULL,
        can_edit_name INTEGER NOT NULL, can_edit_owner INTEGER NOT NULL,
        can_run_app_same_time INTEGER NOT NULL, can_run_task_same_time INTEGER NOT NULL,
        listable INTEGER NOT NULL, can_run_from_ui INTEGER NOT NULL,
        can_edit_from_ui INTEGER NOT NULL, can_delete_from_ui INTEGER NOT NULL,
        schedule TEXT NOT NULL, next_run INTEGER) STRICT;
      CREATE INDEX tasks_by_next_run ON tasks (next_run) WHERE next_run IS NOT NULL;
      INSERT INTO tasks VALUES (7, 'kept', 'root', 'app', '', '{}', 'act', 'true', '',
        1, 0, 1, 0, 1, 0, 1, 1, 1, 1, '{"hour":5}', NULL);
      PRAGMA user_version = 1;)",
                         nullptr, nullptr, &error),
            SQLITE_OK)
      << error;
  sqlite3_close(file);

  EXPECT_EQ(KAVOSchedTaskGetName(*load(7)), "kept");
  EXPECT_EQ(schedule(*load(7))["hour"], 5);
  EXPECT_EQ(store("new"), 8);
  EXPECT_EQ(kavo::claim_by_hand(7), 1);  // recorded in a new table
}

TEST_F(TaskStoreTest, AFileThatCannotBeUsedSaysWhy) {
  const TaskPtr task = new_task();
  std::filesystem::create_directories(kavo::store_folder());
  root_.write("var/lib/kavo/tasks.db", std::string(8192, 'x'));
  EXPECT_LT(KAVOSchedTaskLoad(1, task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kCorrupt));
  std::filesystem::remove(kavo::store_file());

  sqlite3* file = nullptr;
  ASSERT_EQ(sqlite3_open(kavo::store_file().c_str(), &file), SQLITE_OK);
  sqlite3_exec(file, "PRAGMA user_version = 1000", nullptr, nullptr, nullptr);
  sqlite3_close(file);
  EXPECT_LT(KAVOSchedTaskLoad(1, task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kNewer));
  std::filesystem::remove(kavo::store_file());

  std::filesystem::create_directory(kavo::store_file());
  EXPECT_LT(KAVOSchedTaskLoad(1, task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kUnavailable));
}

TEST_F(TaskStoreTest, ATaskWhoseZoneHasVanishedIsStillReadAndCanBeMended) {
  const int id = store("task", "true", R"({"hour": 5})");
  kavo::connection().exec(R"(UPDATE tasks SET schedule = '{"timezone": "Gone/Town", "hour": 6}')");
  const TaskPtr task = load(id);
  EXPECT_EQ(schedule(*task)["timezone"], "Gone/Town");
  Json::Value doc;
  doc["schedule"] = schedule(*task);
  EXPECT_FALSE(KAVOSchedTaskConvertFromJson_Schedule(doc, *task));
  doc["schedule"]["timezone"] = "Europe/Berlin";
  EXPECT_TRUE(KAVOSchedTaskConvertFromJson_Schedule(doc, *task));
  EXPECT_EQ(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*load(id)), "2026-11-06 06:00");
}

TEST_F(TaskStoreTest, FolderAndFileAreForTheAppliancesOwnAccountOnly) {
  store("a");
  struct stat status = {};
  ASSERT_EQ(stat(kavo::store_folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
}

}  // namespace
