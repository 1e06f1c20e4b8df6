// kavorecycle: cleans the recycle bins of shares, or switches them on or off.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <exception>
#include <iostream>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include <kavoshare.h>
#include "shares/shares.h"
#include "tools/arguments.h"
#include "tools/recycle_bin.h"
#include "tools/recycle_request.h"

namespace {

using kavo::CleanCounts;
using kavo::RecycleRequest;
using kavo::Share;

constexpr const char* kProgram = "kavorecycle";

int64_t now_in_nanoseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

// The shares that `names` selects, all of them when it is empty. Names without a share are reported
// and clear `complete`.
std::vector<Share> select_shares(const std::vector<Share>& shares,
                                 const std::vector<std::string>& names, bool& complete) {
  std::set<std::string> wanted(names.begin(), names.end());
  std::vector<Share> selected;
  std::copy_if(shares.begin(), shares.end(), std::back_inserter(selected),
               [&](const Share& share) { return wanted.erase(share.name) > 0 || names.empty(); });
  for (const std::string& name : wanted) {
    kavo::report(kProgram, "there is no share " + kavo::printable(name));
    complete = false;
  }
  return selected;
}

// Removes the progress line from the terminal, where there is one.
void clear_progress() {
  if (isatty(STDERR_FILENO) != 0) std::cerr << "\r\033[K";
}

// Cleans the bin of one share; whether everything that should go went.
bool clean_share(const Share& share, const kavo::CleanPolicy& policy) {
  bool share_found = false;
  const kavo::Descriptor bin = kavo::open_bin(share.path, share_found);
  if (!bin.valid()) {
    if (share_found && errno == ENOENT) return true;  // a share without a bin has nothing to clean
    kavo::report(kProgram, "cannot open the " +
                               std::string(share_found ? "recycle bin" : "folder") + " of share " +
                               kavo::printable(share.name) + ": " + strerror(errno));
    return false;
  }
  bool complete = true;
  kavo::CleanObserver observer;
  observer.problem = [&](const std::string& path, const std::string& why) {
    clear_progress();
    kavo::report(kProgram, "share " + kavo::printable(share.name) + ", " + kavo::printable(path) +
                               ": " + why);
    complete = false;
  };
  observer.progress = [&](const CleanCounts& counts) {
    if (isatty(STDERR_FILENO) == 0) return;
    std::cerr << '\r' << kavo::printable(share.name) << ": " << counts.files << " files"
              << std::flush;
  };
  const CleanCounts counts = kavo::clean_bin(bin.get(), policy, now_in_nanoseconds(), observer);
  clear_progress();
  std::cout << kavo::printable(share.name) << (policy.dry_run ? ": would remove " : ": removed ")
            << counts.files << " files and " << counts.folders << " folders, "
            << (policy.dry_run ? "would free " : "freed ") << counts.bytes << " bytes" << std::endl;
  return complete;
}

bool switch_bin(const Share& share, bool on) {
  if (KAVORecycleStatusSet(share.name.c_str(), on ? 1 : 0) == 0) {
    std::cout << kavo::printable(share.name) << ": recycle bin " << (on ? "on" : "off")
              << std::endl;
    return true;
  }
  kavo::report(kProgram, "cannot switch the recycle bin of share " + kavo::printable(share.name));
  return false;
}

int run(const RecycleRequest& request) {
  std::string why;
  const auto shares = kavo::read_shares(&why);
  if (!shares) {
    kavo::report(kProgram, why);
    return kavo::kFailed;
  }
  bool complete = true;
  for (const Share& share : select_shares(*shares, request.shares, complete)) {
    const bool done = request.action == RecycleRequest::Action::kClean
                          ? clean_share(share, request.policy)
                          : switch_bin(share, request.action == RecycleRequest::Action::kEnable);
    complete = complete && done;
  }
  if (!std::cout) complete = false;  // what was done could not be told
  return complete ? kavo::kDone : kavo::kFailed;
}

}  // namespace

int main(int argc, char** argv) try {
  const auto request = kavo::read_recycle_request(argc, argv);
  if (const int* code = std::get_if<int>(&request)) return *code;
  return run(std::get<RecycleRequest>(request));
} catch (const std::exception& error) {
  kavo::report(kProgram, error.what());
  return kavo::kFailed;
}
