// Requests and responses as the server, and the command line, hand them to a module.
#pragma once

#include <json/value.h>
#include <kavowebapi.h>

#include <optional>
#include <string>

namespace kavo {

// A request whose parameters are the members of one JSON object.
class JsonRequest : public KAVO::APIRequest {
 public:
  // `parameters` is an object or null; `language` names a strings folder that exists.
  JsonRequest(Json::Value parameters, std::string language);

  std::string GetUILanguage() const override;
  KAVO::APIParameter<int> GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                         bool (*validator)(int)) const override;
  KAVO::APIParameter<std::string> GetAndCheckString(
      const std::string& name, PARAM_NECESSITY necessity,
      bool (*validator)(const std::string&)) const override;
  Json::Value GetParam(const std::string& name, const Json::Value& fallback) const override;

 private:
  const Json::Value parameters_;
  const std::string language_;
};

// A response that keeps its first answer and counts all.
class JsonResponse : public KAVO::APIResponse {
 public:
  void SetSuccess(const Json::Value& data) override;
  void SetError(int code, const Json::Value& data) override;

  int answers() const { return answers_; }
  bool success() const { return success_; }
  // {"success": true, "data": ...} or {"success": false, "error": {"code": N, "data": ...}}.
  const Json::Value& envelope() const { return envelope_; }

 private:
  void answer(bool success, const char* name, const Json::Value& value);

  int answers_ = 0;
  bool success_ = false;
  Json::Value envelope_;
};

}  // namespace kavo
