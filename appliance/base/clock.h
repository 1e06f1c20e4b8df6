// The time of day, in one place, so that a test can set it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace kavo {

class Clock {
 public:
  // Seconds since 1970-01-01 00:00 UTC. Any thread.
  static std::int64_t now() {
    const std::int64_t fixed = fixed_.load();
    if (fixed != kRunning) {
      return fixed;
    }
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
  }

  // Stops the clock at a moment, for the life of this object. For tests; one at a time.
  class Stopped {
   public:
    explicit Stopped(std::int64_t moment) { fixed_ = moment; }
    ~Stopped() { fixed_ = kRunning; }
    Stopped(const Stopped&) = delete;
    Stopped& operator=(const Stopped&) = delete;
    void set(std::int64_t moment) { fixed_ = moment; }
  };

 private:
  static constexpr std::int64_t kRunning = std::numeric_limits<std::int64_t>::min();
  static inline std::atomic<std::int64_t> fixed_{kRunning};
};

}  // namespace kavo
