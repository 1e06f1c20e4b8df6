// A list is one state of the store, although its records are read when they are asked for.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <thread>

#include "store/database.h"
#include "store_fixture.h"

namespace {

using Names = std::vector<std::string>;

bool everything(const _tag_kavo_sched_task_*) {
  return true;
}

class ListSnapshotTest : public StoreTest {
 protected:
  struct FreeList {
    void operator()(_tag_kavo_sched_task_* head) const { KAVOSchedTaskListFree(&head); }
  };
  using List = std::unique_ptr<_tag_kavo_sched_task_, FreeList>;

  static List list(bool (*filter)(const _tag_kavo_sched_task_*) = everything) {
    _tag_kavo_sched_task_* head = nullptr;
    EXPECT_GE(KAVOSchedTaskListGet(&head, filter), 0);
    return List(head);
  }
  static void sort(List& list, const char* key) {
    _tag_kavo_sched_task_* head = list.release();
    EXPECT_EQ(KAVOSchedTaskListSort(&head, key, 1), 0);
    list.reset(head);
  }
  static Names names(const List& list) {
    Names names;
    for (const auto* task = list.get(); task != nullptr; task = KAVOSchedTaskNext(task)) {
      names.push_back(KAVOSchedTaskGetName(*task));
    }
    return names;
  }
  static void rename(int id, const std::string& name) {
    Json::Value doc;
    doc["basic"]["id"] = id;
    doc["basic"]["task_name"] = name;
    const TaskPtr task = new_task();
    ASSERT_TRUE(KAVOSchedTaskConvertFromJson_Basic(doc, *task));
    ASSERT_EQ(KAVOSchedTaskSave(task.get()), 0);
  }
};

TEST_F(ListSnapshotTest, WhatIsWrittenMeanwhileDoesNotShow) {
  const int b = store("b");
  const int c = store("c");
  const int a = store("a");
  List before = list();
  rename(b, "z");
  EXPECT_EQ(KAVOSchedTaskRemove(c), 0);
  std::thread([&] { rename(a, "y"); }).join();
  const List after = list();

  EXPECT_EQ(KAVOSchedTaskGetName(*KAVOSchedTaskNext(before.get())), "c");  // read before sorting
  sort(before, "name");
  EXPECT_EQ(names(before), (Names{"a", "b", "c"}));
  EXPECT_EQ(names(after), (Names{"z", "y"}));
  before.reset();
  EXPECT_EQ(names(list()), (Names{"z", "y"}));
}

TEST_F(ListSnapshotTest, ARecordThatIsSavedKeepsWhatOthersHaveChanged) {
  const int id = store("old", "old command");
  const List listed = list();
  rename(id, "new");
  KAVOSchedCTaskSetAction(listed.get(), "does more");
  ASSERT_EQ(KAVOSchedTaskSave(listed.get()), 0);
  EXPECT_EQ(KAVOSchedTaskGetName(*listed), "old");
  EXPECT_EQ(basic(*load(id))["task_name"], "new");
  EXPECT_EQ(basic(*load(id))["action"], "does more");
}

TEST_F(ListSnapshotTest, RecordsThatAreReadSortAmongThoseThatAreNot) {
  store("b");
  store("none of them");
  store("a");
  store("c");
  List listed = list([](const _tag_kavo_sched_task_* task) {
    return KAVOSchedTaskGetID(*task) > 3 || KAVOSchedTaskGetName(*task).size() == 1;
  });
  // What was set on a record counts, too.
  KAVOSchedCTaskSetState(KAVOSchedTaskNext(listed.get()), 0);
  sort(listed, "name");
  EXPECT_EQ(names(listed), (Names{"a", "b", "c"}));
  sort(listed, "state");
  EXPECT_EQ(names(listed), (Names{"b", "c", "a"}));
  EXPECT_EQ(KAVOSchedTaskLoad(1, listed.get()), 0);
  EXPECT_EQ(names(listed), (Names{"b", "c", "a"}));
}

TEST_F(ListSnapshotTest, OutlivesTheThreadThatMadeIt) {
  store("a");
  List listed;
  std::thread([&] { listed = list(); }).join();
  EXPECT_EQ(names(listed), (Names{"a"}));
  std::thread([&] { listed.reset(); }).join();
  EXPECT_EQ(names(list()), (Names{"a"}));
}

TEST_F(ListSnapshotTest, IsNotReadOnInAChildProcess) {
  store("a");
  List listed = list();
  const pid_t child = fork();
  if (child == 0) {
    bool refused = false;
    try {
      KAVOSchedTaskGetName(*listed);
    } catch (const std::runtime_error&) {
      refused = true;
    }
    listed.reset();
    _exit(refused && names(list()) == Names{"a"} ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(names(listed), (Names{"a"}));
}

TEST_F(ListSnapshotTest, ARecordThatCannotBeReadIsAFailureAndNoBlankTask) {
  // In a thread, so that nothing of the file is kept in this one's memory.
  std::thread([&] {
    store("a");
    kavo::connection().exec("PRAGMA wal_checkpoint(TRUNCATE)");
  }).join();
  const List listed = list();
  const auto file = root_.path() / "var/lib/kavo/tasks.db";
  const int root_page =
      kavo::connection().execAndGet("SELECT rootpage FROM sqlite_schema WHERE name = 'tasks'");
  const std::string garbage(4096, 'x');
  std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
      .seekp((root_page - 1) * 4096)
      .write(garbage.data(), static_cast<std::streamsize>(garbage.size()));

  EXPECT_TRUE(KAVOSchedTaskIsListable(*listed));
  EXPECT_THROW(KAVOSchedTaskGetName(*listed), std::runtime_error);
  EXPECT_EQ(last_error(), static_cast<int>(kavo::StoreError::kCorrupt));
  Json::Value doc;
  EXPECT_FALSE(KAVOSchedTaskConvertToJson_Basic(*listed, doc));
  _tag_kavo_sched_task_* head = listed.get();
  EXPECT_LT(KAVOSchedTaskListSort(&head, "action", 1), 0);
  EXPECT_EQ(head, listed.get());
}

}  // namespace
