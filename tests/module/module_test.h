// What the module's tests share: a request and a response, JSON literals, and a fixture that calls
// the module as a server does and fails on whatever is left over.
#pragma once

#include <app_parser.h>
#include <entry_points.h>
#include <gtest/gtest.h>
#include <json/json.h>

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

inline Json::Value operator""_json(const char* text, size_t length) {
  Json::Value value;
  std::string errors;
  const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
  EXPECT_TRUE(reader->parse(text, text + length, &value, &errors)) << errors << text;
  return value;
}

// The compact text, for comparing: 5 is 5, whatever integer type the value has.
inline std::string compact(const Json::Value& value) {
  return Json::FastWriter().write(value);
}

struct Answer {
  bool success = false;
  int code = 0;
  Json::Value data;

  bool operator==(const Answer& other) const {
    return success == other.success && code == other.code && compact(data) == compact(other.data);
  }
  friend std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << (answer.success ? "success " : "error " + std::to_string(answer.code) + " ")
               << compact(answer.data);
  }
};

inline Answer success(Json::Value data = {}) {
  return {true, 0, std::move(data)};
}
inline Answer bare_error(int code) {
  return {false, code, {}};
}
inline Answer error(int code, const std::string& message) {
  Json::Value data;
  data["msg"] = message;
  return {false, code, data};
}

class FakeRequest : public KAVO::APIRequest {
 public:
  explicit FakeRequest(Json::Value parameters, std::string language = "en-US")
      : parameters_(std::move(parameters)), language_(std::move(language)) {}

  std::string GetUILanguage() const override { return language_; }
  KAVO::APIParameter<int> GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                         bool (*validator)(int)) const override;
  KAVO::APIParameter<std::string> GetAndCheckString(
      const std::string& name, PARAM_NECESSITY necessity,
      bool (*validator)(const std::string&)) const override;
  Json::Value GetParam(const std::string& name, const Json::Value& fallback) const override;

 private:
  Json::Value parameters_;
  std::string language_;
};

class FakeResponse : public KAVO::APIResponse {
 public:
  void SetSuccess(const Json::Value& data) override { answers.push_back(success(data)); }
  void SetError(int code, const Json::Value& data) override {
    answers.push_back({false, code, data});
  }
  // The one answer; anything else fails the test.
  Answer only() const;

  std::vector<Answer> answers;
};

class ModuleTest : public ::testing::Test {
 protected:
  ModuleTest() { platform = FakePlatform(); }
  void TearDown() override { expect_nothing_left(); }

  // Sends a request through the method table, which must answer it once.
  static Answer call(const std::string& method, int version, const Json::Value& parameters,
                     const std::string& language = "en-US");

  // No record, list or hash is still held, and no log line was left unread.
  static void expect_nothing_left();
  static Lines take_log() { return std::exchange(platform.log, {}); }
  static Lines take_calls() { return std::exchange(platform.calls, {}); }
  // The recorded calls that set something, which are the app handlers' own work.
  static Lines setters();
  static bool saved();
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
