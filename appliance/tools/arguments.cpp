#include "tools/arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iostream>

#include <CLI/CLI.hpp>

#include "base/utf8.h"

namespace kavo {
namespace {

// The first option that stands twice. The library would take a flag twice in silence, but a name
// that reads as one may be behind it.
const std::string* repeated_option(const std::vector<std::string>& words) {
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (word->starts_with('-') && std::find(words.begin(), word, *word) != word) return &*word;
  }
  return nullptr;
}

}  // namespace

CommandLine split_command_line(int argc, const char* const* argv,
                               std::initializer_list<std::string_view> actions) {
  CommandLine line;
  for (int i = 1; i < argc; ++i) line.words.emplace_back(argv[i]);
  const auto action =
      std::find_first_of(line.words.begin(), line.words.end(), actions.begin(), actions.end());
  if (action == line.words.end()) return line;
  const auto names_end = std::find_if(
      action + 1, line.words.end(), [](const std::string& word) { return word.starts_with('-'); });
  line.names.assign(action + 1, names_end);
  line.words.erase(action + 1, names_end);
  return line;
}

std::optional<int> parse_words(CLI::App& app, std::vector<std::string> words) {
  // Words to which the library gives a meaning of its own. None has a place here, and a name that
  // slipped out of its place must not be skipped or answered with help and success.
  constexpr std::string_view kSpecial[] = {"--", "++", "-h", "--help"};
  const auto special =
      std::find_first_of(words.begin(), words.end(), std::begin(kSpecial), std::end(kSpecial));
  const bool asks_for_help =
      words.size() == 1 && special != words.end() && special->find('h') != std::string::npos;
  if (special != words.end() && !asks_for_help) {
    return wrong_use("Out of place: " + printable(*special));
  }
  if (const std::string* repeated = repeated_option(words)) {
    return wrong_use("Given twice: " + printable(*repeated));
  }
  std::reverse(words.begin(), words.end());  // the order in which the library takes them
  try {
    app.parse(std::move(words));
    return std::nullopt;
  } catch (const CLI::Success& asked) {
    return app.exit(asked);
  } catch (const CLI::ParseError& fault) {
    app.exit(fault);
    return kWrongUse;
  }
}

int wrong_use(const std::string& what) {
  std::cerr << what << "\nRun with --help for more information.\n";
  return kWrongUse;
}

void report(std::string_view program, const std::string& what) {
  std::cerr << program << ": " << what << '\n';
}

std::optional<uint64_t> parse_count(std::string_view text) {
  uint64_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return count;
}

std::string printable(std::string_view text) {
  const bool utf8 = is_clean_text(text);
  std::string line = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      line += {'\\', c};
    } else if (c == '\n') {
      line += "\\n";
    } else if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !utf8)) {
      constexpr char kDigits[] = "0123456789abcdef";
      line += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
    } else {
      line += c;
    }
  }
  return line + '"';
}

}  // namespace kavo
