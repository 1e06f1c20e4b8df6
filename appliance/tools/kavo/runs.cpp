#include <chrono>
#include <iostream>
#include <thread>

#include "base/clock.h"
#include "store/failure.h"
#include "store/run_lock.h"
#include "store/run_start.h"
#include "store/run_store.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/json_output.h"
#include "tools/kavo/table.h"

namespace kavo {
namespace {

// How a run stands: "ok", "exit code 3", "signal 9", "refused: why", or "running".
std::string outcome(const Run& run) {
  if (!run.ended) {
    return "running";
  }
  std::string text = run.result;
  if (run.code && run.result != result::kOk) {
    text += " " + std::to_string(*run.code);
  }
  if (!run.note.empty()) {
    text += ": " + run.note;
  }
  return text;
}

Json::Value run_json(const Run& run) {
  Json::Value json;
  json["run"] = Json::Int64(run.id);
  json["task"] = run.task_id;
  json["task_name"] = run.task_name;
  json["owner"] = run.owner;
  json["command"] = run.command;
  json["cause"] = run.cause;
  json["due"] = run.due ? Json::Value(Json::Int64(*run.due)) : Json::Value();
  json["started"] = Json::Int64(run.started);
  json["ended"] = run.ended ? Json::Value(Json::Int64(*run.ended)) : Json::Value();
  json["result"] = run.ended ? Json::Value(run.result) : Json::Value();
  json["code"] = run.code ? Json::Value(*run.code) : Json::Value();
  json["note"] = run.note;
  return json;
}

// Waits for the end of a run. Throws when its runner is gone without having recorded one.
Run wait_for_end(std::int64_t id) {
  for (;;) {
    // The lock is asked for before the record: a runner writes first and lets go then.
    const bool running = RunLock::is_held(id);
    Run run = load_run(id);
    if (run.ended) {
      return run;
    }
    if (!running) {
      throw StoreFailure(StoreError::kNoSuchRun,
                         "The runner of run " + std::to_string(id) + " was interrupted.");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

}  // namespace

int run_task(int id, bool wait, bool json) {
  const std::int64_t run_id = start_run(id);
  if (!wait) {
    if (json) {
      print_json(run_json(load_run(run_id)));
    } else {
      std::cout << "Run " << run_id << " of task " << id << " was started.\n";
    }
    return 0;
  }
  const Run run = wait_for_end(run_id);
  if (json) {
    Json::Value value = run_json(run);
    value["output"] = run_output(run_id);
    print_json(value);
  } else {
    std::cout << "Run " << run_id << " of task " << id << ": " << printable(outcome(run)) << '\n'
              << run_output(run_id);
  }
  return run.result == result::kOk ? 0 : 1;
}

int show_history(std::optional<int> task_id, int limit, bool json) {
  Json::Value runs(Json::arrayValue);
  std::vector<std::vector<std::string>> rows = {
      {"RUN", "TASK", "NAME", "WHY", "STARTED", "SECONDS", "RESULT"}};
  for (const Run& run : latest_runs(task_id, limit)) {
    runs.append(run_json(run));
    rows.push_back({std::to_string(run.id), std::to_string(run.task_id), run.task_name, run.cause,
                    local_time(run.started),
                    std::to_string(run.ended.value_or(Clock::now()) - run.started), outcome(run)});
  }
  if (json) {
    print_json(runs);
  } else {
    print_table(rows);
  }
  return 0;
}

int show_output(std::int64_t run_id) {
  std::cout << run_output(run_id);
  return 0;
}

}  // namespace kavo
