// kavopkg: starts and stops packages, and lists them.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <kavopackage.h>
#include "packages/manifest.h"
#include "tools/arguments.h"
#include "tools/package_script.h"
#include "tools/process.h"
#include "tools/systemd.h"

namespace {

constexpr const char* kProgram = "kavopkg";

std::string switch_by_script(kavo::Switch action, const std::string& name,
                             const std::string& script) {
  const std::string folder = kavo::package_folder(name);
  std::string fault = kavo::check_package_script(folder, script);
  if (!fault.empty()) return fault;
  const int code = kavo::run_program({folder + "/" + script, std::string(kavo::verb(action))});
  if (code == 0) return "";
  if (code < 0) return std::string("its script cannot be run: ") + strerror(errno);
  return "its script ended with " + std::to_string(code);
}

std::string switch_by_units(kavo::Switch action, const std::vector<std::string>& units) {
  if (!kavo::systemd_runs()) return "systemd does not run here, and its units need it";
  std::string problems;
  for (const std::string& unit : units) {
    const std::string problem = kavo::switch_unit(action, unit);
    if (!problem.empty()) problems += (problems.empty() ? "" : "; ") + problem;
  }
  return problems;
}

// Starts or stops one package; empty on success, otherwise what went wrong.
std::string switch_package(kavo::Switch action, const std::string& name) {
  std::string why;
  const std::optional<kavo::Manifest> manifest = kavo::read_manifest(name, &why);
  if (!manifest) return why;
  if (!manifest->startable) return "it has nothing to start or stop";
  return manifest->script.empty() ? switch_by_units(action, manifest->units)
                                  : switch_by_script(action, name, manifest->script);
}

int switch_packages(kavo::Switch action, const std::vector<std::string>& names) {
  int code = kavo::kDone;
  for (const std::string& name : names) {
    const std::string problem = switch_package(action, name);
    if (problem.empty()) continue;
    kavo::report(kProgram, "package " + kavo::printable(name) + ": " + problem);
    code = kavo::kFailed;
  }
  return code;
}

// A line for each package: its name, its name for people, and what kavopkg can do with it.
int list_packages() {
  KAVOPackageTool::PackageManager packages;
  if (!packages.init()) {
    kavo::report(kProgram, "cannot read " + kavo::packages_folder());
    return kavo::kFailed;
  }
  for (const std::string& name : packages.enumPackages(nullptr)) {
    KAVOPackageTool::PackageInfo info;
    std::cout << kavo::printable(name);
    if (!packages.getPackageInfo(name, info, nullptr)) {
      std::cout << "\t\tbroken\n";
      continue;
    }
    std::cout << '\t' << kavo::printable(info.display_name)
              << (info.can_be_started ? "\tstartable\n" : "\tnot startable\n");
  }
  return std::cout.flush() ? kavo::kDone : kavo::kFailed;
}

int run(int argc, const char* const* argv) {
  kavo::CommandLine line = kavo::split_command_line(argc, argv, {"start", "stop", "list"});
  CLI::App app("Starts and stops packages, and lists them.", kProgram);
  app.footer(
      "start and stop take names of packages; those that cannot be switched are reported, and the\n"
      "others are still done. Exit codes: 0 done, 1 something failed, 2 wrong use and nothing was\n"
      "done.");
  app.require_subcommand(1);
  app.add_subcommand("start", "Start packages: start NAME...");
  auto* stop = app.add_subcommand("stop", "Stop packages: stop NAME...");
  auto* list = app.add_subcommand("list", "List the installed packages");
  if (const std::optional<int> code = kavo::parse_words(app, line.words)) return *code;

  if (*list) {
    return line.names.empty() ? list_packages() : kavo::wrong_use("list takes no names.");
  }
  if (line.names.empty()) return kavo::wrong_use("No package is named.");
  return switch_packages(*stop ? kavo::Switch::kStop : kavo::Switch::kStart, line.names);
}

}  // namespace

int main(int argc, char** argv) try {
  return run(argc, argv);
} catch (const std::exception& error) {
  kavo::report(kProgram, error.what());
  return kavo::kFailed;
}
