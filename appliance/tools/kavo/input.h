// Files that commands read.
#pragma once

#include <cstddef>
#include <string>

namespace kavo {

// All of a regular file, or of standard input for "-". Throws UsageError when it cannot be read or
// is longer than `limit` bytes.
std::string read_input(const std::string& file, std::size_t limit);

}  // namespace kavo
