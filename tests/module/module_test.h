// What the module's tests share: JSON literals, answers, and a fixture that calls the module as a
// server does and fails on whatever is left over.
#pragma once

#include <app_parser.h>
#include <entry_points.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "module/fake_platform.h"
#include "web/request.h"

constexpr const char* kBeep = "KAVO.ZEL.TaskScheduler.Beep";
constexpr const char* kScript = "KAVO.ZEL.TaskScheduler.Script";
constexpr const char* kService = "KAVO.ZEL.TaskScheduler.Service";
constexpr const char* kRecycle = "KAVO.ZEL.TaskScheduler.Recycle";
constexpr const char* kDesktopStrings = "/usr/kavo/kavoman/webman/texts/en-US";

inline Json::Value json(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}
inline Json::Value operator""_json(const char* text, size_t length) {
  return json({text, length});
}

// The compact text, for comparing: 5 is 5, whatever integer type the value has.
inline std::string compact(const Json::Value& value) {
  return Json::FastWriter().write(value);
}

// An object with some of its members set anew.
inline Json::Value with(Json::Value object, const Json::Value& members) {
  for (const std::string& name : members.getMemberNames()) object[name] = members[name];
  return object;
}

struct Answer {
  bool success = false;
  int code = 0;
  Json::Value data;

  std::string text() const { return (success ? "success " : std::to_string(code)) + compact(data); }
  bool operator==(const Answer& other) const { return text() == other.text(); }
  friend std::ostream& operator<<(std::ostream& out, const Answer& a) { return out << a.text(); }
};

inline Answer success(Json::Value data = {}) {
  return {true, 0, std::move(data)};
}
inline Answer error(int code, const std::string& message = "") {
  return {false, code, message.empty() ? Json::Value() : json(R"({"msg": ")" + message + "\"}")};
}

// The one answer; none or more than one fails the test.
inline Answer only(const kavo::JsonResponse& response) {
  EXPECT_EQ(response.answers(), 1);
  const Json::Value& envelope = response.envelope();
  if (response.success()) return success(envelope["data"]);
  return {false, envelope["error"]["code"].asInt(), envelope["error"]["data"]};
}

// Fails on a record, a list or a hash that is still held, and on a log line that was not taken.
class ModuleTest : public ::testing::Test {
 protected:
  ModuleTest() { platform = FakePlatform(); }
  void TearDown() override { expect_nothing_left(); }
  static void expect_nothing_left() {
    EXPECT_TRUE(platform.records == 0 && platform.hashes == 0 && platform.string_lists == 0);
    EXPECT_EQ(take_log(), Lines());
  }

  // Sends a request through the method table, which must answer it once.
  static Answer call(const std::string& method, int version, const Json::Value& parameters,
                     const std::string& language = "en-US") {
    const KAVO::APIMethod* row = GetAPITable();
    while (row->api != nullptr && (method != row->method || version != row->version)) ++row;
    kavo::JsonRequest request(parameters, language);
    kavo::JsonResponse response;
    row->handler(&request, &response);
    return only(response);
  }

  static Lines take_log() { return std::exchange(platform.log, {}); }
  static Lines take_calls() { return std::exchange(platform.calls, {}); }
  // The recorded calls that start so. Those that set something are the app handlers' own work.
  static Lines calls_of(const std::string& start) {
    Lines found;
    std::copy_if(platform.calls.begin(), platform.calls.end(), std::back_inserter(found),
                 [&](const std::string& call) { return call.starts_with(start); });
    return found;
  }
  static bool saved() { return !calls_of("KAVOSchedTaskSave").empty(); }
};

// A handler that stands outside an entry function, with what it borrows.
template <typename Handler>
struct Standalone {
  explicit Standalone(Json::Value parameters = Json::objectValue)
      : request(std::move(parameters), "en-US"),
        parser(std::make_unique<KAVO::Core::TaskScheduler::AppParser>("en-US")),
        handler(&request, &response, parser.get()) {}

  kavo::JsonRequest request;
  kavo::JsonResponse response;

  std::unique_ptr<KAVO::Core::TaskScheduler::AppParser> parser;
  Handler handler;
};
