// The web API framework: what a module and the server that loads it know of each other.
//
// The server loads a module, asks it for its table through GetAPITable() (C linkage), and for each
// request that matches a row calls the row's handler with one request and one response. Both belong
// to the server and live until the handler returns.
#pragma once

#include <json/value.h>

#include <string>
#include <utility>

#pragma GCC visibility push(default)

namespace KAVO {

// A request parameter read as T. A value: it stays valid after the request is gone.
template <typename T>
class APIParameter {
 public:
  // A parameter that the request does not carry; invalid when it was required.
  static APIParameter Absent(bool required) { return APIParameter(T(), false, required); }
  // A parameter that the request carries but that cannot be read as T.
  static APIParameter Unreadable() { return APIParameter(T(), true, true); }
  static APIParameter Of(T value) { return APIParameter(std::move(value), true, false); }

  // The request carries the parameter, readable or not.
  bool IsSet() const { return set_; }
  // It is required and missing, or given and not readable as T, or rejected by the validator.
  bool IsInvalid() const { return invalid_; }
  // The value. Only meaningful when the parameter is set and not invalid.
  const T& Get() const { return value_; }

 private:
  APIParameter(T value, bool set, bool invalid)
      : value_(std::move(value)), set_(set), invalid_(invalid) {}

  T value_;
  bool set_;
  bool invalid_;
};

class APIRequest {
 public:
  enum PARAM_NECESSITY { PARAM_REQUIRED = 0, PARAM_OPTIONAL = 1 };

  virtual ~APIRequest() = default;

  // The language of the user's desktop: a code that names a strings folder. The server has checked
  // that such a folder exists.
  virtual std::string GetUILanguage() const = 0;

  // The named parameter. An integer is a JSON integer in the 32-bit range, or text that is wholly a
  // decimal integer in that range; a text is JSON text only. A validator that returns false makes a
  // readable value invalid; null accepts every value.
  virtual APIParameter<int> GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                           bool (*validator)(int)) const = 0;
  virtual APIParameter<std::string> GetAndCheckString(
      const std::string& name, PARAM_NECESSITY necessity,
      bool (*validator)(const std::string&)) const = 0;

  // The named parameter as it was sent, or `fallback` when it is absent. The empty name answers the
  // whole parameter object, with each parameter as a member.
  virtual Json::Value GetParam(const std::string& name, const Json::Value& fallback) const = 0;
};

class APIResponse {
 public:
  virtual ~APIResponse() = default;

  // Answers the request. A request is answered once, by one of the two.
  virtual void SetSuccess(const Json::Value& data) = 0;
  virtual void SetError(int code, const Json::Value& data) = 0;
};

// A row of a module's method table. A row whose four fields are all zero ends the table.
struct APIMethod {
  const char* api;
  int version;
  const char* method;
  void (*handler)(APIRequest* request, APIResponse* response);
};

}  // namespace KAVO

#pragma GCC visibility pop
