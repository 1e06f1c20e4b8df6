// The syntax of the appliance configuration.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace kavo {

// The keys and values of a configuration text. It has one key="value" a line, with any blanks
// around key and value; a key is made of letters, digits and "_", "-", ".". Inside the quotes \"
// and \\ stand for a quotation mark and a backslash. Empty lines, and everything from a # on that
// stands outside the quotes, are ignored. A line of any other form is skipped; the last line of a
// key that stands twice wins. Never fails.
std::map<std::string, std::string> parse_conf(std::string_view text);

}  // namespace kavo
