#include "store/sort.h"

#include <strings.h>

#include <limits>
#include <tuple>

namespace kavo {
namespace {

// Negative, zero or positive, as the texts compare without regard to case and then by bytes.
int compare_texts(const std::string& a, const std::string& b) {
  const int folded = strcasecmp(a.c_str(), b.c_str());
  return folded != 0 ? folded : a.compare(b);
}

template <std::string Task::*member>
bool by_text(const Task& a, const Task& b) {
  const int compared = compare_texts(a.*member, b.*member);
  return compared != 0 ? compared < 0 : a.id < b.id;
}

bool by_id(const Task& a, const Task& b) {
  return a.id < b.id;
}

bool by_state(const Task& a, const Task& b) {
  return std::tuple(!a.enabled, a.id) < std::tuple(!b.enabled, b.id);
}

bool by_next_run(const Task& a, const Task& b) {
  constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
  return std::tuple(a.next_run.value_or(kNever), a.id) <
         std::tuple(b.next_run.value_or(kNever), b.id);
}

}  // namespace

TaskOrder sort_order(const std::string& key) {
  struct Row {
    const char* key;
    TaskOrder order;
  };
  static constexpr Row kOrders[] = {
      {"state", by_state},
      {"id", by_id},
      {"app name", by_text<&Task::app_name>},
      {"name", by_text<&Task::name>},
      {"action", by_text<&Task::action>},
      {"next trigger time", by_next_run},
  };
  for (const Row& row : kOrders) {
    if (key == row.key) {
      return row.order;
    }
  }
  throw StoreFailure(StoreError::kInvalidArgument, "There is no sort key \"" + key + "\".");
}

}  // namespace kavo
