// kavo-webd: the management web server. It stays in the foreground; TERM ends it.

#include <sodium.h>
#include <syslog.h>

#include <cstdio>

#include "web/limits.h"
#include "web/options.h"
#include "web/supervisor.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int serve(const kavo::Options& options) {
  openlog("kavo-webd", LOG_PID | (options.verbose ? LOG_PERROR : 0), LOG_DAEMON);
  try {
    if (sodium_init() < 0) throw std::runtime_error("There is no source of random numbers.");
    return kavo::Supervisor(options, kavo::configured_limits()).run();
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "%s", error.what());
    if (!options.verbose) {
      (void)fprintf(stderr, "kavo-webd: %s\n", error.what());
    }
    return kFailed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const auto options = kavo::parse_options(argc, argv);
    return options ? serve(*options) : 0;
  } catch (const kavo::WrongUse& error) {
    (void)fprintf(stderr, "kavo-webd: %s\n", error.what());
    return kWrongUse;
  } catch (const std::exception& error) {
    (void)fprintf(stderr, "kavo-webd: %s\n", error.what());
    return kFailed;
  }
}
