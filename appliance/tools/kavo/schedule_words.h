// Schedules for people.
#pragma once

#include <string>

#include "schedule/schedule.h"

namespace kavo {

// A schedule as one short phrase: "Mon, Fri every 10 min from 09:00 to 17:50 (Europe/Berlin)".
std::string schedule_words(const Schedule& schedule);

}  // namespace kavo
