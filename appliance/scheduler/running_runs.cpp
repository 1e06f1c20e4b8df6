#include "scheduler/running_runs.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace kavo {
namespace {

constexpr int kEndsAtOnce = 64;

void take_one(std::map<std::string, int>& counts, const std::string& app) {
  const auto count = counts.find(app);
  if (--count->second == 0) {
    counts.erase(count);
  }
}

}  // namespace

RunningRuns::RunningRuns() : ends_(epoll_create1(EPOLL_CLOEXEC)) {
  if (!ends_.valid()) {
    throw std::system_error(errno, std::generic_category(), "epoll_create1");
  }
}

void RunningRuns::add(std::int64_t id, const std::string& app, bool app_alone, Descriptor runner) {
  epoll_event event = {};
  event.events = EPOLLIN;
  event.data.u64 = static_cast<std::uint64_t>(id);
  if (epoll_ctl(ends_.get(), EPOLL_CTL_ADD, runner.get(), &event) != 0) {
    throw std::system_error(errno, std::generic_category(), "epoll_ctl");
  }
  runs_.insert_or_assign(id, Running{app, app_alone, std::move(runner)});
  ++of_app_[app];
  if (app_alone) {
    ++alone_of_app_[app];
  }
}

std::vector<std::int64_t> RunningRuns::take_ended() {
  std::vector<std::int64_t> ended;
  std::array<epoll_event, kEndsAtOnce> events{};
  for (int count = kEndsAtOnce; count == kEndsAtOnce;) {
    count = epoll_wait(ends_.get(), events.data(), kEndsAtOnce, 0);
    for (int i = 0; i < count; ++i) {
      const auto id = static_cast<std::int64_t>(events[static_cast<std::size_t>(i)].data.u64);
      const auto run = runs_.find(id);
      take_one(of_app_, run->second.app);
      if (run->second.app_alone) {
        take_one(alone_of_app_, run->second.app);
      }
      (void)epoll_ctl(ends_.get(), EPOLL_CTL_DEL, run->second.runner.get(), nullptr);
      runs_.erase(run);
      ended.push_back(id);
    }
  }
  return ended;
}

bool RunningRuns::lets_start(const std::string& app, bool app_alone) const {
  return app.empty() || !(app_alone ? of_app_ : alone_of_app_).contains(app);
}

}  // namespace kavo
