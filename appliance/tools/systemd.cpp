#include "tools/systemd.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/root.h"
#include "tools/process.h"

namespace kavo {

std::string_view verb(Switch action) {
  return action == Switch::kStart ? "start" : "stop";
}

bool systemd_runs() {
  return access(rooted("/run/systemd/system").c_str(), F_OK) == 0;
}

bool unit_installed(const std::string& unit) {
  return run_program({"systemctl", "cat", "--", unit}, Output::kDiscard) == 0;
}

std::string switch_unit(Switch action, const std::string& unit) {
  const int code = run_program({"systemctl", std::string(verb(action)), "--", unit});
  if (code == 0) return "";
  if (code < 0) return std::string("cannot run systemctl: ") + strerror(errno);
  return "systemctl " + std::string(verb(action)) + " " + unit + " ended with " +
         std::to_string(code);
}

}  // namespace kavo
