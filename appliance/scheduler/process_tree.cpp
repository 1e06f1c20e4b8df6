#include "scheduler/process_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "base/process_descriptor.h"

namespace kavo {
namespace {

constexpr int kMaxRounds = 100;

std::optional<pid_t> process_of(const char* name) {
  pid_t process = 0;
  const char* end = name + strlen(name);
  const auto [rest, error] = std::from_chars(name, end, process);
  return error == std::errc() && rest == end ? std::optional(process) : std::nullopt;
}

// The parent of a process; none when it has ended.
std::optional<pid_t> parent_of(pid_t process) {
  const std::string file = "/proc/" + std::to_string(process) + "/stat";
  const Descriptor stat(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  std::array<char, 512> text{};
  if (!stat.valid() || read(stat.get(), text.data(), text.size() - 1) <= 0) {
    return std::nullopt;
  }
  // "42 (name) S 41 ...", where the name may hold anything: the last parenthesis ends it.
  const char* state = strrchr(text.data(), ')');
  if (state == nullptr || strlen(state) < 5 || state[2] == 'Z' || state[2] == 'X') {
    return std::nullopt;
  }
  pid_t parent = 0;
  std::from_chars(state + 4, text.data() + text.size(), parent);
  return parent;
}

std::multimap<pid_t, pid_t> children_by_parent() {
  std::multimap<pid_t, pid_t> children;
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc"), closedir);
  while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
    const auto process = process_of(entry->d_name);
    const auto parent = process ? parent_of(*process) : std::nullopt;
    if (parent) {
      children.emplace(*parent, *process);
    }
  }
  return children;
}

void send(const Descriptor& held, pid_t process, int signal) {
  if (held.valid()) {
    (void)signal_process(held, signal);  // it may have ended by itself
  } else {
    (void)kill(process, signal);  // descriptors are short
  }
}

}  // namespace

std::vector<pid_t> descendants() {
  const auto children = children_by_parent();
  std::vector<pid_t> found = {getpid()};
  for (std::size_t next = 0; next < found.size(); ++next) {
    const auto [first, last] = children.equal_range(found[next]);
    for (auto child = first; child != last; ++child) {
      found.push_back(child->second);
    }
  }
  found.erase(found.begin());
  return found;
}

void signal_descendants(int signal) {
  // A process is held in one round and signalled in the next, if it is still a descendant: its
  // number cannot have gone to a stranger then.
  std::map<pid_t, Descriptor> held;
  std::map<pid_t, bool> signalled;
  bool news = true;
  for (int round = 0; news && round < kMaxRounds; ++round) {
    news = false;
    for (const pid_t process : descendants()) {
      if (signalled[process]) {
        continue;
      }
      news = true;
      const auto [entry, fresh] = held.try_emplace(process);
      if (fresh) {
        entry->second = hold_process(process);
      } else {
        send(entry->second, process, signal);
        signalled[process] = true;
      }
    }
  }
}

}  // namespace kavo
