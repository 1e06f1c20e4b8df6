// kavoschedtool: beeps, and starts and stops services, for scheduled tasks.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "packages/manifest.h"
#include "tools/arguments.h"
#include "tools/beep.h"
#include "tools/services.h"
#include "tools/systemd.h"

namespace {

constexpr const char* kProgram = "kavoschedtool";
constexpr uint64_t kMaxSeconds = 600;

int run_beep(int seconds) {
  const auto bell = kavo::open_bell();
  const auto pause = kavo::real_pause();
  if (kavo::beep(seconds, std::chrono::steady_clock::now(), *bell, *pause)) return kavo::kDone;
  kavo::report(kProgram, std::string("cannot beep: ") + strerror(errno));
  return kavo::kFailed;
}

// Starts or stops the units of one service; empty on success, otherwise what went wrong. Touches
// none of them unless all are installed.
std::string switch_service(kavo::Switch action, const std::vector<std::string>& units) {
  if (units.empty()) return "it has no units";
  for (const std::string& unit : units) {
    if (!kavo::is_unit_name(unit)) return kavo::printable(unit) + " is no unit name";
    if (!kavo::unit_installed(unit)) return "unit " + unit + " is not installed";
  }
  std::string problems;
  for (const std::string& unit : units) {
    const std::string problem = kavo::switch_unit(action, unit);
    if (!problem.empty()) problems += (problems.empty() ? "" : "; ") + problem;
  }
  return problems;
}

int run_services(kavo::Switch action, const std::vector<std::string>& keys) {
  const auto services = kavo::read_services();
  if (!services) {
    kavo::report(kProgram, "cannot read /etc/kavo/services.conf");
    return kavo::kFailed;
  }
  if (!kavo::systemd_runs()) {
    kavo::report(kProgram, "systemd does not run here, so services cannot be started or stopped");
    return kavo::kFailed;
  }
  int code = kavo::kDone;
  for (const std::string& key : keys) {
    const auto service = services->find(key);
    const std::string problem = service == services->end()
                                    ? "it is not in /etc/kavo/services.conf"
                                    : switch_service(action, service->second);
    if (problem.empty()) continue;
    kavo::report(kProgram, "service " + kavo::printable(key) + ": " + problem);
    code = kavo::kFailed;
  }
  return code;
}

int run(int argc, const char* const* argv) {
  kavo::CommandLine line =
      kavo::split_command_line(argc, argv, {"--beep", "--start-service", "--stop-service"});
  CLI::App app("Beeps, and starts and stops services, for scheduled tasks.", kProgram);
  app.footer(
      "--beep takes 1 to 600 seconds. --start-service and --stop-service take service keys as in\n"
      "/etc/kavo/services.conf; those that cannot be switched are reported, and the others are\n"
      "still done. Exit codes: 0 done, 1 something failed, 2 wrong use and nothing was done.");
  bool beeps = false;
  bool starts = false;
  bool stops = false;
  std::vector<std::string> misplaced;
  auto* actions = app.add_option_group("Action");
  actions->add_flag("--beep", beeps, "Beep once a second for so many seconds");
  actions->add_flag("--start-service", starts, "Start services");
  actions->add_flag("--stop-service", stops, "Stop services");
  actions->require_option(1);
  app.add_option("argument", misplaced, "Seconds or service keys, directly behind the action");
  if (const std::optional<int> code = kavo::parse_words(app, line.words)) return *code;

  if (!misplaced.empty()) {
    return kavo::wrong_use("Out of place: " + kavo::printable(misplaced[0]));
  }
  if (line.names.empty()) return kavo::wrong_use("The action has no argument.");
  if (!beeps) {
    return run_services(starts ? kavo::Switch::kStart : kavo::Switch::kStop, line.names);
  }
  const std::optional<uint64_t> seconds = kavo::parse_count(line.names[0]);
  if (line.names.size() != 1 || !seconds || *seconds < 1 || *seconds > kMaxSeconds) {
    return kavo::wrong_use("--beep takes a number of seconds from 1 to 600.");
  }
  return run_beep(static_cast<int>(*seconds));
}

}  // namespace

int main(int argc, char** argv) try {
  return run(argc, argv);
} catch (const std::exception& error) {
  kavo::report(kProgram, error.what());
  return kavo::kFailed;
}
