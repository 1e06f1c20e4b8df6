// The orders in which tasks are listed.
#pragma once

#include <string>

#include "store/record.h"

namespace kavo {

// Whether the first task comes before the second one.
using TaskOrder = bool (*)(const Task& a, const Task& b);

// The ascending order of a sort key: "state", "id", "app name", "name", "action" or "next trigger
// time". Ids and times compare by value, texts without regard to the case of ASCII letters and then
// by bytes, states on before off; no next time comes after every time; ties go by id. Throws
// StoreFailure (kInvalidArgument) for any other key.
TaskOrder sort_order(const std::string& key);

}  // namespace kavo
