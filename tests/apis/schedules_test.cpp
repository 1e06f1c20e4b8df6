// Previews of schedules, and the time zones. The days are far ahead: a preview begins now.

#include <algorithm>
#include <tuple>

#include "apis_fixture.h"
#include "schedule/zone.h"

namespace {

// The runs of a preview as "local time note" lines.
std::string lines(const Json::Value& runs) {
  std::string text;
  for (const Json::Value& run : runs) {
    text += run["local"].asString() + ' ' + run["note"].asString() + '\n';
  }
  return text;
}

TEST_F(ApisTest, PreviewsTellOfChangesOfTheClock) {
  // In Berlin the clock goes from 02:00 to 03:00 on 2037-03-29, and from 03:00 to 02:00 on
  // 2037-10-25.
  const std::string zone = R"("type": "date", "timezone": "Europe/Berlin")";
  // clang-format off
  for (const auto& [members, count, expected] :
       {std::tuple(R"("date": "2037-03-28", "repeat_date": "daily", "hour": 2, "minute": 30)", 3,
                   "2037-03-28 02:30 \n2037-03-29 03:00 gap\n2037-03-30 02:30 \n"),
        std::tuple(R"("date": "2037-03-29", "hour": 1, "minute": 15, "repeat_min": 30)", 4,
                   "2037-03-29 01:15 \n2037-03-29 01:45 \n2037-03-29 03:00 gap\n2037-03-29 03:15 \n"),
        std::tuple(R"("date": "2037-03-29", "hour": 1, "repeat_hour": 1)", 3,
                   "2037-03-29 01:00 \n2037-03-29 03:00 \n2037-03-29 04:00 \n"),
        std::tuple(R"("date": "2037-10-24", "repeat_date": "daily", "hour": 2, "minute": 30)", 3,
                   "2037-10-24 02:30 \n2037-10-25 02:30 repeated\n2037-10-26 02:30 \n"),
        std::tuple(R"("date": "2037-10-25", "hour": 1, "minute": 30, "repeat_hour": 1, "last_hour": 3)", 9,
                   "2037-10-25 01:30 \n2037-10-25 02:30 repeated\n2037-10-25 02:30 repeated\n2037-10-25 03:30 \n"),
        std::tuple(R"("date": "2001-01-01")", 5, "")}) {
    Json::Value parameters;
    parameters["schedule"] = json("{" + zone + "," + members + "}");
    parameters["count"] = count;
    const Json::Value data = call("Schedule", "preview", parameters);
    EXPECT_EQ(lines(data["runs"]), expected) << members;
    EXPECT_EQ(data["timezone"], "Europe/Berlin");
  }
  // clang-format on
}

TEST_F(ApisTest, PreviewsTakeWhatTheDesktopSends) {
  Json::Value data = call(
      "Schedule", "preview",
      json(
          R"({"schedule": {"type": "date", "date": "2037-06-01", "repeat_date": "weekly", "hour": "7",
                            "minute": "45", "timezone": "UTC", "colour": "red"}, "count": 2})"));
  EXPECT_EQ(lines(data["runs"]), "2037-06-01 07:45 \n2037-06-08 07:45 \n");
  EXPECT_EQ(data["runs"][0]["at"], Json::Int64{2127455100});
  // The store's own names of members mean nothing here, as when a task is created.
  data = call("Schedule", "preview",
              json(R"({"schedule": {"type": "date", "date": "2037-06-01", "min": 45, "repeat":
                       "weekly", "week_name": "x", "timezone": "UTC"}})"));
  EXPECT_EQ(lines(data["runs"]), "2037-06-01 00:00 \n");
  // Every day at midnight in the appliance's zone, and five of them.
  data = call("Schedule", "preview", json(R"({"schedule": null})"));
  EXPECT_EQ(data["runs"].size(), 5U);
  EXPECT_EQ(data["timezone"], kavo::appliance_zone_name());
}

TEST_F(ApisTest, TimeZonesCanBeNamedInASchedule) {
  const Json::Value data = call("Schedule", "timezones");
  std::vector<std::string> names;
  for (const Json::Value& name : data["timezones"]) {
    names.push_back(name.asString());
    absl::TimeZone zone;
    EXPECT_TRUE(kavo::load_zone(names.back(), zone)) << names.back();
  }
  EXPECT_GT(names.size(), 300U);
  EXPECT_THAT(names, testing::IsSupersetOf({"Africa/Abidjan", "Europe/Berlin", "UTC"}));
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
  const std::string own = data["appliance"].asString();
  EXPECT_TRUE(own.empty() || std::binary_search(names.begin(), names.end(), own)) << own;
}

}  // namespace
