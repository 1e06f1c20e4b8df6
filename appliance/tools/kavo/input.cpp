#include "tools/kavo/input.h"

#include <array>
#include <iostream>

#include "base/file.h"
#include "tools/kavo/commands.h"

namespace kavo {
namespace {

std::string read_standard_input(std::size_t limit) {
  std::string text;
  std::array<char, 64 << 10> buffer;
  while (std::cin.read(buffer.data(), buffer.size()) || std::cin.gcount() > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(std::cin.gcount()));
    if (text.size() > limit) {
      throw UsageError("Standard input is longer than " + std::to_string(limit) + " bytes.");
    }
  }
  if (std::cin.bad()) {
    throw UsageError("Standard input cannot be read.");
  }
  return text;
}

}  // namespace

std::string read_input(const std::string& file, std::size_t limit) {
  if (file == "-") {
    return read_standard_input(limit);
  }
  const auto text = read_file(file, limit);
  if (!text) {
    throw UsageError("The file " + file + " cannot be read: it has to be a regular file of up to " +
                     std::to_string(limit) + " bytes.");
  }
  return *text;
}

}  // namespace kavo
