#include "store/record.h"

#include "base/utf8.h"
#include "store/json_depth.h"

namespace kavo {
namespace {

template <typename Columns, typename Member>
std::size_t column_of(const Columns& columns, Member member) {
  std::size_t column = 0;
  while (columns[column].member != member) {
    ++column;
  }
  return column;
}

}  // namespace

void TaskRecord::set(std::string Task::*member, const std::string& value) {
  const std::size_t number = column_of(kTextColumns, member);
  const TextColumn& column = kTextColumns[number];
  if (!is_clean_text(value)) {
    throw StoreFailure(StoreError::kBadInput,
                       std::string("The ") + column.name + " is not UTF-8 text.");
  }
  if (value.size() > column.max_bytes) {
    throw StoreFailure(StoreError::kBadInput, std::string("The ") + column.name +
                                                  " is longer than " +
                                                  std::to_string(column.max_bytes) + " bytes.");
  }
  if (member == &Task::app_args && json_depth(value) > kMaxJsonDepth) {
    throw StoreFailure(StoreError::kBadInput, "The app's arguments are nested too deeply.");
  }
  task_.*member = value;
  texts_set_.set(number);
}

void TaskRecord::set(bool Task::*member, bool value) {
  task_.*member = value;
  flags_set_.set(column_of(kFlagColumns, member));
}

void TaskRecord::apply_to(Task& stored) const {
  for (std::size_t i = 0; i < kTextColumns.size(); ++i) {
    if (texts_set_[i]) {
      stored.*kTextColumns[i].member = task_.*kTextColumns[i].member;
    }
  }
  for (std::size_t i = 0; i < kFlagColumns.size(); ++i) {
    if (flags_set_[i]) {
      stored.*kFlagColumns[i].member = task_.*kFlagColumns[i].member;
    }
  }
}

}  // namespace kavo
