#include "apis/answer.h"

#include <syslog.h>

#include "store/failure.h"

namespace kavo {
namespace {

void refuse(KAVO::APIResponse* response, int code, const char* message) {
  Json::Value data;
  data["msg"] = message;
  response->SetError(code, data);
}

}  // namespace

void answer(const KAVO::APIRequest* request, KAVO::APIResponse* response,
            Json::Value (*method)(const KAVO::APIRequest& request)) {
  Json::Value data;
  try {
    data = method(*request);
  } catch (const WrongParameter& error) {
    return refuse(response, kErrorParameter, error.what());
  } catch (const StoreFailure& failure) {
    const bool missing =
        failure.code() == StoreError::kNoSuchRun || failure.code() == StoreError::kNoSuchTask;
    if (!missing) {
      syslog(LOG_ERR, "%s", failure.what());
    }
    return refuse(response, missing ? kErrorMissing : kErrorStore, failure.what());
  } catch (const std::runtime_error& error) {
    syslog(LOG_ERR, "%s", error.what());
    return refuse(response, kErrorStore, error.what());
  }
  response->SetSuccess(data);
}

std::optional<int> integer(const KAVO::APIRequest& request, const char* name, int least, int most) {
  const auto value = request.GetAndCheckInt(name, KAVO::APIRequest::PARAM_OPTIONAL, nullptr);
  if (!value.IsSet()) {
    return std::nullopt;
  }
  if (value.IsInvalid() || value.Get() < least || value.Get() > most) {
    throw WrongParameter(std::string("\"") + name + "\" is not an integer from " +
                         std::to_string(least) + " to " + std::to_string(most) + ".");
  }
  return value.Get();
}

int required_integer(const KAVO::APIRequest& request, const char* name, int least, int most) {
  const std::optional<int> value = integer(request, name, least, most);
  if (!value) {
    throw WrongParameter(std::string("\"") + name + "\" is missing.");
  }
  return *value;
}

}  // namespace kavo
