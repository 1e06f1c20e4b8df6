// Tables for people.
#pragma once

#include <string>
#include <vector>

namespace kavo {

// A UTF-8 text with "?" for each of its control characters, those of two bytes included, so that no
// text of a task can steer the terminal.
std::string printable(const std::string& text);

// Writes rows of cells to standard output, the first row as the heading, columns as wide as their
// widest cell. Cells are shown as printable() gives them.
void print_table(const std::vector<std::vector<std::string>>& rows);

// A moment as "YYYY-MM-DD HH:MM:SS" in the appliance's zone.
std::string local_time(std::int64_t moment);

}  // namespace kavo
