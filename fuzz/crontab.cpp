// Crontabs, each read as a user's own and as the system's.
#include "crontab/crontab.h"

#include <algorithm>
#include <optional>
#include <set>

#include "base/utf8.h"
#include "fuzz/schedule_properties.h"

namespace {

constexpr std::int64_t kNow = 1'700'000'000;

void check_entry(const kavo::CrontabEntry& entry) {
  require(!entry.owner.empty() && !entry.command.empty(), "an entry has an owner and a command");
  require(kavo::is_clean_text(entry.command_line), "a command line can be stored");
  require_round_trip(entry.schedule);
  require(kavo::next_run(entry.schedule, kavo::schedule_zone(entry.schedule), kNow).has_value(),
          "an entry is due again");
  require_runs(entry.schedule, kNow);
}

void check(const std::string& text, const std::optional<std::string>& owner) {
  const auto user_exists = [](const std::string& user) { return user == "root"; };
  const kavo::TranslatedCrontab crontab = kavo::translate_crontab(text, {owner, user_exists}, kNow);
  std::set<int> lines;
  const auto lines_in_text = 1 + std::count(text.begin(), text.end(), '\n');
  const auto add = [&](int line) {
    require(line >= 1 && line <= lines_in_text, "a line is one of the file");
    require(lines.insert(line).second, "a line is told about once");
  };
  for (const kavo::CrontabEntry& entry : crontab.entries) {
    add(entry.line);
    check_entry(entry);
  }
  for (const kavo::LeftOutLine& left_out : crontab.left_out) {
    add(left_out.line);
    require(!left_out.reason.empty(), "a line that is left out has a reason");
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = text_of(data, size);
  check(text, "root");
  check(text, std::nullopt);
  return 0;
}
