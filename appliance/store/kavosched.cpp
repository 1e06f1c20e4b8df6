// The task store's operations as the platform declares them: over the store's own functions, with
// their failures turned into results and the error state.

#include <kavosched.h>
#include <syslog.h>
#include <xlibc.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <new>
#include <vector>

#include "store/converters.h"
#include "store/platform_task.h"
#include "store/run_start.h"
#include "store/sort.h"
#include "store/task_store.h"

using kavo::SourcePlace;
using kavo::StoreError;
using kavo::StoreFailure;
using kavo::Task;

namespace {

void report(const StoreFailure& failure) {
  const SourcePlace place = failure.place();
  const char* slash = strrchr(place.file, '/');
  const char* file = slash == nullptr ? place.file : slash + 1;
  syslog(LOG_ERR, "%s:%d %s", file, place.line, failure.what());
  XLIBCErrSetEx(static_cast<int>(failure.code()), file, place.line);
}

// True when `operation` went through; reports its failure otherwise.
template <typename Operation>
bool succeeds(Operation operation) {
  try {
    operation();
    return true;
  } catch (const StoreFailure& failure) {
    report(failure);
  } catch (const std::bad_alloc&) {
    report(StoreFailure(StoreError::kMemory, "Memory is short."));
  } catch (const std::exception& error) {
    report(StoreFailure(StoreError::kUnavailable, error.what()));
  }
  return false;
}

template <typename Operation>
int result_of(Operation operation) {
  return succeeds(operation) ? 0 : -1;
}

void require(bool condition) {
  if (!condition) {
    throw StoreFailure(StoreError::kInvalidArgument, "An argument is null or out of range.");
  }
}

int set_text(_tag_kavo_sched_task_* task, std::string Task::*member, const char* value) {
  return result_of([&] {
    require(task != nullptr);
    try {
      require(value != nullptr);
      task->record().set(member, value);
    } catch (const StoreFailure& failure) {
      task->record().refuse(failure);
      throw;
    }
  });
}

int set_flag(_tag_kavo_sched_task_* task, bool Task::*member, int value) {
  return result_of([&] {
    require(task != nullptr);
    task->record().set(member, value != 0);
  });
}

// The properties of a record. A listed one that can no longer be read is no blank one: its failure
// goes on to the caller.
const Task& read(const _tag_kavo_sched_task_& task) {
  try {
    return task.record().task();
  } catch (const StoreFailure& failure) {
    report(failure);
    throw;
  }
}

}  // namespace

// --- Records -----------------------------------------------------------------------------------

_tag_kavo_sched_task_* KAVOSchedTaskAlloc() {
  _tag_kavo_sched_task_* task = nullptr;
  succeeds([&] { task = new _tag_kavo_sched_task_; });
  return task;
}

void KAVOSchedTaskFree(_tag_kavo_sched_task_* task) {
  delete task;
}

int KAVOSchedTaskLoad(int id, _tag_kavo_sched_task_* task) {
  return result_of([&] {
    require(task != nullptr);
    task->load(kavo::load_task(id));
  });
}

int KAVOSchedTaskSave(_tag_kavo_sched_task_* task) {
  return result_of([&] {
    require(task != nullptr);
    kavo::save_task(task->record());
  });
}

int KAVOSchedTaskRun(int id, int reserved1, int reserved2) {
  return result_of([&] {
    require(reserved1 == 0 && reserved2 == 0);
    kavo::start_run(id);
  });
}

int KAVOSchedTaskRemove(int id) {
  return result_of([&] { kavo::remove_task(id); });
}

// --- Lists -------------------------------------------------------------------------------------

int KAVOSchedTaskListGet(_tag_kavo_sched_task_** head,
                         bool (*filter)(const _tag_kavo_sched_task_* task)) {
  _tag_kavo_sched_task_* first = nullptr;
  _tag_kavo_sched_task_** end = &first;
  int count = 0;
  const bool done = succeeds([&] {
    require(head != nullptr && filter != nullptr);
    const auto snapshot = std::make_shared<const kavo::TaskSnapshot>();
    for (const kavo::TaskSummary& summary : snapshot->summaries()) {
      auto candidate = std::make_unique<_tag_kavo_sched_task_>(summary, snapshot);
      if (filter(candidate.get())) {
        *end = candidate.release();
        end = &(*end)->next;
        ++count;
      }
    }
  });
  if (!done) {
    KAVOSchedTaskListFree(&first);
    return -1;
  }
  *head = first;
  return count;
}

int KAVOSchedTaskListSort(_tag_kavo_sched_task_** head, const char* key, int ascending) {
  return result_of([&] {
    require(head != nullptr && key != nullptr);
    std::vector<_tag_kavo_sched_task_*> tasks;
    for (auto task = *head; task != nullptr; task = task->next) {
      tasks.push_back(task);
    }
    kavo::sort_tasks(tasks, key);
    if (ascending == 0) {
      std::reverse(tasks.begin(), tasks.end());
    }
    _tag_kavo_sched_task_* rest = nullptr;
    for (auto task = tasks.rbegin(); task != tasks.rend(); ++task) {
      (*task)->next = rest;
      rest = *task;
    }
    *head = rest;
  });
}

_tag_kavo_sched_task_* KAVOSchedTaskNext(const _tag_kavo_sched_task_* task) {
  return task == nullptr ? nullptr : task->next;
}

