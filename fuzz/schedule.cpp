// The store's section of a schedule, as JSON. A member "after" is the moment whose next runs are
// asked for; to the schedule it is one that it does not know and keeps.
#include <algorithm>

#include "base/strict_json.h"
#include "fuzz/schedule_properties.h"

namespace {

bool is_printable(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto section = kavo::parse_strict_json(text_of(data, size));
  if (!section) {
    return 0;
  }
  std::string error;
  const auto schedule = kavo::parse_schedule(*section, absl::CivilDay(2024, 1, 15), error);
  require(schedule.has_value() == error.empty(), "a refusal has a reason, and nothing else has");
  require(is_printable(error), "the reason is printable ASCII");
  if (!schedule) {
    return 0;
  }
  require_round_trip(*schedule);
  const Json::Value& after = schedule->other["after"];
  require_runs(*schedule, after.isInt64() ? after.asInt64() : 1'700'000'000);
  return 0;
}
