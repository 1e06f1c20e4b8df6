// The commands of kavo. Each prints its result to standard output and returns the exit code: 0
// done, 1 failed (an error answer, or a run that went wrong), 2 wrong use. What cannot be done is
// thrown as StoreFailure, ModuleFailure or UsageError, with a message for people.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kavo {

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CallOptions {
  std::string api;
  int version = 0;
  std::string method;
  std::vector<std::string> parameters;  // "name=value"
  std::string json_file;                // the whole parameter object; "-" for standard input
  std::string language = "en-US";
};

// Calls a method of a module and prints its answer; lists the methods of all modules.
int call_method(const CallOptions& options);
int list_methods();

int list_tasks(bool json);
int show_task(int id, bool json);
int show_next_runs(int id, int count, bool json);
int remove_tasks(const std::vector<int>& ids);

// Starts a task; with `wait` also waits for the end of the run, prints what it wrote and fails when
// the run did.
int run_task(int id, bool wait, bool json);
int show_history(std::optional<int> task_id, int limit, bool json);
// Prints what a run wrote so far; with `follow` also what comes until it ends.
int show_output(std::int64_t run_id, bool follow);
// Stops a run that waits or goes on; does not wait for its end.
int stop(std::int64_t run_id);
// Stops every run that waits or goes on, and waits for their ends.
int stop_all();

// Stores the entries of a crontab as tasks in one transaction, those that tasks express exactly,
// and shows them; with `dry_run` only shows them. `file` is - for standard input. An owner makes it
// the own crontab of that user; none, the system's. Fails when something was left out, which
// standard error says with its reason.
int import_crontab(const std::string& file, const std::optional<std::string>& owner, bool dry_run);

// All tasks as one JSON document, and back: with their ids, in one transaction, all of them or
// none. An id that is taken is refused unless `replace` says to store over it.
int export_tasks();
int import_tasks(const std::string& file, bool replace);

// Writes a copy of the store to a new file.
int back_up(const std::string& file);

// Prints a link to the web server at `url` that signs `user`, or the caller, in: once, and within
// ten minutes.
int print_sign_in_link(const std::optional<std::string>& user, std::string url);

}  // namespace kavo
