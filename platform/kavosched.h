// The task store of the scheduler library.
//
// Integer results are negative on failure, zero or positive on success; boolean results are true on
// success. A failure leaves code, file and line in the base library's error state (xlibc.h) and
// writes its cause to the system log. Operations may throw std::bad_alloc where they return or fill
// values of the C++ library; otherwise nothing throws but the getters of a listed record (below).
//
// Every operation is safe on its own when several threads and processes work on the store at once.
// A record or a list belongs to its caller and is used by one thread at a time.
#pragma once

#include <json/value.h>

#include <string>

#pragma GCC visibility push(default)

// One task, in memory. Opaque: only the operations below look inside.
struct _tag_kavo_sched_task_;

// --- Records -----------------------------------------------------------------------------------

// A new blank record, to be released with KAVOSchedTaskFree; null when memory is short. Blank:
// id -1, enabled, listable, may be run, edited and deleted from the UI, name and owner editing yes
// and no, runs of the app may overlap, runs of the task may not, owner "root", all texts empty,
// every day at 00:00.
_tag_kavo_sched_task_* KAVOSchedTaskAlloc();

// Releases a record; null is allowed.
void KAVOSchedTaskFree(_tag_kavo_sched_task_* task);

// Replaces every field of `task` by those of the stored task `id`; -1 gives a blank record. Fails
// for an id that is not stored; the record is then unchanged.
int KAVOSchedTaskLoad(int id, _tag_kavo_sched_task_* task);

// Stores the record in one transaction and returns 0. A record with id -1 becomes a new task and
// gets its id. Otherwise the stored task of that id takes over the properties that were set on the
// record since it was allocated or loaded, and keeps its others; an id that is not stored fails.
// Fails, too, when a setter was given a value that cannot be stored.
int KAVOSchedTaskSave(_tag_kavo_sched_task_* task);

// Starts the stored task `id` now and returns when its run is recorded and the scheduler told; it
// does not wait for the end. Both further arguments are reserved and must be 0. Fails when the task
// is not stored, or is running and its runs may not overlap, or no scheduler is listening.
int KAVOSchedTaskRun(int id, int reserved1, int reserved2);

// Deletes the stored task `id`; its history stays. Fails for an id that is not stored.
int KAVOSchedTaskRemove(int id);

// --- Lists -------------------------------------------------------------------------------------

// A list is one state of the store, whatever is written while it is kept. It holds what sorting
// needs; a record is read when more is asked of it. Where that fails, the getter throws a
// std::runtime_error, with the error state set and the cause in the system log. A list is not kept
// for long (the store cannot reuse space meanwhile) nor used in a child process.

// Fetches the tasks for which `filter` is true, by ascending id, and sets `*head` to the first
// (null when there is none); the caller frees it with KAVOSchedTaskListFree. Returns their number.
// On failure `*head` is unchanged.
int KAVOSchedTaskListGet(_tag_kavo_sched_task_** head,
                         bool (*filter)(const _tag_kavo_sched_task_* task));

// Reorders the list by `key`: "state", "id", "app name", "name", "action" or "next trigger time".
// Ids and times compare by value, texts without regard to the case of ASCII letters and then by
// bytes, states on before off; a task without a next time comes after all that have one; ties are
// ordered by id. `ascending` 0 gives the exact reverse. An unknown key fails and changes nothing.
int KAVOSchedTaskListSort(_tag_kavo_sched_task_** head, const char* key, int ascending);

// The record after `task` in its list, or null after the last.
_tag_kavo_sched_task_* KAVOSchedTaskNext(const _tag_kavo_sched_task_* task);

// Frees every record of the list and sets `*head` to null.
void KAVOSchedTaskListFree(_tag_kavo_sched_task_** head);

// --- JSON documents ----------------------------------------------------------------------------
// Each converter is given the whole task document and works on its own section of it.

// Writes doc["basic"]: "id" (integer), "task_name", "owner", "enabled" ("on" or "off"), "app",
// "action", "can_edit_name".
bool KAVOSchedTaskConvertToJson_Basic(const _tag_kavo_sched_task_& task, Json::Value& doc);

