#include "conf/conf.h"

#include <kavoconf.h>

#include <optional>
#include <utility>

#include "base/file.h"
#include "base/root.h"

namespace kavo {
namespace {

constexpr size_t kMaxConfBytes = size_t{1} << 20;

std::string_view without_blanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool is_key(std::string_view text) {
  constexpr std::string_view kKeyCharacters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.";
  return !text.empty() && text.find_first_not_of(kKeyCharacters) == std::string_view::npos;
}

// The value in `text`, which starts with its opening quotation mark; nothing when it is broken or
// something other than a comment follows.
std::optional<std::string> parse_value(std::string_view text) {
  std::string value;
  for (size_t i = 1; i < text.size(); ++i) {
    char c = text[i];
    if (c == '"') {
      const std::string_view rest = without_blanks(text.substr(i + 1));
      if (!rest.empty() && rest.front() != '#') return std::nullopt;
      return value;
    }
    if (c == '\\') {
      if (++i == text.size()) return std::nullopt;
      c = text[i];
      if (c != '"' && c != '\\') return std::nullopt;
    }
    value += c;
  }
  return std::nullopt;
}

}  // namespace

std::map<std::string, std::string> parse_conf(std::string_view text) {
  std::map<std::string, std::string> values;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    const std::string_view line = without_blanks(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string_view key = without_blanks(line.substr(0, equals));
    const std::string_view quoted = without_blanks(line.substr(equals + 1));
    if (!is_key(key) || quoted.empty() || quoted.front() != '"') continue;
    std::optional<std::string> value = parse_value(quoted);
    if (value) values.insert_or_assign(std::string(key), std::move(*value));
  }
  return values;
}

}  // namespace kavo

std::string KavoConf::Def(const std::string& key, const std::string& fallback) {
  const auto text = kavo::read_file(kavo::rooted("/etc/kavo/kavo.conf"), kavo::kMaxConfBytes);
  if (!text) return fallback;
  const auto values = kavo::parse_conf(*text);
  const auto found = values.find(key);
  return found != values.end() ? found->second : fallback;
}
