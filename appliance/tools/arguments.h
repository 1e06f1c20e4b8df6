// What the tools' command lines have in common.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace kavo {

// Exit codes that scripts can rely on.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUse = 2;

// The words of a command line, and the names in it. Names stand directly behind the action (the
// first word that is in `actions`) and end at the first word that begins with "-". They are taken
// out here, as they stand: the argument library would read "[a,b]" as two names, and a name behind
// an option, which a slip in quoting may leave there, is wrong use instead of one more name.
struct CommandLine {
  std::vector<std::string> words;  // without the program and the names
  std::vector<std::string> names;
};
CommandLine split_command_line(int argc, const char* const* argv,
                               std::initializer_list<std::string_view> actions);

// Parses `words` with `app`. Nothing when the program is to go on; otherwise its exit code, after
// help on standard output (asked for by --help or -h alone) or the fault on standard error.
std::optional<int> parse_words(CLI::App& app, std::vector<std::string> words);

// Reports wrong use on standard error; answers kWrongUse.
int wrong_use(const std::string& what);

// Reports a failure of `program` on standard error.
void report(std::string_view program, const std::string& what);

// The decimal number that makes up the whole of `text`, or nothing when it is anything else or
// beyond 64 bits.
std::optional<uint64_t> parse_count(std::string_view text);

// `text` on one line and between quotes, for a message: control bytes, quotes, backslashes and, in
// a text that is not UTF-8, all bytes beyond ASCII are escaped.
std::string printable(std::string_view text);

}  // namespace kavo
