// How long something takes.
#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

inline double milliseconds(const std::function<void()>& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
      .count();
}

// The median of `rounds` times, in milliseconds; what `prepare` does before each is not counted.
inline double median_of(
    int rounds, const std::function<void()>& work, const std::function<void()>& prepare = [] {}) {
  std::vector<double> times;
  for (int i = 0; i < rounds; ++i) {
    prepare();
    times.push_back(milliseconds(work));
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}
