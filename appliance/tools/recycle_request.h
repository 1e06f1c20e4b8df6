// What a command line of kavorecycle asks for.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "tools/recycle_bin.h"

namespace kavo {

struct RecycleRequest {
  enum class Action { kClean, kEnable, kDisable };

  Action action = Action::kClean;
  std::vector<std::string> shares;  // none: all of them
  CleanPolicy policy;               // for kClean
};

// The request, or the program's exit code when there is nothing to do: help was asked for, or the
// command line is wrong use and was reported on standard error.
std::variant<RecycleRequest, int> read_recycle_request(int argc, const char* const* argv);

}  // namespace kavo
