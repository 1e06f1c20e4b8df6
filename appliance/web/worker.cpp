#include "web/worker.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <optional>
#include <random>
#include <stdexcept>

#include "web/http_server.h"
#include "web/module.h"
#include "web/site.h"

namespace kavo {
namespace {

using Steady = std::chrono::steady_clock;

constexpr std::size_t kHandlerStack = std::size_t{2} << 20;
constexpr std::chrono::milliseconds kLook{20};  // at what is left, while draining
// A draining worker closes connections that nothing came over for so long: the next request of one
// that is in use comes sooner, and ends it in order. In a hurry, there is less patience.
constexpr std::chrono::milliseconds kUnused{5000};
constexpr std::chrono::milliseconds kHardlyUsed{1000};
constexpr std::chrono::seconds kLongestEnd{10};  // after TERM

void prepare_process() {
  // Two descriptors for each connection.
  rlimit files = {};
  if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
    files.rlim_cur = files.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &files);
  }
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kHandlerStack);
  pthread_setattr_default_np(&attributes);
  pthread_attr_destroy(&attributes);
  (void)signal(SIGINT, SIG_IGN);  // a terminal sends it to all; the supervisor sends TERM
  (void)signal(SIGPIPE, SIG_IGN);
}

Descriptor listen_for_end() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

// Workers that were started at once do not end at once.
int with_jitter(int requests) {
  std::random_device random;
  return requests + static_cast<int>(random() % (static_cast<unsigned>(requests) / 4 + 1));
}

class Worker {
 public:
  Worker(const Options& options, const Limits& limits, const std::vector<int>& sockets,
         const Descriptor& channel)
      : limits_(limits),
        channel_(channel),
        signals_(listen_for_end()),
        worn_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        modules_(module_folder()),
        site_(modules_, options.reached, limits, with_jitter(limits.worker_requests),
              [this] { (void)eventfd_write(worn_.get(), 1); }),
        server_(sockets, site_, limits, only_from(options),
                options.encryption ? &*options.encryption : nullptr) {
    for (const std::string& failure : modules_.failures()) {
      syslog(LOG_ERR, "%s", failure.c_str());
    }
  }

  void run() {
    tell(message::kServing);
    while (!over()) {
      std::array<pollfd, 3> events = {pollfd{stopping_ ? -1 : signals_.get(), POLLIN, 0},
                                      pollfd{stopping_ ? -1 : channel_.get(), POLLIN, 0},
                                      pollfd{said_worn_ ? -1 : worn_.get(), POLLIN, 0}};
      if (poll(events.data(), events.size(), end_ ? static_cast<int>(kLook.count()) : -1) < 0) {
        continue;
      }
      if (events[0].revents != 0) stop();
      if (events[1].revents != 0) listen_to_supervisor();
      if (events[2].revents != 0) {
        said_worn_ = true;
        tell(message::kWorn);
      }
    }
    if (site_.stuck() || server_.connections().busy() > 0) {
      syslog(LOG_WARNING, "A worker ends with requests that were not answered in time");
      _exit(0);
    }
  }

 private:
  static std::string only_from(const Options& options) {
    return options.encryption ? std::string() : options.reached.proxy;
  }

  void tell(char what) const { (void)send(channel_.get(), &what, 1, MSG_NOSIGNAL); }

  void listen_to_supervisor() {
    char what = 0;
    const ssize_t size = recv(channel_.get(), &what, 1, MSG_DONTWAIT);
    if (size == 0) stop();
    if (size == 1 && what == message::kDrain) drain(limits_.drain_time);
    if (size == 1 && what == message::kHurry) idle_ = kHardlyUsed;
  }

  void drain(std::chrono::seconds longest) {
    const auto end = Steady::now() + longest;
    if (!end_ || end < *end_) end_ = end;
    server_.drain();
  }

  void stop() {
    idle_ = std::chrono::milliseconds(0);
    drain(kLongestEnd);
    stopping_ = true;
  }

  // True when everything is answered, or has had its time.
  bool over() {
    if (!end_) return false;
    server_.connections().close_idle(idle_);
    if (Steady::now() >= *end_) return true;
    return stopping_ ? server_.connections().busy() == 0 : server_.connections().size() == 0;
  }

  const Limits limits_;
  const Descriptor& channel_;
  const Descriptor signals_;
  const Descriptor worn_;
  const Modules modules_;
  Site site_;
  HttpServer server_;
  std::optional<Steady::time_point> end_;     // when it ends in any case
  std::chrono::milliseconds idle_ = kUnused;  // connections idle for so long are closed
  bool said_worn_ = false;
  bool stopping_ = false;
};

}  // namespace

int run_worker(const Options& options, const Limits& limits, const std::vector<int>& sockets,
               const Descriptor& channel) {
  try {
    prepare_process();
    Worker(options, limits, sockets, channel).run();
    return 0;
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "A worker cannot work: %s", error.what());
    return 1;
  }
}

}  // namespace kavo
