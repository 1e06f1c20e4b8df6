// How often and how much the program allocates, counted where it asks the C library.
#pragma once

#include <cstdint>

namespace bench {

struct Allocations {
  std::int64_t count = 0;  // allocations made
  std::int64_t held = 0;   // bytes left allocated, as the C library rounds them
};

// What `work` allocates on the calling thread. Nothing is counted otherwise, as counting takes
// time.
template <typename Work>
Allocations allocations_of(Work work);

// The counting of the calling thread; null for none.
void count_allocations(Allocations* allocations);

template <typename Work>
Allocations allocations_of(Work work) {
  Allocations allocations;
  count_allocations(&allocations);
  work();
  count_allocations(nullptr);
  return allocations;
}

}  // namespace bench
