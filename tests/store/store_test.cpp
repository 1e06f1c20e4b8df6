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

class TaskStoreTest : public StoreTest {
 protected:
  // Makes a file of the store by SQL.
  static void make_file(const char* sql) {
    std::filesystem::create_directories(kavo::store_folder());
    sqlite3* file = nullptr;
    ASSERT_EQ(sqlite3_open(kavo::store_file().c_str(), &file), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(file, sql, nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(file);
    sqlite3_close(file);
  }
  static std::string next_of(int id) { return KAVOSchedTaskGetNextTriggerTime(*load(id)); }

  kavo::Clock::Stopped clock_{kNoon};
};

TEST_F(TaskStoreTest, SavingANewTaskGivesItAnIdThatIsNeverUsedAgain) {
  EXPECT_EQ(store("first"), 1);
  EXPECT_EQ(store("second"), 2);
  EXPECT_EQ(KAVOSchedTaskRemove(2), 0);
  EXPECT_EQ(store("third"), 3);
  EXPECT_EQ(KAVOSchedTaskGetName(*load(1)), "first");
  struct stat status = {};
  ASSERT_EQ(stat(kavo::store_folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);  // for the appliance's own account only
}

TEST_F(TaskStoreTest, SavingOverATaskWritesOnlyWhatWasSet) {
  const int id = store("report", "old command", R"({"hour": 3})");
  const TaskPtr made = load(id);
  KAVOSchedCTaskSetApp(made.get(), "KAVO.ZEL.DataAnalysis");
  KAVOSchedCTaskSetAppArgs(made.get(), "{\"kept\":1}");
  KAVOSchedCTaskSetAction(made.get(), "reports");
  KAVOSchedCTaskSetCanEditName(made.get(), 0);
  save(made);
  // A fresh record with basic and schedule only, as a plain edit makes it.
  const TaskPtr edit = new_task();
  ASSERT_TRUE(set_basic(*edit, json(R"({"id": ")" + std::to_string(id) +
                                    R"(", "task_name": "renamed", "enabled": "on"})")));
  ASSERT_TRUE(set_schedule(*edit, json(R"({"hour": 4})")));
  save(edit);
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
  save(one);
  save(other);
  EXPECT_FALSE(KAVOSchedTaskIsEnabled(*load(id)));
  EXPECT_EQ(KAVOSchedTaskGetAction(*load(id)), "changed");
}

TEST_F(TaskStoreTest, NextTriggerTimeFollowsScheduleAndState) {
  const int id = store("daily", "true", R"({"hour": 7, "min": 30, "timezone": "Asia/Kolkata"})");
  EXPECT_EQ(next_of(id), "2026-11-06 07:30");  // it is 17:30 there
  const TaskPtr task = load(id);
  KAVOSchedCTaskSetState(task.get(), 0);
  save(task);
  EXPECT_EQ(KAVOSchedTaskGetNextTriggerTime(*task), "N/A");
  EXPECT_EQ(next_of(id), "N/A");
  // A run that is due is not lost because something else of the task is changed.
  const int due = store("due", "true", R"({"hour": 12, "min": 1})");
  clock_.set(kNoon + 100);
  const TaskPtr renamed = load(due);
  KAVOSchedCTaskSetAction(renamed.get(), "changed");
  save(renamed);
  EXPECT_EQ(next_of(due), "2026-11-05 12:01");
  EXPECT_EQ(next_of(store("past", "true", R"({"type": "date", "date": "2020-01-01"})")), "N/A");
}

TEST_F(TaskStoreTest, WhatIsNotThereFailsWithItsCode) {
  const TaskPtr task = new_task();
  EXPECT_LT(KAVOSchedTaskLoad(99, task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kNoSuchTask));
  EXPECT_STREQ(XLIBCErrorGetFile(), "task_store.cpp");
  EXPECT_GT(XLIBCErrorGetLine(), 0);
  EXPECT_TRUE(KAVOSchedTaskIsNew(*task));

  ASSERT_TRUE(set_basic(*task, json(R"({"id": "99"})")));
  EXPECT_LT(KAVOSchedTaskSave(task.get()), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kNoSuchTask));
  for (const int none : {99, -1}) {
    EXPECT_LT(KAVOSchedTaskRemove(none), 0);
    EXPECT_LT(KAVOSchedTaskRun(none, 0, 0), 0);
  }
  EXPECT_LT(KAVOSchedTaskLoad(-2, task.get()), 0);
  EXPECT_LT(KAVOSchedTaskLoad(1, nullptr), 0);
  EXPECT_EQ(last_error(), static_cast<int>(StoreError::kInvalidArgument));
  _tag_kavo_sched_task_* head = nullptr;
  EXPECT_LT(KAVOSchedTaskListSort(&head, "Name", 1), 0);
}

TEST_F(TaskStoreTest, ListKeepsWhatTheFilterTakesById) {
  for (const char* name : {"a", "b", "c"}) store(name);
  const TaskPtr hidden = load(2);
  KAVOSchedCTaskSetListable(hidden.get(), 0);
  save(hidden);
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
  // Ids go up in this order.
  for (const auto& [name, app_name, action, schedule, state] :
       {std::tuple("beta", "2", "x", R"({"hour": 15})", 1),
        std::tuple("Alpha", "10", "X", R"({"hour": 14})", 0),
        std::tuple("alpha", "2", "y", R"({"hour": 13})", 1),
        std::tuple("gamma", "", "", R"({"type": "date", "date": "2020-01-01"})", 1),
        std::tuple("Beta", "1", "x", R"({"hour": 13})", 1)}) {
    const TaskPtr task = load(store(name, "true", schedule));
    KAVOSchedCTaskSetAppName(task.get(), app_name);
    KAVOSchedCTaskSetAction(task.get(), action);
    KAVOSchedCTaskSetState(task.get(), state);
    save(task);
  }
  for (const auto& [key, ascending, descending] :
       {std::tuple("id", "beta Alpha alpha gamma Beta", "Beta gamma alpha Alpha beta"),
        std::tuple("name", "Alpha alpha Beta beta gamma", "gamma beta Beta alpha Alpha"),
        std::tuple("state", "beta alpha gamma Beta Alpha", "Alpha Beta gamma alpha beta"),
        std::tuple("app name", "gamma Beta Alpha beta alpha", "alpha beta Alpha Beta gamma"),
        std::tuple("action", "gamma Alpha beta Beta alpha", "alpha Beta beta Alpha gamma"),
        std::tuple("next trigger time", "alpha Beta beta Alpha gamma",
                   "gamma Alpha beta Beta alpha")}) {
    EXPECT_EQ(sorted(key, 1), ascending) << key;
    EXPECT_EQ(sorted(key, 0), descending) << key;
  }
}

TEST_F(TaskStoreTest, AnOlderFileIsBroughtUpToDateAndKeepsItsTasks) {
  // A file of version 1, as the first release wrote it: tasks, and no history.
  make_file(R"(
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
      PRAGMA user_version = 1;)");
  EXPECT_EQ(KAVOSchedTaskGetName(*load(7)), "kept");
  EXPECT_EQ(schedule(*load(7))["hour"], 5);
  EXPECT_EQ(store("new"), 8);
  EXPECT_EQ(kavo::claim_by_hand(7), 1);  // recorded in a new table
}

TEST_F(TaskStoreTest, AFileThatCannotBeUsedSaysWhy) {
  const TaskPtr task = new_task();
  const auto error_of_loading = [&] {
    EXPECT_LT(KAVOSchedTaskLoad(1, task.get()), 0);
    std::filesystem::remove(kavo::store_file());
    return static_cast<StoreError>(last_error());
  };
  root_.write("var/lib/kavo/tasks.db", std::string(8192, 'x'));
  EXPECT_EQ(error_of_loading(), StoreError::kCorrupt);
  make_file("PRAGMA user_version = 1000");
  EXPECT_EQ(error_of_loading(), StoreError::kNewer);
  std::filesystem::create_directory(kavo::store_file());
  EXPECT_EQ(error_of_loading(), StoreError::kUnavailable);
}

TEST_F(TaskStoreTest, ATaskWhoseZoneHasVanishedIsStillReadAndCanBeMended) {
  const int id = store("task", "true", R"({"hour": 5})");
  kavo::connection().exec(R"(UPDATE tasks SET schedule = '{"timezone": "Gone/Town", "hour": 6}')");
  const TaskPtr task = load(id);
  Json::Value section = schedule(*task);
  EXPECT_EQ(section["timezone"], "Gone/Town");
  EXPECT_FALSE(set_schedule(*task, section));
  section["timezone"] = "Europe/Berlin";
  EXPECT_TRUE(set_schedule(*task, section));
  save(task);
  EXPECT_EQ(next_of(id), "2026-11-06 06:00");
}

}  // namespace
