// The runs that go on, each with the process of its runner.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

struct RunningRun {
  std::int64_t id = 0;
  std::string app;
  bool app_alone = false;
  Descriptor runner;  // readable once the runner has something to tell, or has ended
};

class RunningRuns {
 public:
  RunningRuns();

  // Adds a run. Throws std::system_error when its runner cannot be watched.
  void add(RunningRun run);
  // Removes the runs whose runners are readable, and returns them.
  std::vector<RunningRun> take_readable();
  // Readable when take_readable() has something to return.
  int descriptor() const { return events_.get(); }

  std::size_t size() const { return runs_.size(); }
  bool contains(std::int64_t id) const { return runs_.contains(id); }
  const Descriptor& runner(std::int64_t id) const { return runs_.at(id).runner; }
  // Whether a run of the app may go on beside these. Runs without an app are in nobody's way.
  bool lets_start(const std::string& app, bool app_alone) const;

 private:
  std::map<std::int64_t, RunningRun> runs_;
  std::map<std::string, int> of_app_;        // runs of each app that has any,
  std::map<std::string, int> alone_of_app_;  // and those that bear no other
  Descriptor events_;
};

}  // namespace kavo
