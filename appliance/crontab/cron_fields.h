// The five time fields of a crontab entry.
#pragma once

#include <array>
#include <bitset>
#include <string_view>

namespace kavo {

// What each field matches, one bit for each number. No set is empty.
struct CronFields {
  using Numbers = std::bitset<64>;

  Numbers minutes;   // 0 to 59
  Numbers hours;     // 0 to 23
  Numbers days;      // of the month, 1 to 31
  Numbers months;    // 1 to 12
  Numbers weekdays;  // 0 (Sunday) to 6
  // Neither field of days starts with a star: a day matches by its number or by its weekday.
  // Otherwise it has to match by both.
  bool either_day = false;
};

// Reads minute, hour, day of the month, month and day of the week: numbers, ranges and stars, steps
// of the last two, lists of all of these, and the first three letters of English months and days.
// What crons are known to read differently is refused. Throws Inexpressible.
CronFields parse_cron_fields(const std::array<std::string_view, 5>& fields);

// The fields that "@daily" and its like stand for. Throws Inexpressible, for "@reboot" as well.
CronFields parse_cron_nickname(std::string_view nickname);

}  // namespace kavo
