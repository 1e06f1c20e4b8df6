#include <chrono>
#include <iostream>
#include <thread>

#include "base/clock.h"
#include "store/failure.h"
#include "store/run_lock.h"
#include "store/run_queue.h"
#include "store/run_start.h"
#include "store/run_store.h"
#include "store/wake_up.h"
#include "tools/kavo/commands.h"
#include "tools/kavo/json_output.h"
#include "tools/kavo/table.h"

namespace kavo {
namespace {

// How a run stands: "ok", "exit code 3", "signal 9", "refused: why", "running" or "waiting".
std::string outcome(const Run& run) {
  if (!run.ended) {
    return run.started ? "running" : "waiting";
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

Json::Value moment_json(std::optional<std::int64_t> moment) {
  return moment ? Json::Value(Json::Int64(*moment)) : Json::Value();
}

Json::Value run_json(const Run& run) {
  Json::Value json;
  json["run"] = Json::Int64(run.id);
  json["task"] = run.task_id;
  json["task_name"] = run.task_name;
  json["owner"] = run.owner;
  json["command"] = run.command;
  json["cause"] = run.cause;
  json["due"] = moment_json(run.due);
  json["started"] = moment_json(run.started);
  json["ended"] = moment_json(run.ended);
  json["result"] = run.ended ? Json::Value(run.result) : Json::Value();
  json["code"] = run.code ? Json::Value(*run.code) : Json::Value();
  json["note"] = run.note;
  return json;
}

// The run as it stands now. Throws when it can no longer get any further: it waits, or its runner
// died, and there is no scheduler to see to that.
Run look_at(std::int64_t id) {
  Run run = load_run(id);
  if (run.ended || (run.started && RunLock::is_held(id))) {
    return run;
  }
  run = load_run(id);  // a runner writes the end first and lets the lock go then
  if (!run.ended) {
    const SchedulerLine line;
  }
  return run;
}

Run wait_for_end(std::int64_t id) {
  for (;;) {
    Run run = look_at(id);
    if (run.ended) {
      return run;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

// "0" or more; a dash for a run that was not started.
std::string seconds_of(const Run& run) {
  return run.started ? std::to_string(run.ended.value_or(Clock::now()) - *run.started) : "-";
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
                    run.started ? local_time(*run.started) : "-", seconds_of(run), outcome(run)});
  }
  if (json) {
    print_json(runs);
  } else {
    print_table(rows);
  }
  return 0;
}

int show_output(std::int64_t run_id, bool follow) {
  std::string output = run_output(run_id);
  std::cout << output;
  if (!follow) {
    return 0;
  }
  std::size_t shown = output.size();
  for (bool ended = false; !ended && std::cout.flush();) {
    ended = look_at(run_id).ended.has_value();
    output = run_output(run_id, shown);
    std::cout << output;
    shown += output.size();
    if (!ended) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
  }
  return 0;
}

int stop(std::int64_t run_id) {
  stop_run(run_id);
  std::cout << "Run " << run_id << (load_run(run_id).ended ? " was" : " is being") << " stopped.\n";
  return 0;
}

int stop_all() {
  std::vector<std::int64_t> ids;
  for_each_waiting([&](const WaitingRun& run) {
    ids.push_back(run.id);
    return true;
  });
  for (const Run& run : started_runs()) {
    ids.push_back(run.id);
  }
  for (const std::int64_t id : ids) {
    try {
      stop_run(id);
    } catch (const StoreFailure& failure) {
      if (failure.code() != StoreError::kEnded) throw;
    }
  }
  for (const std::int64_t id : ids) {
    wait_for_end(id);
  }
  std::cout << ids.size() << (ids.size() == 1 ? " run was stopped.\n" : " runs were stopped.\n");
  return 0;
}

}  // namespace kavo
