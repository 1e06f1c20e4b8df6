// From the body of a request to a module's answer.
#pragma once

#include <json/value.h>

#include <string>

#include "web/http_message.h"
#include "web/limits.h"
#include "web/module.h"

namespace kavo {

// The parameters in a body: one JSON object, nested no deeper than `depth`. Throws Refused (400).
Json::Value read_parameters(const std::string& body, std::size_t depth);

// Calls a method; its envelope. Throws ModuleFailure, and Refused (413) when the answer holds a
// list of more than `list_results` elements.
Json::Value call_method(const KAVO::APIMethod& method, const Json::Value& parameters,
                        const std::string& language, unsigned list_results);

}  // namespace kavo
