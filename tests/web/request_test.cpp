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

bool is_even(int number) {
  return number % 2 == 0;
}
bool is_short(const std::string& text) {
  return text.size() < 4;
}

TEST(Request, IntegerIsAnIntegerOrItsDecimalText) {
  struct Row {
    const char* value;
    int number;
  };
  for (const Row& row :
       {Row{"0", 0}, Row{"-1", -1}, Row{"2147483647", 2147483647},
        Row{"-2147483648", -2147483647 - 1}, Row{"\"17\"", 17}, Row{"\"-17\"", -17},
        Row{"\"007\"", 7}, Row{"\"-2147483648\"", -2147483647 - 1}}) {
    const auto parameter =
        request_with(row.value).GetAndCheckInt("p", APIRequest::PARAM_REQUIRED, nullptr);
    EXPECT_TRUE(parameter.IsSet() && !parameter.IsInvalid()) << row.value;
    EXPECT_EQ(parameter.Get(), row.number) << row.value;
  }
  for (const char* value : {"2147483648",  "-2147483649", "4294967295", "18446744073709551615",
                            "1.0",         "1.5",         "1e3",        "true",
                            "null",        "[]",          "[1]",        "{}",
                            "\"\"",        "\" 1\"",      "\"1 \"",     "\"1x\"",
                            "\"0x10\"",    "\"1.0\"",     "\"--1\"",    "\"2147483648\"",
                            "\"1\\u0000\""}) {
    for (const auto necessity : {APIRequest::PARAM_REQUIRED, APIRequest::PARAM_OPTIONAL}) {
      const auto parameter = request_with(value).GetAndCheckInt("p", necessity, nullptr);
      EXPECT_TRUE(parameter.IsSet() && parameter.IsInvalid()) << value;
    }
  }
}

TEST(Request, TextIsTextOnly) {
  for (const char* text : {"", "a", "null", "ä"}) {
    const auto parameter = request_with("\"" + std::string(text) + "\"")
                               .GetAndCheckString("p", APIRequest::PARAM_REQUIRED, nullptr);
    EXPECT_TRUE(parameter.IsSet() && !parameter.IsInvalid()) << text;
    EXPECT_EQ(parameter.Get(), text);
  }
  EXPECT_EQ(request_with(R"("a\u0000b")")
                .GetAndCheckString("p", APIRequest::PARAM_OPTIONAL, nullptr)
                .Get(),
            std::string("a\0b", 3));
  for (const char* value : {"1", "1.5", "true", "null", "[]", "[\"a\"]", "{}"}) {
    const auto parameter =
        request_with(value).GetAndCheckString("p", APIRequest::PARAM_OPTIONAL, nullptr);
    EXPECT_TRUE(parameter.IsSet() && parameter.IsInvalid()) << value;
  }
}

TEST(Request, AbsentParameterIsInvalidOnlyWhenRequired) {
  for (const kavo::JsonRequest& request :
       {request_with(""), kavo::JsonRequest(Json::Value(), "en-US")}) {
    for (const bool required : {true, false}) {
      const auto necessity = required ? APIRequest::PARAM_REQUIRED : APIRequest::PARAM_OPTIONAL;
      // Neither validator is asked about a value that is not there.
      const auto number = request.GetAndCheckInt("p", necessity, [](int) { return false; });
      const auto text =
          request.GetAndCheckString("p", necessity, [](const std::string&) { return false; });
      EXPECT_FALSE(number.IsSet() || text.IsSet());
      EXPECT_EQ(number.IsInvalid(), required);
      EXPECT_EQ(text.IsInvalid(), required);
    }
  }
}

TEST(Request, ValidatorRejectsReadableValues) {
  const auto necessity = APIRequest::PARAM_OPTIONAL;
  EXPECT_FALSE(request_with("4").GetAndCheckInt("p", necessity, is_even).IsInvalid());
  EXPECT_FALSE(request_with("\"4\"").GetAndCheckInt("p", necessity, is_even).IsInvalid());
  const auto odd = request_with("5").GetAndCheckInt("p", necessity, is_even);
  EXPECT_TRUE(odd.IsSet() && odd.IsInvalid());
  EXPECT_FALSE(request_with("\"abc\"").GetAndCheckString("p", necessity, is_short).IsInvalid());
  EXPECT_TRUE(request_with("\"abcd\"").GetAndCheckString("p", necessity, is_short).IsInvalid());
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
