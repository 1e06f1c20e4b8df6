#include "crontab/cron_fields.h"

#include <absl/strings/str_cat.h>
#include <strings.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>
#include <string>

#include "crontab/inexpressible.h"

namespace kavo {
namespace {

constexpr int kSunday = 0;
constexpr int kSundayAgain = 7;

constexpr const char* kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                   "jul", "aug", "sep", "oct", "nov", "dec"};
constexpr const char* kWeekdays[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};

struct Field {
  const char* name;
  int first;
  int last;
  std::span<const char* const> names;  // of the numbers from `first` on
};

const Field kMinute{"minute", 0, 59, {}};
const Field kHour{"hour", 0, 23, {}};
const Field kDay{"day of the month", 1, 31, {}};
const Field kMonth{"month", 1, 12, kMonths};
const Field kWeekday{"day of the week", 0, kSundayAgain, kWeekdays};

// Reads one field, item by item.
class FieldReader {
 public:
  FieldReader(const Field& field, std::string_view text) : field_(field), text_(text) {}

  CronFields::Numbers read() const {
    CronFields::Numbers numbers;
    for (std::size_t start = 0; start <= text_.size();) {
      const std::size_t end = std::min(text_.find(',', start), text_.size());
      add(text_.substr(start, end - start), numbers);
      start = end + 1;
    }
    return numbers;
  }

 private:
  void add(std::string_view item, CronFields::Numbers& numbers) const {
    const std::size_t slash = item.find('/');
    const std::string_view range = item.substr(0, slash);
    const std::size_t dash = range.find('-');
    int first = field_.first;
    int last = field_.last;
    if (range != "*") {
      first = number(range.substr(0, dash));
      last = dash == std::string_view::npos ? first : number(range.substr(dash + 1));
    }
    int step = 1;
    if (slash != std::string_view::npos) {
      if (range != "*" && dash == std::string_view::npos) {
        refuse("a step after a single number means different things to different crons");
      }
      step = digits(item.substr(slash + 1)).value_or(0);
    }
    if (step < 1) {
      refuse("a step is a number of at least 1");
    }
    if (first > last) {
      refuse("a range ends before it starts");
    }
    for (int i = first; i <= last; i += std::min(step, field_.last + 1)) {
      numbers.set(static_cast<std::size_t>(i));
    }
  }

  int number(std::string_view text) const {
    std::optional<int> value = digits(text);
    for (std::size_t i = 0; i < field_.names.size() && !value; ++i) {
      if (strcasecmp(std::string(text).c_str(), field_.names[i]) == 0) {
        value = field_.first + static_cast<int>(i);
      }
    }
    if (!value || *value < field_.first || *value > field_.last) {
      refuse(absl::StrCat("expected are numbers from ", field_.first, " to ", field_.last));
    }
    return *value;
  }

  static std::optional<int> digits(std::string_view text) {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [read_to, failure] = std::from_chars(text.data(), end, value);
    return failure == std::errc() && read_to == end ? std::optional(value) : std::nullopt;
  }

  [[noreturn]] void refuse(const std::string& reason) const {
    throw Inexpressible(absl::StrCat("the ", field_.name, " \"", std::string(text_),
                                     "\" cannot be read: ", reason));
  }

  const Field& field_;
  std::string_view text_;
};

}  // namespace

CronFields parse_cron_fields(const std::array<std::string_view, 5>& fields) {
  CronFields result;
  result.minutes = FieldReader(kMinute, fields[0]).read();
  result.hours = FieldReader(kHour, fields[1]).read();
  result.days = FieldReader(kDay, fields[2]).read();
  result.months = FieldReader(kMonth, fields[3]).read();
  result.weekdays = FieldReader(kWeekday, fields[4]).read();
  if (result.weekdays.test(kSundayAgain)) {
    result.weekdays.reset(kSundayAgain);
    result.weekdays.set(kSunday);
  }
  result.either_day = !fields[2].starts_with('*') && !fields[4].starts_with('*');
  return result;
}

CronFields parse_cron_nickname(std::string_view nickname) {
  struct Nickname {
    std::string_view name;
    std::array<std::string_view, 5> fields;
  };
  static constexpr Nickname kNicknames[] = {
      {"@yearly", {"0", "0", "1", "1", "*"}},  {"@annually", {"0", "0", "1", "1", "*"}},
      {"@monthly", {"0", "0", "1", "*", "*"}}, {"@weekly", {"0", "0", "*", "*", "0"}},
      {"@daily", {"0", "0", "*", "*", "*"}},   {"@midnight", {"0", "0", "*", "*", "*"}},
      {"@hourly", {"0", "*", "*", "*", "*"}},
  };
  if (nickname == "@reboot") {
    throw Inexpressible("a schedule is by time, not by the start of the system");
  }
  const auto* found = std::find_if(std::begin(kNicknames), std::end(kNicknames),
                                   [&](const Nickname& known) { return known.name == nickname; });
  if (found == std::end(kNicknames)) {
    throw Inexpressible("\"" + std::string(nickname) + "\" is not known");
  }
  return parse_cron_fields(found->fields);
}

}  // namespace kavo
