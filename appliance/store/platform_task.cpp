#include "store/platform_task.h"

#include <utility>

kavo::TaskSummary _tag_kavo_sched_task_::summary() const {
  if (!record_) {
    return summary_;
  }
  const kavo::Task& task = record_->task();
  return {task.id, task.enabled, task.listable, task.next_run};
}

const kavo::TaskRecord& _tag_kavo_sched_task_::record() const {
  if (!record_) {
    auto record = std::make_unique<kavo::TaskRecord>();
    record->load(snapshot_->task(summary_.id));
    record_ = std::move(record);
    snapshot_.reset();
  }
  return *record_;
}

kavo::TaskRecord& _tag_kavo_sched_task_::record() {
  std::as_const(*this).record();
  return *record_;
}

void _tag_kavo_sched_task_::load(kavo::Task task) {
  if (!record_) {
    record_ = std::make_unique<kavo::TaskRecord>();
    snapshot_.reset();
  }
  record_->load(std::move(task));
}
