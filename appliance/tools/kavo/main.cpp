// kavo: the task scheduler from the command line.

#include <json/value.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <iostream>

#include "store/failure.h"
#include "tools/kavo/commands.h"
#include "web/module.h"

namespace {

using kavo::CallOptions;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

// What was asked for. Filled by the parser, used by the one command that it picks.
struct Options {
  CallOptions call;
  bool list = false;
  bool json = false;
  bool wait = false;
  bool follow = false;
  bool all = false;
  int id = 0;
  std::vector<int> ids;
  std::optional<int> task_id;
  std::int64_t run_id = 0;
  int count = 1;
  int limit = 50;
  std::string file;
  std::optional<std::string> owner;
  std::optional<std::string> user;
  std::string url = "http://127.0.0.1:5050";
  bool dry_run = false;
  bool replace = false;
};

using Command = std::function<int()>;

CLI::App* add_command(CLI::App& parent, const std::string& name, const std::string& description,
                      Command& chosen, const Command& command) {
  CLI::App* app = parent.add_subcommand(name, description);
  app->callback([&chosen, command] { chosen = command; });
  return app;
}

void add_json(CLI::App* app, Options& options) {
  app->add_flag("--json", options.json, "Print JSON for programs");
}

int call_or_list(const Options& options) {
  if (options.list) {
    return kavo::list_methods();
  }
  if (options.call.method.empty()) {
    throw kavo::UsageError("API, VERSION and METHOD are needed, or --list.");
  }
  return kavo::call_method(options.call);
}

void add_call(CLI::App& app, Options& options, Command& chosen) {
  CLI::App* call = add_command(app, "call", "Call a method of a module and print its answer",
                               chosen, [&options] { return call_or_list(options); });
  call->add_option("API", options.call.api, "For example KAVO.Core.TaskScheduler");
  call->add_option("VERSION", options.call.version, "The version of the API");
  call->add_option("METHOD", options.call.method, "For example list");
  call->add_option("PARAMETERS", options.call.parameters,
                   "name=value; a value that is JSON counts as such, any other as text");
  call->add_option("--json", options.call.json_file,
                   "File with the whole parameter object, - for standard input");
  call->add_option("--language", options.call.language, "Language of the answer")
      ->capture_default_str();
  call->add_flag("--list", options.list, "Print the methods of every module found");
}

void add_tasks(CLI::App& app, Options& options, Command& chosen) {
  CLI::App* task = app.add_subcommand("task", "Look at stored tasks, or remove them");
  task->require_subcommand(1);
  add_json(add_command(*task, "list", "List all tasks", chosen,
                       [&] { return kavo::list_tasks(options.json); }),
           options);
  CLI::App* show = add_command(*task, "show", "Show all that is stored of a task", chosen,
                               [&] { return kavo::show_task(options.id, options.json); });
  show->add_option("ID", options.id, "The task's number")->required();
  add_json(show, options);
  CLI::App* next = add_command(*task, "next", "Show when a task is due next", chosen, [&] {
    return kavo::show_next_runs(options.id, options.count, options.json);
  });
  next->add_option("ID", options.id, "The task's number")->required();
  next->add_option("-n", options.count, "How many runs")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  add_json(next, options);
  add_command(*task, "remove", "Remove tasks; their history stays", chosen,
              [&] { return kavo::remove_tasks(options.ids); })
      ->add_option("ID", options.ids, "The tasks' numbers")
      ->required();
}

int stop_runs(const Options& options) {
  if (options.all) {
    return kavo::stop_all();
  }
  if (options.run_id == 0) {
    throw kavo::UsageError("The number of a run is needed, or --all.");
  }
  return kavo::stop(options.run_id);
}

void add_runs(CLI::App& app, Options& options, Command& chosen) {
  CLI::App* run = add_command(app, "run", "Start a task now", chosen, [&] {
    return kavo::run_task(options.id, options.wait, options.json);
  });
  run->add_option("ID", options.id, "The task's number")->required();
  run->add_flag("--wait", options.wait, "Wait for the end, and print how it ended and its output");
  add_json(run, options);
  CLI::App* history = add_command(app, "history", "Show the latest runs", chosen, [&] {
    return kavo::show_history(options.task_id, options.limit, options.json);
  });
  history->add_option("ID", options.task_id, "Only the runs of this task");
  history->add_option("-n", options.limit, "How many runs")
      ->check(CLI::Range(1, 1000000))
      ->capture_default_str();
  add_json(history, options);
  CLI::App* output = add_command(app, "output", "Print what a run wrote", chosen,
                                 [&] { return kavo::show_output(options.run_id, options.follow); });
  output->add_option("RUN", options.run_id, "The run's number")->required();
  output->add_flag("--follow", options.follow, "Go on until the run ends");
  CLI::App* stop =
      add_command(app, "stop", "Stop runs", chosen, [&] { return stop_runs(options); });
  CLI::Option* number = stop->add_option("RUN", options.run_id, "The run's number");
  stop->add_flag("--all", options.all, "Stop all runs, and wait for their ends")->excludes(number);
}

void add_transfer(CLI::App& app, Options& options, Command& chosen) {
  CLI::App* crontab = add_command(
      app, "import-crontab", "Store the entries of a crontab as tasks", chosen,
      [&] { return kavo::import_crontab(options.file, options.owner, options.dry_run); });
  crontab->add_option("FILE", options.file, "The crontab, - for standard input")->required();
  crontab->add_option(
      "--owner", options.owner,
      "It is the own crontab of this user. Without this it is the system's, in which "
      "each entry names its user");
  crontab->add_flag("--dry-run", options.dry_run, "Only show what would be stored");
  crontab->footer(
      "An entry that a task cannot express exactly is named and left out: exit code 1. A task has\n"
      "the scheduler's environment where the crontab sets no other, its output is kept in the\n"
      "history instead of being mailed, and while the clock is being changed for summer time the\n"
      "rules of schedules hold.");
  add_command(app, "export", "Print all tasks as one JSON document", chosen,
              [] { return kavo::export_tasks(); });
  add_command(app, "backup", "Write a copy of all that is stored to a file", chosen,
              [&] { return kavo::back_up(options.file); })
      ->add_option("FILE", options.file, "A file that is not there yet")
      ->required();
  CLI::App* tasks =
      add_command(app, "import", "Store the tasks of an exported document again", chosen,
                  [&] { return kavo::import_tasks(options.file, options.replace); });
  tasks->add_option("FILE", options.file, "The document, - for standard input")->required();
  tasks->add_flag("--replace", options.replace, "Store over tasks that have the same numbers");
}

void add_sign_in(CLI::App& app, Options& options, Command& chosen) {
  CLI::App* link =
      add_command(app, "sign-in-link",
                  "Print a link that signs in once, within ten minutes, without a password", chosen,
                  [&] { return kavo::print_sign_in_link(options.user, options.url); });
  link->add_option("--user", options.user, "The account; your own when it is not named");
  link->add_option("--url", options.url, "Where the web server is reached")->capture_default_str();
}

int run(int argc, char** argv) {
  Options options;
  Command chosen;
  CLI::App app("The task scheduler from the command line", "kavo");
  app.require_subcommand(1);
  app.footer("Exit code: 0 done, 1 failed, 2 wrong use.");
  add_call(app, options, chosen);
  add_tasks(app, options, chosen);
  add_runs(app, options, chosen);
  add_transfer(app, options, chosen);
  add_sign_in(app, options, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kWrongUse;
  }
  const int code = chosen();
  if (!std::cout.flush()) {
    throw std::runtime_error("The result cannot be written.");
  }
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const kavo::UsageError& error) {
    (void)fprintf(stderr, "kavo: %s\n", error.what());
    return kWrongUse;
  } catch (const std::exception& error) {
    (void)fprintf(stderr, "kavo: %s\n", error.what());
    return kFailed;
  }
}
