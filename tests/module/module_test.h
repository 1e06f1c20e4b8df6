// What the module's tests share: a request and a response, JSON literals, and a fixture that calls
// the module as a server does and fails on whatever is left over.
#pragma once

#include <app_parser.h>
#include <entry_points.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "module/fake_platform.h"

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

class FakeRequest : public KAVO::APIRequest {
 public:
  explicit FakeRequest(Json::Value parameters, std::string language = "en-US")
      : parameters_(std::move(parameters)), language_(std::move(language)) {}

  std::string GetUILanguage() const override { return language_; }
  KAVO::APIParameter<int> GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                         bool (*validator)(int)) const override {
    EXPECT_EQ(validator, nullptr);
    const Json::Value value = parameters_[name];
    const std::string text = value.isString() || value.isInt() ? value.asString() : "";
    int number = 0;
    const auto [stop, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
    return parameter(name, necessity, number, fault == std::errc() && *stop == '\0');
  }
  KAVO::APIParameter<std::string> GetAndCheckString(
      const std::string& name, PARAM_NECESSITY necessity,
      bool (*validator)(const std::string&)) const override {
    EXPECT_EQ(validator, nullptr);
    const Json::Value value = parameters_[name];
    return parameter(name, necessity, value.isString() ? value.asString() : std::string(),
                     value.isString());
  }
  Json::Value GetParam(const std::string& name, const Json::Value& fallback) const override {
    return name.empty() ? parameters_ : parameters_.get(name, fallback);
  }

 private:
  template <typename T>
  KAVO::APIParameter<T> parameter(const std::string& name, PARAM_NECESSITY necessity, T value,
                                  bool readable) const {
    using Parameter = KAVO::APIParameter<T>;
    if (!parameters_.isMember(name)) return Parameter::Absent(necessity == PARAM_REQUIRED);
    return readable ? Parameter::Of(value) : Parameter::Unreadable();
  }

  Json::Value parameters_;
  std::string language_;
};

class FakeResponse : public KAVO::APIResponse {
 public:
  void SetSuccess(const Json::Value& data) override { answers.push_back({true, 0, data}); }
  void SetError(int code, const Json::Value& data) override {
    answers.push_back({false, code, data});
  }
  // The one answer; anything else fails the test.
  Answer only() const {
    EXPECT_EQ(answers.size(), 1U);
    return answers.empty() ? Answer() : answers.front();
  }

  std::vector<Answer> answers;
};

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
    FakeRequest request(parameters, language);
    FakeResponse response;
    row->handler(&request, &response);
    return response.only();
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
      : request(std::move(parameters)),
        parser(std::make_unique<KAVO::Core::TaskScheduler::AppParser>("en-US")),
        handler(&request, &response, parser.get()) {}

  FakeRequest request;
  FakeResponse response;
  std::unique_ptr<KAVO::Core::TaskScheduler::AppParser> parser;
  Handler handler;
};
