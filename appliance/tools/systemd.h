// Starting and stopping of systemd units.
#pragma once

#include <string>
#include <string_view>

namespace kavo {

enum class Switch { kStart, kStop };

// "start" or "stop".
std::string_view verb(Switch action);

// Whether systemd runs this machine.
bool systemd_runs();

// Whether systemd knows `unit`, running or not.
bool unit_installed(const std::string& unit);

// Starts or stops `unit` and waits for that. Empty on success, otherwise what went wrong.
std::string switch_unit(Switch action, const std::string& unit);

}  // namespace kavo
