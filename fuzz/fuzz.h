// What the fuzzers have in common. Each one has its own LLVMFuzzerTestOneInput: it is given an
// input, and what must hold of it whatever the input is said by require().
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Ends the process when something does not hold; the fuzzer then keeps the input.
inline void require(bool holds, const char* what) {
  if (!holds) {
    (void)fprintf(stderr, "does not hold: %s\n", what);
    abort();
  }
}

inline std::string text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}