void KAVOSchedTaskListFree(_tag_kavo_sched_task_** head) {
  while (head != nullptr && *head != nullptr) {
    _tag_kavo_sched_task_* first = *head;
    *head = first->next;
    delete first;
  }
}

// --- JSON documents ----------------------------------------------------------------------------

bool KAVOSchedTaskConvertToJson_Basic(const _tag_kavo_sched_task_& task, Json::Value& doc) {
  return succeeds([&] { doc["basic"] = kavo::basic_section(task.record().task()); });
}

bool KAVOSchedTaskConvertToJson_Schedule(const _tag_kavo_sched_task_& task, Json::Value& doc) {
  return succeeds([&] { doc["schedule"] = kavo::schedule_section(task.record().task()); });
}

bool KAVOSchedTaskConvertFromJson_Basic(const Json::Value& doc, _tag_kavo_sched_task_& task) {
  return succeeds([&] { kavo::set_basic(doc, task.record()); });
}

bool KAVOSchedTaskConvertFromJson_Schedule(const Json::Value& doc, _tag_kavo_sched_task_& task) {
  return succeeds([&] { kavo::set_schedule(doc, task.record()); });
}

// --- Getters -----------------------------------------------------------------------------------

int KAVOSchedTaskGetID(const _tag_kavo_sched_task_& task) {
  return task.summary().id;
}

std::string KAVOSchedTaskGetName(const _tag_kavo_sched_task_& task) {
  return read(task).name;
}

std::string KAVOSchedTaskGetApp(const _tag_kavo_sched_task_& task) {
  return read(task).app;
}

std::string KAVOSchedTaskGetAppName(const _tag_kavo_sched_task_& task) {
  return read(task).app_name;
}

std::string KAVOSchedTaskGetAppArgs(const _tag_kavo_sched_task_& task) {
  return read(task).app_args;
}

std::string KAVOSchedTaskGetAction(const _tag_kavo_sched_task_& task) {
  return read(task).action;
}

std::string KAVOSchedTaskGetNextTriggerTime(const _tag_kavo_sched_task_& task) {
  std::string text = "N/A";
  succeeds([&] {
    if (task.summary().next_run) {
      text = kavo::next_trigger_time(task.record().task());
    }
  });
  return text;
}

bool KAVOSchedTaskIsNew(const _tag_kavo_sched_task_& task) {
  return task.summary().id == -1;
}

bool KAVOSchedTaskIsEnabled(const _tag_kavo_sched_task_& task) {
  return task.summary().enabled;
}

bool KAVOSchedTaskIsListable(const _tag_kavo_sched_task_& task) {
  return task.summary().listable;
}

bool KAVOSchedTaskIsCanRunFromUI(const _tag_kavo_sched_task_& task) {
  return read(task).can_run_from_ui;
}

bool KAVOSchedTaskIsCanEditFromUI(const _tag_kavo_sched_task_& task) {
  return read(task).can_edit_from_ui;
}

bool KAVOSchedTaskIsCanDeleteFromUI(const _tag_kavo_sched_task_& task) {
  return read(task).can_delete_from_ui;
}

// --- Setters -----------------------------------------------------------------------------------

int KAVOSchedCTaskSetApp(_tag_kavo_sched_task_* task, const char* app_namespace) {
  return set_text(task, &Task::app, app_namespace);
}

int KAVOSchedCTaskSetAppName(_tag_kavo_sched_task_* task, const char* name) {
  return set_text(task, &Task::app_name, name);
}

int KAVOSchedCTaskSetAppArgs(_tag_kavo_sched_task_* task, const char* arguments) {
  return set_text(task, &Task::app_args, arguments);
}

int KAVOSchedCTaskSetAction(_tag_kavo_sched_task_* task, const char* action) {
  return set_text(task, &Task::action, action);
}

int KAVOSchedCTaskSetCommand(_tag_kavo_sched_task_* task, const char* command) {
  return set_text(task, &Task::command, command);
}

int KAVOSchedCTaskSetEditForm(_tag_kavo_sched_task_* task, const char* form) {
  return set_text(task, &Task::edit_form, form);
}

int KAVOSchedCTaskSetSimpleEditForm(_tag_kavo_sched_task_* task, int simple) {
  return set_flag(task, &Task::simple_edit_form, simple);
}

int KAVOSchedCTaskSetCanEditName(_tag_kavo_sched_task_* task, int can) {
  return set_flag(task, &Task::can_edit_name, can);
}

int KAVOSchedCTaskSetCanEditOwner(_tag_kavo_sched_task_* task, int can) {
  return set_flag(task, &Task::can_edit_owner, can);
}

int KAVOSchedCTaskSetCanRunAppSameTime(_tag_kavo_sched_task_* task, int can) {
  return set_flag(task, &Task::can_run_app_same_time, can);
}

int KAVOSchedCTaskSetCanRunTaskSameTime(_tag_kavo_sched_task_* task, int can) {
  return set_flag(task, &Task::can_run_task_same_time, can);
}

int KAVOSchedCTaskSetListable(_tag_kavo_sched_task_* task, int listable) {
  return set_flag(task, &Task::listable, listable);
}

int KAVOSchedCTaskSetState(_tag_kavo_sched_task_* task, int enabled) {
  return set_flag(task, &Task::enabled, enabled);
}
