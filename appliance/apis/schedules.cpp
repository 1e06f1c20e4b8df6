#include <absl/time/time.h>

#include <algorithm>
#include <utility>

#include "apis/answer.h"
#include "apis/methods.h"
#include "base/clock.h"
#include "schedule/schedule.h"
#include "schedule/zone.h"

namespace kavo {
namespace {

constexpr int kMostRuns = 50;
constexpr int kUsualRuns = 5;

// Members that a task document calls otherwise than the store does.
constexpr std::pair<const char*, const char*> kNames[] = {
    {"week_day", "week_name"}, {"repeat_date", "repeat"}, {"minute", "min"}};

// A schedule as a task document has it, with the store's names of its members. The store's own
// names are no members of a task document.
Json::Value store_section(Json::Value section) {
  if (section.isNull()) {
    return section;
  }
  if (!section.isObject()) {
    throw WrongParameter("\"schedule\" is not an object.");
  }
  for (const auto& [name, stored_name] : kNames) {
    section[stored_name] = section[name];
    section.removeMember(name);
  }
  return section;
}

Schedule schedule_of(const KAVO::APIRequest& request) {
  if (!request.GetParam("", Json::objectValue).isMember("schedule")) {
    throw WrongParameter("\"schedule\" is missing.");
  }
  const Json::Value section = store_section(request.GetParam("schedule", Json::Value()));
  absl::TimeZone zone = appliance_zone();
  if (section.isObject() && section["timezone"].isString()) {
    load_zone(section["timezone"].asString(), zone);
  }
  std::string error;
  const auto schedule =
      parse_schedule(section, absl::ToCivilDay(absl::FromUnixSeconds(Clock::now()), zone), error);
  if (!schedule) {
    for (const auto& [name, stored_name] : kNames) {
      if (error.starts_with(std::string(stored_name) + ":")) {
        error.replace(0, std::string(stored_name).size(), name);
      }
    }
    throw WrongParameter("The schedule cannot be used: " + error);
  }
  return *schedule;
}

// Whether the schedule has a run at this time of the wall clock: it is due then where the clock is
// never changed.
bool names_time(const Schedule& schedule, absl::CivilSecond wall) {
  const std::int64_t moment = absl::ToUnixSeconds(absl::FromCivil(wall, absl::UTCTimeZone()));
  return next_run(schedule, absl::UTCTimeZone(), moment - 1) == moment;
}

// What a change of the clock does to a run.
const char* note_of(const Schedule& schedule, const absl::TimeZone& zone, absl::CivilSecond wall) {
  if (zone.At(wall).kind == absl::TimeZone::TimeInfo::REPEATED) {
    return "repeated";
  }
  return names_time(schedule, wall) ? "" : "gap";
}

}  // namespace

Json::Value preview_schedule(const KAVO::APIRequest& request) {
  const Schedule schedule = schedule_of(request);
  const int count = integer(request, "count", 1, kMostRuns).value_or(kUsualRuns);
  const absl::TimeZone zone = schedule_zone(schedule);
  Json::Value data;
  data["timezone"] = schedule.timezone.empty() ? appliance_zone_name() : schedule.timezone;
  Json::Value& runs = data["runs"] = Json::Value(Json::arrayValue);
  std::optional<std::int64_t> due = Clock::now();
  for (int i = 0; i < count && (due = next_run(schedule, zone, *due)); ++i) {
    const absl::Time moment = absl::FromUnixSeconds(*due);
    Json::Value run;
    run["at"] = Json::Int64{*due};
    run["local"] = absl::FormatTime("%Y-%m-%d %H:%M", moment, zone);
    run["note"] = note_of(schedule, zone, absl::ToCivilSecond(moment, zone));
    runs.append(run);
  }
  return data;
}

Json::Value list_timezones(const KAVO::APIRequest&) {
  const std::string own = appliance_zone_name();
  std::vector<std::string> names = zone_names();
  if (!own.empty() && !std::binary_search(names.begin(), names.end(), own)) {
    names.insert(std::lower_bound(names.begin(), names.end(), own), own);
  }
  Json::Value data;
  data["appliance"] = own;
  for (const std::string& name : names) {
    data["timezones"].append(name);
  }
  return data;
}

}  // namespace kavo
