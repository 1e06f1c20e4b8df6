// kavo-schedd: the scheduler. It stays in the foreground; TERM ends it.

#include <syslog.h>

#include <CLI/CLI.hpp>
#include <cstdio>

#include "scheduler/daemon.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int serve(bool verbose) {
  openlog("kavo-schedd", LOG_PID | (verbose ? LOG_PERROR : 0), LOG_CRON);
  try {
    kavo::RunnerStarter starter;
    kavo::Daemon(starter).run();
    return 0;
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "%s", error.what());
    if (!verbose) {
      (void)fprintf(stderr, "kavo-schedd: %s\n", error.what());
    }
    return kFailed;
  }
}

int run(int argc, char** argv) {
  bool verbose = false;
  CLI::App app("Runs the tasks of the store when they are due", "kavo-schedd");
  app.add_flag("--verbose", verbose, "Log to standard error, too");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUse;
  }
  return serve(verbose);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    (void)fprintf(stderr, "kavo-schedd: %s\n", error.what());
    return kFailed;
  }
}
