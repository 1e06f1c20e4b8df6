#include "tools/beep.h"

#include <fcntl.h>
#include <linux/kd.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <thread>
#include <utility>

#include "base/descriptor.h"
#include "base/root.h"

namespace kavo {
namespace {

// The tone that KDMKTONE takes: milliseconds in the upper half, and in the lower one the period in
// ticks of the console's 1.19318 MHz timer.
constexpr unsigned long kToneLength = 250;
constexpr unsigned long kTonePeriod = 1193180 / 880;
constexpr unsigned long kTone = kToneLength << 16 | kTonePeriod;

class ConsoleBell : public Bell {
 public:
  explicit ConsoleBell(Descriptor console) : console_(std::move(console)) {}
  bool ring() override { return ioctl(console_.get(), KDMKTONE, kTone) == 0; }

 private:
  Descriptor console_;
};

class TerminalBell : public Bell {
 public:
  bool ring() override { return write(STDOUT_FILENO, "\a", 1) == 1; }
};

class RealPause : public Pause {
 public:
  void until(std::chrono::steady_clock::time_point moment) override {
    std::this_thread::sleep_until(moment);
  }
};

}  // namespace

std::unique_ptr<Bell> open_bell() {
  Descriptor console(
      open(rooted("/dev/console").c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  // A console without a bell (a serial line) refuses the request; a tone of 0 is silence.
  if (console.valid() && ioctl(console.get(), KDMKTONE, 0UL) == 0) {
    return std::make_unique<ConsoleBell>(std::move(console));
  }
  return std::make_unique<TerminalBell>();
}

std::unique_ptr<Pause> real_pause() {
  return std::make_unique<RealPause>();
}

bool beep(int seconds, std::chrono::steady_clock::time_point start, Bell& bell, Pause& pause) {
  for (int second = 0; second < seconds; ++second) {
    if (second > 0) pause.until(start + std::chrono::seconds(second));
    if (!bell.ring()) return false;
  }
  return true;
}

}  // namespace kavo
