
#include <limits>
#include <vector>

#include "schedule/fixture.h"

namespace kavo {
namespace {

std::string error_of(const Json::Value& section) {
  std::string error;
  EXPECT_EQ(parse_schedule(section, kToday, error), std::nullopt) << section;
  return error;
}

Json::Value nested(int levels) {
  return json(std::string(static_cast<std::size_t>(levels), '[') +
              std::string(static_cast<std::size_t>(levels), ']'));
}

// clang-format off
TEST(ScheduleTest, PrintsWhatItRead) {
  const Json::Value defaults = json(
      R"({"type":"weekly","week_name":"0,1,2,3,4,5,6","date":"2024-01-15","repeat":"never","hour":0,"min":0,"repeat_hour":0,
          "repeat_min":0,"last_hour":23,"last_min":59,"timezone":"","missed":"skip","time_limit":0})");
  Json::Value nulls;
  for (const std::string& name : defaults.getMemberNames()) nulls[name] = Json::nullValue;
  for (const Json::Value& section : {Json::Value(), Json::Value(Json::objectValue), nulls}) {
    EXPECT_EQ(print_schedule(schedule_of(section)), defaults);
  }
  for (const char* section : {
           R"({"type":"date","week_name":"1,3","date":"2024-02-29","repeat":"half_yearly","hour":1,"min":2,"repeat_hour":3,
               "repeat_min":4,"last_hour":5,"last_min":6,"timezone":"Europe/Berlin","missed":"once","time_limit":7})",
           R"({"type":"weekly","week_name":"0","date":"9999-12-31","repeat":"daily","hour":23,"min":59,"repeat_hour":0,
               "repeat_min":59,"last_hour":23,"last_min":59,"timezone":"","missed":"skip","time_limit":527040,
               "colour":"\u00e4\ud83d\ude00","deep":{"list":[1,2.5,null,true,{}]}})"}) {
    EXPECT_EQ(print_schedule(schedule_of(json(section))), json(section));
  }
  for (const auto& [other, same] : std::vector<std::pair<const char*, const char*>>{
           {R"({"hour":"07","min":"5","time_limit":"90"})", R"({"hour":7,"min":5,"time_limit":90})"},
           {R"({"week_name":"5,1,5"})", R"({"week_name":"1,5"})"},
           {R"({"repeat_min_store_config":[1],"repeat_hour_store_config":{},"next_trigger_time":7})", "{}"}}) {
    EXPECT_EQ(schedule_of(json(other)), schedule_of(json(same)));
  }
  // The date of a machine without a clock can be read back.
  std::string error;
  const auto early = parse_schedule(Json::Value(), absl::CivilDay(1969, 12, 31), error);
  ASSERT_TRUE(early);
  EXPECT_EQ(parse_schedule(print_schedule(*early), kToday, error), early) << error;
}