// Writes doc["schedule"]: every member of a schedule, the members that were stored along with it,
// and the answered-only ones ("repeat_min_store_config", "repeat_hour_store_config",
// "next_trigger_time").
bool KAVOSchedTaskConvertToJson_Schedule(const _tag_kavo_sched_task_& task, Json::Value& doc);

// Sets the record's id, name, owner and enabled flag from doc["basic"]; a null or missing member
// sets the default, an "id" of "-1" or none makes the record a new task. Input that cannot be
// stored is refused as a whole: false, and the record unchanged.
bool KAVOSchedTaskConvertFromJson_Basic(const Json::Value& doc, _tag_kavo_sched_task_& task);

// Sets the record's schedule from doc["schedule"]; as above.
bool KAVOSchedTaskConvertFromJson_Schedule(const Json::Value& doc, _tag_kavo_sched_task_& task);

// --- Getters -----------------------------------------------------------------------------------

int KAVOSchedTaskGetID(const _tag_kavo_sched_task_& task);
std::string KAVOSchedTaskGetName(const _tag_kavo_sched_task_& task);
std::string KAVOSchedTaskGetApp(const _tag_kavo_sched_task_& task);
std::string KAVOSchedTaskGetAppName(const _tag_kavo_sched_task_& task);
std::string KAVOSchedTaskGetAppArgs(const _tag_kavo_sched_task_& task);
std::string KAVOSchedTaskGetAction(const _tag_kavo_sched_task_& task);
// "YYYY-MM-DD HH:MM" in the task's time zone; "N/A" when it is disabled or never due again.
std::string KAVOSchedTaskGetNextTriggerTime(const _tag_kavo_sched_task_& task);
// True for a record that stands for a task not yet stored.
bool KAVOSchedTaskIsNew(const _tag_kavo_sched_task_& task);
bool KAVOSchedTaskIsEnabled(const _tag_kavo_sched_task_& task);
bool KAVOSchedTaskIsListable(const _tag_kavo_sched_task_& task);
bool KAVOSchedTaskIsCanRunFromUI(const _tag_kavo_sched_task_& task);
bool KAVOSchedTaskIsCanEditFromUI(const _tag_kavo_sched_task_& task);
bool KAVOSchedTaskIsCanDeleteFromUI(const _tag_kavo_sched_task_& task);

// --- Setters -----------------------------------------------------------------------------------
// Each returns 0, or -1 when the value cannot be stored (text that is null, not UTF-8 or too long;
// arguments nested too deeply to be read back). The property then keeps its value, and the record
// can no longer be saved until it is loaded again.

int KAVOSchedCTaskSetApp(_tag_kavo_sched_task_* task, const char* app_namespace);
int KAVOSchedCTaskSetAppName(_tag_kavo_sched_task_* task, const char* name);
int KAVOSchedCTaskSetAppArgs(_tag_kavo_sched_task_* task, const char* arguments);
int KAVOSchedCTaskSetAction(_tag_kavo_sched_task_* task, const char* action);
int KAVOSchedCTaskSetCommand(_tag_kavo_sched_task_* task, const char* command);
int KAVOSchedCTaskSetEditForm(_tag_kavo_sched_task_* task, const char* form);
int KAVOSchedCTaskSetSimpleEditForm(_tag_kavo_sched_task_* task, int simple);
int KAVOSchedCTaskSetCanEditName(_tag_kavo_sched_task_* task, int can);
int KAVOSchedCTaskSetCanEditOwner(_tag_kavo_sched_task_* task, int can);
int KAVOSchedCTaskSetCanRunAppSameTime(_tag_kavo_sched_task_* task, int can);
int KAVOSchedCTaskSetCanRunTaskSameTime(_tag_kavo_sched_task_* task, int can);
int KAVOSchedCTaskSetListable(_tag_kavo_sched_task_* task, int listable);
int KAVOSchedCTaskSetState(_tag_kavo_sched_task_* task, int enabled);

#pragma GCC visibility pop
