// Reading parameters and answering, alike in all methods of the appliance's APIs.
#pragma once

#include <json/value.h>
#include <kavowebapi.h>

#include <optional>
#include <stdexcept>
#include <string>

namespace kavo {

// The codes of error answers.
inline constexpr int kErrorStore = 117;       // the store, or the system, failed or refused
inline constexpr int kErrorParameter = 4800;  // a parameter is missing or has the wrong shape
inline constexpr int kErrorMissing = 4801;    // there is no such task or run

// A parameter cannot be used. The message is for people.
class WrongParameter : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Answers with what `method` returns, or with the error for what it throws: WrongParameter,
// StoreFailure, or another std::runtime_error for a system that fails.
void answer(const KAVO::APIRequest* request, KAVO::APIResponse* response,
            Json::Value (*method)(const KAVO::APIRequest& request));

// An integer parameter from `least` to `most`; none when it is not sent.
std::optional<int> integer(const KAVO::APIRequest& request, const char* name, int least, int most);
// The same for one that has to be sent.
int required_integer(const KAVO::APIRequest& request, const char* name, int least, int most);

}  // namespace kavo
