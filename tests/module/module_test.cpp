#include "module/module_test.h"

#include <charconv>

KAVO::APIParameter<int> FakeRequest::GetAndCheckInt(const std::string& name,
                                                    PARAM_NECESSITY necessity,
                                                    bool (*validator)(int)) const {
  using Parameter = KAVO::APIParameter<int>;
  EXPECT_EQ(validator, nullptr);
  if (!parameters_.isMember(name)) return Parameter::Absent(necessity == PARAM_REQUIRED);
  const Json::Value& value = parameters_[name];
  if (value.isInt()) return Parameter::Of(value.asInt());
  if (!value.isString()) return Parameter::Unreadable();
  const std::string text = value.asString();
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, number);
  return fault == std::errc() && stop == end ? Parameter::Of(number) : Parameter::Unreadable();
}

KAVO::APIParameter<std::string> FakeRequest::GetAndCheckString(
    const std::string& name, PARAM_NECESSITY necessity,
    bool (*validator)(const std::string&)) const {
  using Parameter = KAVO::APIParameter<std::string>;
  EXPECT_EQ(validator, nullptr);
  if (!parameters_.isMember(name)) return Parameter::Absent(necessity == PARAM_REQUIRED);
  const Json::Value& value = parameters_[name];
  return value.isString() ? Parameter::Of(value.asString()) : Parameter::Unreadable();
}

Json::Value FakeRequest::GetParam(const std::string& name, const Json::Value& fallback) const {
  if (name.empty()) return parameters_;
  return parameters_.isMember(name) ? parameters_[name] : fallback;
}

Answer FakeResponse::only() const {
  EXPECT_EQ(answers.size(), 1U);
  return answers.empty() ? Answer() : answers.front();
}

Answer ModuleTest::call(const std::string& method, int version, const Json::Value& parameters,
                        const std::string& language) {
  for (const KAVO::APIMethod* row = GetAPITable(); row->api != nullptr; ++row) {
    if (method != row->method || version != row->version) continue;
    FakeRequest request(parameters, language);
    FakeResponse response;
    row->handler(&request, &response);
    return response.only();
  }
  ADD_FAILURE() << "no such row: " << method << " " << version;
  return {};
}

void ModuleTest::expect_nothing_left() {
  EXPECT_EQ(platform.records, 0);
  EXPECT_EQ(platform.hashes, 0);
  EXPECT_EQ(platform.string_lists, 0);
  EXPECT_EQ(take_log(), Lines());
}

Lines ModuleTest::setters() {
  Lines found;
  for (const std::string& call : platform.calls) {
    if (call.starts_with("Set")) found.push_back(call);
  }
  return found;
}

bool ModuleTest::saved() {
  for (const std::string& call : platform.calls) {
    if (call.starts_with("KAVOSchedTaskSave")) return true;
  }
  return false;
}
