// From the time fields of a crontab to a schedule.
#pragma once

#include <absl/time/civil_time.h>

#include "crontab/cron_fields.h"
#include "schedule/schedule.h"

namespace kavo {

// The schedule that is due, from `today` on, at exactly the minutes of the wall clock that the
// fields match, in every year to come. How the two differ while the clock is being changed does not
// count: there the rules of schedules hold. Throws Inexpressible when there is no such schedule.
Schedule schedule_of(const CronFields& fields, absl::CivilDay today);

}  // namespace kavo
