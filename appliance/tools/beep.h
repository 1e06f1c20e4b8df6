// Beeping.
#pragma once

#include <chrono>
#include <memory>

namespace kavo {

// Something that sounds for a fraction of a second.
class Bell {
 public:
  virtual ~Bell() = default;
  // False when it cannot sound; errno says why.
  virtual bool ring() = 0;
};

// Passes the time between two beeps.
class Pause {
 public:
  virtual ~Pause() = default;
  virtual void until(std::chrono::steady_clock::time_point moment) = 0;
};

// The bell of the console device "/dev/console" where the machine has one, otherwise the bell of
// the terminal on standard output.
std::unique_ptr<Bell> open_bell();

// Sleeps for real.
std::unique_ptr<Pause> real_pause();

// Rings `bell` once in each of `seconds` seconds from `start` on, and comes back after the last
// ring. Stops at the first ring that fails and answers false.
bool beep(int seconds, std::chrono::steady_clock::time_point start, Bell& bell, Pause& pause);

}  // namespace kavo
