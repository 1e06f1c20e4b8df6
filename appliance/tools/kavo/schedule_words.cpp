#include "tools/kavo/schedule_words.h"

#include <absl/strings/str_format.h>

namespace kavo {
namespace {

constexpr std::uint8_t kEveryDay = 0x7f;

std::string weekday_words(std::uint8_t weekdays) {
  constexpr const char* kNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  if (weekdays == kEveryDay) {
    return "every day";
  }
  std::string words;
  for (std::size_t day = 0; day < std::size(kNames); ++day) {
    if ((weekdays >> day & 1) != 0) {
      words += (words.empty() ? "" : ", ") + std::string(kNames[day]);
    }
  }
  return words;
}

std::string date_words(const Schedule& schedule) {
  // In the order of Schedule::Repeat.
  constexpr const char* kRepeats[] = {
      "once on",          "every day from",      "every week from",
      "every month from", "every 3 months from", "every 6 months from",
      "every year from"};
  return kRepeats[static_cast<std::size_t>(schedule.repeat)] + std::string(" ") +
         absl::FormatCivilTime(schedule.date);
}

std::string time_words(const Schedule& schedule) {
  const std::string first = absl::StrFormat("%02d:%02d", schedule.hour, schedule.minute);
  if (schedule.interval() == 0) {
    return "at " + first;
  }
  std::string interval;
  if (schedule.repeat_hour > 0) {
    interval += absl::StrFormat(" %d h", schedule.repeat_hour);
  }
  if (schedule.repeat_minute > 0) {
    interval += absl::StrFormat(" %d min", schedule.repeat_minute);
  }
  return absl::StrFormat("every%s from %s to %02d:%02d", interval, first, schedule.last_hour,
                         schedule.last_minute);
}

}  // namespace

std::string schedule_words(const Schedule& schedule) {
  const std::string days = schedule.type == Schedule::Type::kWeekly
                               ? weekday_words(schedule.weekdays)
                               : date_words(schedule);
  const std::string zone = schedule.timezone.empty() ? "" : " (" + schedule.timezone + ")";
  return days + " " + time_words(schedule) + zone;
}

}  // namespace kavo
