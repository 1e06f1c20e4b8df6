// What a module gets from a request, and what becomes of its answer.
#include "web/request.h"

#include <gtest/gtest.h>

#include "base/strict_json.h"

namespace {

using KAVO::APIRequest;

// The request {"p": value}; without a value: {}.
kavo::JsonRequest request_with(const std::string& value) {
  const std::string text = value.empty() ? "{}" : "{\"p\": " + value + "}";
  const auto parameters = kavo::parse_strict_json(text);
  EXPECT_TRUE(parameters.has_value()) << text;
  return kavo::JsonRequest(parameters.value_or(Json::Value()), "de-DE");
}

// A parameter as a word: its value, "absent" or "invalid".
std::string integer(const std::string& value, APIRequest::PARAM_NECESSITY necessity,
                    bool (*validator)(int) = nullptr) {
  const auto parameter = request_with(value).GetAndCheckInt("p", necessity, validator);
  EXPECT_EQ(parameter.IsSet(), !value.empty());
  if (parameter.IsInvalid()) return "invalid";
  return parameter.IsSet() ? std::to_string(parameter.Get()) : "absent";
}
std::string text(const std::string& value, APIRequest::PARAM_NECESSITY necessity,
                 bool (*validator)(const std::string&) = nullptr) {
  const auto parameter = request_with(value).GetAndCheckString("p", necessity, validator);
  EXPECT_EQ(parameter.IsSet(), !value.empty());
  if (parameter.IsInvalid()) return "invalid";
  return parameter.IsSet() ? parameter.Get() : "absent";
}

TEST(Request, IntegerIsAnIntegerOrItsDecimalText) {
  // clang-format off
  for (const auto& [value, expected] : {
           std::pair("0", "0"), std::pair("-1", "-1"), std::pair("2147483647", "2147483647"),
           std::pair("-2147483648", "-2147483648"), std::pair("\"17\"", "17"), std::pair("\"-17\"", "-17"),
           std::pair("\"007\"", "7"), std::pair("\"-2147483648\"", "-2147483648")}) {
    EXPECT_EQ(integer(value, APIRequest::PARAM_REQUIRED), expected);
  }
  for (const char* value : {
           "2147483648", "-2147483649", "4294967295", "18446744073709551615", "1.0", "1.5", "1e3", "true", "null", "[]",
           "[1]", "{}", "\"\"", "\" 1\"", "\"1 \"", "\"1x\"", "\"0x10\"", "\"1.0\"", "\"2147483648\"", "\"1\\u0000\""}) {
    EXPECT_EQ(integer(value, APIRequest::PARAM_OPTIONAL), "invalid") << value;
  }
  // clang-format on
}

TEST(Request, TextIsTextOnly) {
  for (const std::string value : {"", "a", "null", "ä"}) {
    EXPECT_EQ(text("\"" + value + "\"", APIRequest::PARAM_REQUIRED), value);
  }
  EXPECT_EQ(text(R"("a\u0000b")", APIRequest::PARAM_OPTIONAL), std::string("a\0b", 3));
  for (const char* value : {"1", "1.5", "true", "null", "[\"a\"]", "{}"}) {
    EXPECT_EQ(text(value, APIRequest::PARAM_OPTIONAL), "invalid") << value;
  }
}

TEST(Request, AbsentIsInvalidOnlyWhenRequiredAndValidatorsRejectReadableValues) {
  for (const auto& [necessity, expected] : {std::pair(APIRequest::PARAM_REQUIRED, "invalid"),
                                            std::pair(APIRequest::PARAM_OPTIONAL, "absent")}) {
    // Neither validator is asked about a value that is not there.
    EXPECT_EQ(integer("", necessity, [](int) { return false; }), expected);
    EXPECT_EQ(text("", necessity, [](const std::string&) { return false; }), expected);
    EXPECT_TRUE(
        kavo::JsonRequest(Json::Value(), "").GetAndCheckInt("p", necessity, nullptr).IsInvalid() ==
        (necessity == APIRequest::PARAM_REQUIRED));
    const auto is_even = [](int number) { return number % 2 == 0; };
    EXPECT_EQ(integer("\"4\"", necessity, is_even), "4");
    EXPECT_EQ(integer("5", necessity, is_even), "invalid");
    const auto is_short = [](const std::string& word) { return word.size() < 4; };
    EXPECT_EQ(text("\"abc\"", necessity, is_short), "abc");
    EXPECT_EQ(text("\"abcd\"", necessity, is_short), "invalid");
  }
}

TEST(Request, ParameterAsItWasSentOrTheFallback) {
  const Json::Value fallback("fallback");
  EXPECT_EQ(request_with("[1, {}]").GetParam("p", fallback).toStyledString(),
            kavo::parse_strict_json("[1, {}]")->toStyledString());
  EXPECT_EQ(request_with("null").GetParam("p", fallback), Json::Value());
  EXPECT_EQ(request_with("1").GetParam("P", fallback), fallback);
  EXPECT_EQ(request_with("1").GetParam("", fallback), *kavo::parse_strict_json(R"({"p": 1})"));
  EXPECT_EQ(request_with("").GetParam("", fallback), Json::Value(Json::objectValue));
  EXPECT_EQ(request_with("1").GetUILanguage(), "de-DE");
}

TEST(Response, FirstAnswerStandsAndAllAreCounted) {
  kavo::JsonResponse success;
  EXPECT_EQ(success.answers(), 0);
  success.SetSuccess(Json::Value());
  success.SetError(117, "too late");
  EXPECT_EQ(success.answers(), 2);
  EXPECT_TRUE(success.success());
  EXPECT_EQ(success.envelope(), *kavo::parse_strict_json(R"({"success": true, "data": null})"));

  kavo::JsonResponse error;
  error.SetError(4800, *kavo::parse_strict_json(R"({"msg": "why"})"));
  EXPECT_EQ(error.answers(), 1);
  EXPECT_FALSE(error.success());
  EXPECT_EQ(error.envelope(),
            *kavo::parse_strict_json(
                R"({"success": false, "error": {"code": 4800, "data": {"msg": "why"}}})"));
}

}  // namespace
