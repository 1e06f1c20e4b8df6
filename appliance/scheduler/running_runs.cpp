#include "scheduler/running_runs.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace kavo {
namespace {

constexpr int kEventsAtOnce = 64;

void take_one(std::map<std::string, int>& counts, const std::string& app) {
  const auto count = counts.find(app);
  if (--count->second == 0) {
    counts.erase(count);
  }
}

}  // namespace

RunningRuns::RunningRuns() : events_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!events_.valid()) {
    throw std::system_error(errno, std::generic_category(), "epoll_create1");
  }
}

void RunningRuns::add(RunningRun run) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.u64 = static_cast<std::uint64_t>(run.id);
  if (epoll_ctl(events_.get(), EPOLL_CTL_ADD, run.runner.get(), &event) != 0) {
    throw std::system_error(errno, std::generic_category(), "epoll_ctl");
  }
  ++of_app_[run.app];
  if (run.app_alone) {
    ++alone_of_app_[run.app];
  }
  runs_.insert_or_assign(run.id, std::move(run));
}

std::vector<RunningRun> RunningRuns::take_readable() {
  std::vector<RunningRun> taken;
  std::array<epoll_event, kEventsAtOnce> events{};
  for (int count = kEventsAtOnce; count == kEventsAtOnce;) {
    count = epoll_wait(events_.get(), events.data(), kEventsAtOnce, 0);
    for (int i = 0; i < count; ++i) {
      const auto id = static_cast<std::int64_t>(events[static_cast<std::size_t>(i)].data.u64);
      RunningRun run = std::move(runs_.extract(id).mapped());
      take_one(of_app_, run.app);
      if (run.app_alone) {
        take_one(alone_of_app_, run.app);
      }
      (void)epoll_ctl(events_.get(), EPOLL_CTL_DEL, run.runner.get(), nullptr);
      taken.push_back(std::move(run));
    }
  }
  return taken;
}

bool RunningRuns::lets_start(const std::string& app, bool app_alone) const {
  return app.empty() || !(app_alone ? of_app_ : alone_of_app_).contains(app);
}

}  // namespace kavo
