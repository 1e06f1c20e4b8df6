// The system's time zones. Every function may be called by several threads at once, and a zone
// whose file was replaced since is read anew: an update of the zone database, or another zone for
// the appliance, holds from the next call.
//
// The zones that are returned are named by their files; `absl::TimeZone::name` is no IANA name.
#pragma once

#include <absl/time/time.h>

#include <string>
#include <vector>

#include "schedule/schedule.h"

namespace kavo {

// Loads an IANA zone of the system's database ("Europe/Berlin"); false, and `zone` unchanged, when
// there is none of that name. Names that only lead elsewhere ("localtime", "posix/...", paths) are
// none, and the environment is not asked where the database lies.
bool load_zone(const std::string& name, absl::TimeZone& zone);

// The appliance's own zone: what `file`, a link into the database or a copy of a zone, holds now;
// UTC when there is none or it is no zone.
absl::TimeZone appliance_zone(const std::string& file = "/etc/localtime");

// The name of the appliance's own zone, by where the link `file` leads; "UTC" when there is no such
// file, and empty when it is a copy, which has no name.
std::string appliance_zone_name(const std::string& file = "/etc/localtime");

// The zones that people choose from, in byte order: those of the database's list of countries, and
// UTC. load_zone() knows more, among them older names of these.
std::vector<std::string> zone_names();

// The zone of a schedule: its own, or the appliance's when it names none. UTC when its own is no
// longer in the database: its runs go on, at a time of day that does not depend on the appliance.
absl::TimeZone schedule_zone(const Schedule& schedule);

}  // namespace kavo
