// The variables that a crontab sets for the entries below them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kavo {

// Whether a line sets a variable, rightly written or not: a name, and then an equals sign.
bool is_assignment(std::string_view line);

class CronEnvironment {
 public:
  // Takes over an assignment, `line` of the crontab. Throws Inexpressible for one that cannot be
  // read; no entry below it can be expressed then, its environment is not known.
  void assign(std::string_view assignment, int line);
  // The line holds an assignment that cannot be used.
  void lose(int line);

  // The zone in which the entries' times are meant (CRON_TZ); empty for the appliance's own.
  const std::string& zone() const { return zone_; }

  // The command line that does in /bin/sh, in the environment of its task, what `command` does in
  // the crontab's shell with the crontab's variables. Throws Inexpressible when there is none.
  std::string command_line(const std::string& command) const;

 private:
  struct Variable {
    std::string name;
    std::string value;
    int line = 0;
    std::string obstacle;  // why it cannot be kept; empty when it can
  };

  void set(Variable variable);

  std::vector<Variable> variables_;  // no two of one name, the latest last
  std::string zone_;
  std::string shell_;  // one to be started; empty for /bin/sh
};

}  // namespace kavo
