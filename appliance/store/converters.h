// Tasks as sections of a JSON document.
#pragma once

#include <json/value.h>

#include "store/record.h"

namespace kavo {

// The "basic" and the "schedule" section of a task.
Json::Value basic_section(const Task& task);
Json::Value schedule_section(const Task& task);

// Sets a record's properties of a section from the whole document `doc`. A null or missing member
// sets its default. Throw StoreFailure (kBadInput) with the cause for a document that cannot be
// stored; the record is then unchanged.
void set_basic(const Json::Value& doc, TaskRecord& record);
void set_schedule(const Json::Value& doc, TaskRecord& record);

}  // namespace kavo
