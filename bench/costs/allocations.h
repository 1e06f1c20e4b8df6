// How often and how much the program allocates, counted where it asks the C library.
#pragma once

#include <cstdint>

namespace bench {

struct Allocations {
  std::int64_t count = 0;  // allocations made
  std::int64_t held = 0;   // bytes that are allocated, as the C library rounds them
};

// Of the calling thread since it began.
Allocations allocations();

}  // namespace bench
