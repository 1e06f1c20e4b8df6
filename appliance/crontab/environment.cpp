#include "crontab/environment.h"

#include <xlibc.h>

#include <algorithm>
#include <optional>

#include "crontab/inexpressible.h"
#include "schedule/zone.h"

namespace kavo {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr char kDefaultShell[] = "/bin/sh";

// Variables of the mail that a cron sends, which a task does not.
constexpr std::string_view kMail[] = {"MAILTO", "MAILFROM", "CONTENT_TYPE",
                                      "CONTENT_TRANSFER_ENCODING"};

// Variables that a shell sets, reads or refuses in its own way when a command exports them.
constexpr std::string_view kOfTheShell[] = {
    "IFS",      "OPTIND",  "OPTARG",     "OPTERR",       "PWD",          "OLDPWD",
    "PPID",     "LINENO",  "_",          "UID",          "EUID",         "GROUPS",
    "RANDOM",   "SRANDOM", "SECONDS",    "SHELLOPTS",    "SHLVL",        "FUNCNAME",
    "DIRSTACK", "HISTCMD", "PIPESTATUS", "EPOCHSECONDS", "EPOCHREALTIME"};

template <std::size_t N>
bool is_one_of(const std::string_view (&names)[N], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Takes a text in quotes off the front; nothing when it has no end. The text must start with one.
std::optional<std::string_view> take_quoted(std::string_view& text) {
  const std::size_t end = text.find(text.front(), 1);
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view quoted = text.substr(1, end - 1);
  text.remove_prefix(end + 1);
  return quoted;
}

bool starts_quoted(std::string_view text) {
  return text.starts_with('"') || text.starts_with('\'');
}

// Takes the name of an assignment and its equals sign off the front.
std::optional<std::string_view> take_name(std::string_view& line) {
  std::string_view rest = trimmed(line);
  std::optional<std::string_view> name;
  if (starts_quoted(rest)) {
    name = take_quoted(rest);
  } else {
    const std::size_t end = std::min(rest.find_first_of(" \t="), rest.size());
    name = rest.substr(0, end);
    rest.remove_prefix(end);
  }
  rest = trimmed(rest);
  if (!name || name->empty() || !rest.starts_with('=')) {
    return std::nullopt;
  }
  line = rest.substr(1);
  return name;
}

// The value as it stands: quotes around all of it keep its blanks, and nothing in it is replaced.
std::string value_of(std::string_view text) {
  text = trimmed(text);
  if (!starts_quoted(text)) {
    return std::string(text);
  }
  const std::optional<std::string_view> value = take_quoted(text);
  if (!value || !text.empty()) {
    throw Inexpressible("the quotes of the value do not enclose all of it");
  }
  return std::string(*value);
}

bool is_shell_name(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char c) {
                       return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
                              (c >= '0' && c <= '9');
                     }) &&
         !(name.front() >= '0' && name.front() <= '9');
}

// Why a command line cannot set a variable as a cron does; empty when it can.
std::string obstacle_of(const std::string& name, const std::string& value) {
  if (name == "HOME") {
    return "it moves the folder that the command starts in";
  }
  if (name == "SHELL") {
    return value.starts_with('/') ? "" : "the shell is not given by its whole path";
  }
  if (name == "CRON_TZ") {
    absl::TimeZone zone;
    return load_zone(value, zone) ? "" : "\"" + value + "\" is not a time zone of this system";
  }
  if (name == "RANDOM_DELAY") {
    return "a schedule has no random delay";
  }
  const bool shells_own = is_one_of(kOfTheShell, name) || name.starts_with("LD_") ||
                          (name.starts_with("BASH") && name != "BASH_ENV");
  return shells_own || !is_shell_name(name) ? "a shell does not export it like any other" : "";
}

// A text as one word of a command line. The empty text is the empty word.
std::string quoted(const std::string& text) {
  std::string word(2 * text.size() + 2, '\0');
  const int length = XLIBCEncShParam(text.c_str(), word.data(), word.size());
  if (length < 0) {
    throw Inexpressible("it is too long");
  }
  word.resize(static_cast<std::size_t>(length));
  return word;
}

}  // namespace

bool is_assignment(std::string_view line) {
  return take_name(line).has_value();
}

void CronEnvironment::assign(std::string_view assignment, int line) {
  std::string_view rest = assignment;
  const std::string name(take_name(rest).value_or(""));
  Variable variable{name, value_of(rest), line, ""};
  variable.obstacle = obstacle_of(name, variable.value);
  if (name == "CRON_TZ") {
    zone_ = variable.value;
  }
  if (name == "SHELL") {
    shell_ = variable.value == kDefaultShell ? "" : variable.value;
  }
  set(std::move(variable));
}

void CronEnvironment::lose(int line) {
  // No assignment has this name, so that none takes the obstacle away again.
  set({"", "", line, "it cannot be used"});
}

void CronEnvironment::set(Variable variable) {
  std::erase_if(variables_, [&](const Variable& other) { return other.name == variable.name; });
  variables_.push_back(std::move(variable));
}

std::string CronEnvironment::command_line(const std::string& command) const {
  std::string exports;
  for (const Variable& variable : variables_) {
    if (!variable.obstacle.empty()) {
      throw Inexpressible((variable.name.empty() ? "of the assignment" : "of " + variable.name) +
                          " in line " + std::to_string(variable.line) + ": " + variable.obstacle);
    }
    // LOGNAME is the owner's for any cron and for a task, and the default shell is no setting.
    const bool is_setting = !is_one_of(kMail, variable.name) && variable.name != "LOGNAME" &&
                            variable.name != "CRON_TZ" &&
                            !(variable.name == "SHELL" && shell_.empty());
    if (is_setting) {
      exports += " " + variable.name + "=" + quoted(variable.value);
    }
  }
  const std::string run =
      shell_.empty() ? command : "exec " + quoted(shell_) + " -c " + quoted(command);
  return exports.empty() ? run : "export" + exports + "; " + run;
}

}  // namespace kavo
