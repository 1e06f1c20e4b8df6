#include "tools/kavo/table.h"

#include <absl/time/time.h>

#include <algorithm>
#include <iostream>

#include "schedule/zone.h"

namespace kavo {
namespace {

// The characters of a UTF-8 text: every byte that does not continue one.
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

std::string printable(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : '\0');
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F
      result += '?';
      ++i;
    } else {
      result += byte < 0x20 || byte == 0x7F ? '?' : text[i];
    }
  }
  return result;
}

void print_table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], width(row[i]));
    }
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += printable(row[i]);
      if (i + 1 < row.size()) {
        line.append(widths[i] - width(row[i]) + 2, ' ');
      }
    }
    std::cout << line << '\n';
  }
}

std::string local_time(std::int64_t moment) {
  return absl::FormatTime("%Y-%m-%d %H:%M:%S", absl::FromUnixSeconds(moment), appliance_zone());
}

}  // namespace kavo