TEST(ScheduleTest, RefusalsNameTheMemberAndItsValue) {
  const std::string days = " is not day numbers 0 to 6, separated by commas";
  const std::string date = " is not a day from 1970-01-01 to 9999-12-31";
  const std::pair<const char*, std::string> rows[] = {
      {"[]", "schedule: an array is not an object"}, {R"("x")", "schedule: \"x\" is not an object"},
      {R"({"type":"monthly"})", "type: \"monthly\" is not one of weekly, date"}, {R"({"type":1})", "type: 1 is not one of"},
      {R"({"repeat":"Daily"})", "repeat: \"Daily\" is not one of never, daily, weekly, monthly, quarterly, half_yearly, yearly"},
      {R"({"missed":true})", "missed: true is not one of skip, once"},
      {R"({"hour":24})", "hour: 24 is not an integer from 0 to 23"}, {R"({"hour":-1})", "hour: -1 is not an integer"},
      {R"({"hour":"24"})", "hour: \"24\" is not an integer from 0 to 23"}, {R"({"min":60})", "min: 60 is not an integer from 0 to 59"},
      {R"({"min":30.0})", "min: 30.0 is"}, {R"({"min":"30 "})", "min: \"30 \" is"}, {R"({"min":""})", "min: \"\" is"},
      {R"({"min":"+3"})", "min: \"+3\" is"}, {R"({"min":"3\u0000"})", "min: \"3\\u0000\" is"}, {R"({"min":false})", "min: false is"},
      {R"({"min":[3]})", "min: an array is"}, {R"({"min":4294967296})", "min: 4294967296 is"},
      {R"({"min":18446744073709551615})", "min: 18446744073709551615 is"}, {R"({"min":"99999999999999999999"})", "min: \"9999999"},
      {R"({"repeat_hour":24})", "repeat_hour: 24 is"}, {R"({"repeat_min":60})", "repeat_min: 60 is"},
      {R"({"last_hour":24})", "last_hour: 24 is"}, {R"({"last_min":60})", "last_min: 60 is"},
      {R"({"time_limit":527041})", "time_limit: 527041 is not an integer from 0 to 527040"},
      {R"({"week_name":""})", "week_name: \"\"" + days}, {R"({"week_name":"7"})", "week_name: \"7\"" + days},
      {R"({"week_name":"1,"})", "week_name: \"1,\"" + days}, {R"({"week_name":"1, 2"})", "week_name: \"1, 2\"" + days},
      {R"({"week_name":3})", "week_name: 3" + days}, {R"({"date":"2023-02-29"})", "date: \"2023-02-29\"" + date},
      {R"({"date":"2024-13-01"})", "date: \"2024-13-01\"" + date}, {R"({"date":"2024-00-10"})", "date: \"2024-00-10\"" + date},
      {R"({"date":"1969-12-31"})", "date: \"1969-12-31\"" + date}, {R"({"date":"2024-1-01 "})", "date: \"2024-1-01 \"" + date},
      {R"({"date":"2024/01/01"})", "date: \"2024/01/01\"" + date}, {R"({"date":20240101})", "date: 20240101" + date},
      {R"({"timezone":"Mars/Olympus"})", "timezone: \"Mars/Olympus\" is not a time zone of this system"},
      {R"({"timezone":{}})", "timezone: an object is not a time zone of this system"},
      {R"({"hour":9,"min":5,"repeat_min":1,"last_hour":9,"last_min":4})", "last_hour, last_min: 09:04 is before the first run at 09:05"},
      {R"({"note":"a\u0000b"})", "\"note\": holds text that is not clean UTF-8"}, {R"({"no\u0000te":1})", "\"no\\u0000te\": holds"},
      {R"({"hour\u0000":1})", "\"hour\\u0000\": holds"}, {R"({"note":[{"a\u0000":1}]})", "\"note\": holds"}};
  // clang-format on
  for (const auto& [section, message] : rows) {
    EXPECT_THAT(error_of(json(section)), testing::StartsWith(message)) << section;
  }
}

TEST(ScheduleTest, KeepsOnlyMembersThatCanBeStored) {
  Json::Value section;
  for (const Json::Value& value : {Json::Value("\xf0\x9f\x98\x80"), nested(100)}) {
    section["note"] = value;
    EXPECT_EQ(schedule_of(section).other, section);
  }
  for (const Json::Value& value : {Json::Value("\xf0\x9f\x98"), nested(101),
                                   Json::Value(std::numeric_limits<double>::quiet_NaN())}) {
    section["note"] = value;
    EXPECT_THAT(error_of(section), testing::StartsWith("\"note\": "));
  }
  section["type"] = "\n\x1b\x7f\xff" + std::string(100000, 'x');
  const std::string error = error_of(section);
  EXPECT_LT(error.size(), 200U);
  EXPECT_TRUE(std::all_of(error.begin(), error.end(), [](char c) { return c >= ' ' && c <= '~'; }));
}

// Every two members with every two of values of all shapes.
TEST(ScheduleTest, AnyJsonIsReadOrRefused) {
  // clang-format off
  const char* const names[] = {
      "type", "week_name", "date", "repeat", "hour", "min", "repeat_hour", "repeat_min", "last_hour", "last_min",
      "timezone", "missed", "time_limit", "next_trigger_time", "note"};
  const Json::Value values[] = {
      Json::Value(), true, 1, 23, -1, 59.0, 1e300, Json::Int64{-1} << 63, Json::UInt64{1} << 63, "", "date", "weekly", "daily",
      "yearly", "once", "UTC", "0,6", "2024-02-29", "2024-02-30", "5", "\xff", nested(3), json(R"({"\u0000": 1})")};
  // clang-format on
  constexpr std::int64_t kNow = 1000000000;
  int read = 0;
  for (const char* first : names) {
    for (const char* second : names) {
      for (const Json::Value& value : values) {
        for (const Json::Value& other : values) {
          Json::Value section;
          section[first] = value;
          section[second] = other;
          std::string error;
          const std::optional<Schedule> schedule = parse_schedule(section, kToday, error);
          ASSERT_EQ(schedule.has_value(), error.empty()) << section << error;
          if (!schedule) continue;
          ++read;
          ASSERT_EQ(parse_schedule(print_schedule(*schedule), kToday + 1, error), schedule)
              << section;
          const std::optional<std::int64_t> run = next_run(*schedule, absl::UTCTimeZone(), kNow);
          ASSERT_TRUE(!run || *run > kNow) << section;
        }
      }
    }
  }
  EXPECT_GT(read, 2000);
}

}  // namespace
}  // namespace kavo
