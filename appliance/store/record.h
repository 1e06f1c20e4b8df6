// One task in memory, and which of its properties were set.
#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "store/failure.h"

namespace kavo {

// The properties of a task. A default-constructed one is blank: a task that is not stored, shows up
// in the list and behaves.
struct Task {
  int id = -1;
  std::string name;
  std::string owner = "root";
  std::string app;
  std::string app_name;
  std::string app_args;
  std::string action;
  std::string command;
  std::string edit_form;
  bool enabled = true;
  bool simple_edit_form = false;
  bool can_edit_name = true;
  bool can_edit_owner = false;
  bool can_run_app_same_time = true;
  bool can_run_task_same_time = false;
  bool listable = true;
  bool can_run_from_ui = true;
  bool can_edit_from_ui = true;
  bool can_delete_from_ui = true;
  std::string schedule = "{}";           // the section as compact JSON; {}: every day at 00:00
  std::optional<std::int64_t> next_run;  // UTC seconds; none: disabled, or never again
};

// The columns of a task, in the order of the table's; a property's number is its place here.
struct TextColumn {
  const char* name;
  std::string Task::*member;
  std::size_t max_bytes;
};
struct FlagColumn {
  const char* name;
  bool Task::*member;
};

inline constexpr std::size_t kMaxNameBytes = 255;
inline constexpr std::size_t kMaxTextBytes = 1 << 20;
// A command is one argument of the shell, and the system takes no longer one.
inline constexpr std::size_t kMaxCommandBytes = (128 << 10) - 1;

inline constexpr std::array kTextColumns = {
    TextColumn{"name", &Task::name, kMaxNameBytes},
    TextColumn{"owner", &Task::owner, kMaxNameBytes},
    TextColumn{"app", &Task::app, kMaxNameBytes},
    TextColumn{"app_name", &Task::app_name, kMaxNameBytes},
    TextColumn{"app_args", &Task::app_args, kMaxTextBytes},
    TextColumn{"action", &Task::action, kMaxTextBytes},
    TextColumn{"command", &Task::command, kMaxCommandBytes},
    TextColumn{"edit_form", &Task::edit_form, kMaxNameBytes},
    TextColumn{"schedule", &Task::schedule, kMaxTextBytes},
};
inline constexpr std::array kFlagColumns = {
    FlagColumn{"enabled", &Task::enabled},
    FlagColumn{"simple_edit_form", &Task::simple_edit_form},
    FlagColumn{"can_edit_name", &Task::can_edit_name},
    FlagColumn{"can_edit_owner", &Task::can_edit_owner},
    FlagColumn{"can_run_app_same_time", &Task::can_run_app_same_time},
    FlagColumn{"can_run_task_same_time", &Task::can_run_task_same_time},
    FlagColumn{"listable", &Task::listable},
    FlagColumn{"can_run_from_ui", &Task::can_run_from_ui},
    FlagColumn{"can_edit_from_ui", &Task::can_edit_from_ui},
    FlagColumn{"can_delete_from_ui", &Task::can_delete_from_ui},
};

// A task, and the properties that were set on it since it was allocated or loaded.
class TaskRecord {
 public:
  const Task& task() const { return task_; }
  const std::optional<StoreFailure>& refusal() const { return refusal_; }

  // Replaces every property; none counts as set, and a refusal is forgotten.
  void load(Task task) { *this = TaskRecord(std::move(task)); }
  // What a save has found out.
  void saved(int id, std::optional<std::int64_t> next_run) {
    task_.id = id;
    task_.next_run = next_run;
  }
  void set_id(int id) { task_.id = id; }

  // Sets one property. A text that cannot be stored throws StoreFailure and changes nothing.
  void set(std::string Task::*member, const std::string& value);
  void set(bool Task::*member, bool value);
  // The record cannot be saved until it is loaded again.
  void refuse(const StoreFailure& refusal) { refusal_ = refusal; }

  // Copies the properties that were set over those of `stored`.
  void apply_to(Task& stored) const;

  TaskRecord() = default;

 private:
  explicit TaskRecord(Task task) : task_(std::move(task)) {}

  Task task_;
  std::bitset<kTextColumns.size()> texts_set_;
  std::bitset<kFlagColumns.size()> flags_set_;
  std::optional<StoreFailure> refusal_;
};

}  // namespace kavo
