// The services that tasks start and stop, and the systemd units behind them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace kavo {

// Units by service key, in the order in which they are switched.
using ServiceUnits = std::map<std::string, std::vector<std::string>>;

// Reads "/etc/kavo/services.conf", lines of the form key="unit unit ...". Nothing when it cannot be
// read.
std::optional<ServiceUnits> read_services();

}  // namespace kavo
