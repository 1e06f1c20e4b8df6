// The runs that go on, each with the process of its runner.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace kavo {

class RunningRuns {
 public:
  RunningRuns();

  // Adds a run. `runner` is readable once its runner has ended.
  void add(std::int64_t id, const std::string& app, bool app_alone, Descriptor runner);
  // Removes the runs whose runners have ended, and returns them.
  std::vector<std::int64_t> take_ended();
  // Readable when take_ended() has something to return.
  int descriptor() const { return ends_.get(); }

  std::size_t size() const { return runs_.size(); }
  bool contains(std::int64_t id) const { return runs_.contains(id); }
  // Whether a run of the app may go on beside these. Runs without an app are in nobody's way.
  bool lets_start(const std::string& app, bool app_alone) const;

 private:
  struct Running {
    std::string app;
    bool app_alone = false;
    Descriptor runner;
  };

  std::map<std::int64_t, Running> runs_;
  std::map<std::string, int> of_app_;        // runs of each app that has any,
  std::map<std::string, int> alone_of_app_;  // and those that bear no other
  Descriptor ends_;
};

}  // namespace kavo
