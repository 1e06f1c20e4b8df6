#include <pwd.h>

#include <algorithm>
#include <iostream>

#include "base/clock.h"
#include "crontab/crontab.h"
#include "store/json_text.h"
#include "store/task_store.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/input.h"
#include "tools/kavo/schedule_words.h"
#include "tools/kavo/table.h"

namespace kavo {
namespace {

constexpr std::size_t kMaxCrontabBytes = 16 << 20;
constexpr std::size_t kNameCharacters = 60;

bool user_exists(const std::string& user) {
  return getpwnam(user.c_str()) != nullptr;
}

// The beginning of a command, up to a number of characters.
std::string name_of(const std::string& command) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < command.size(); ++i) {
    const bool starts_character = (static_cast<unsigned char>(command[i]) & 0xC0) != 0x80;
    if (starts_character && ++characters > kNameCharacters) {
      return command.substr(0, i) + "...";
    }
  }
  return command;
}

// A task as the desktop makes it of a command line, so that its form can edit it later; but a cron
// starts a command also while the last one still runs.
TaskRecord task_of(const CrontabEntry& entry) {
  Json::Value arguments;
  arguments["script"] = entry.command_line;
  TaskRecord record;
  record.set(&Task::name, name_of(entry.command));
  record.set(&Task::owner, entry.owner);
  record.set(&Task::schedule, compact_text(print_schedule(entry.schedule)));
  record.set(&Task::command, entry.command_line);
  record.set(&Task::app, "KAVO.ZEL.TaskScheduler.Script");
  record.set(&Task::app_name, "#common:command_line#");
  record.set(&Task::app_args, compact_text(arguments));
  record.set(&Task::action, "#common:run#: " + entry.command_line);
  record.set(&Task::edit_form, "KAVO.ZEL.TaskScheduler.Script.FormPanel");
  record.set(&Task::simple_edit_form, true);
  record.set(&Task::can_edit_owner, true);
  record.set(&Task::can_run_task_same_time, true);
  return record;
}

// The entries' records. An entry that the store would refuse is left out as well.
std::vector<TaskRecord> take_records(TranslatedCrontab& crontab) {
  std::vector<TaskRecord> records;
  std::vector<CrontabEntry> taken;
  for (CrontabEntry& entry : crontab.entries) {
    try {
      records.push_back(task_of(entry));
      taken.push_back(std::move(entry));
    } catch (const StoreFailure& refusal) {
      crontab.left_out.push_back({entry.line, refusal.what()});
    }
  }
  crontab.entries = std::move(taken);
  std::sort(crontab.left_out.begin(), crontab.left_out.end(),
            [](const LeftOutLine& a, const LeftOutLine& b) { return a.line < b.line; });
  return records;
}

void print_entries(const TranslatedCrontab& crontab, const std::vector<TaskRecord>& records) {
  std::vector<std::vector<std::string>> rows = {{"LINE", "ID", "OWNER", "SCHEDULE", "COMMAND"}};
  for (std::size_t i = 0; i < records.size(); ++i) {
    const CrontabEntry& entry = crontab.entries[i];
    const int id = records[i].task().id;
    rows.push_back({std::to_string(entry.line), id == -1 ? "-" : std::to_string(id), entry.owner,
                    schedule_words(entry.schedule), entry.command_line});
  }
  print_table(rows);
}

}  // namespace

int import_crontab(const std::string& file, const std::optional<std::string>& owner, bool dry_run) {
  if (owner && !user_exists(*owner)) {
    throw UsageError("There is no user \"" + *owner + "\".");
  }
  TranslatedCrontab crontab =
      translate_crontab(read_input(file, kMaxCrontabBytes), {owner, user_exists}, Clock::now());
  std::vector<TaskRecord> records = take_records(crontab);
  if (!dry_run && !records.empty()) {
    insert_tasks(records);
  }
  print_entries(crontab, records);
  for (const LeftOutLine& left_out : crontab.left_out) {
    std::cerr << "kavo: line " << left_out.line << " is left out: " << printable(left_out.reason)
              << '\n';
  }
  return crontab.left_out.empty() ? 0 : 1;
}

}  // namespace kavo
