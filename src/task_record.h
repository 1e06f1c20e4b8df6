// Owners of what the task store hands out.
#pragma once

#include <kavosched.h>

#include <memory>

struct TaskFree {
  void operator()(_tag_kavo_sched_task_* task) const { KAVOSchedTaskFree(task); }
};
using TaskPtr = std::unique_ptr<_tag_kavo_sched_task_, TaskFree>;

class TaskList {
 public:
  TaskList() = default;
  TaskList(const TaskList&) = delete;
  TaskList& operator=(const TaskList&) = delete;
  ~TaskList() {
    if (head_ != nullptr) {
      KAVOSchedTaskListFree(&head_);
    }
  }

  _tag_kavo_sched_task_** Address() { return &head_; }
  const _tag_kavo_sched_task_* First() const { return head_; }

 private:
  _tag_kavo_sched_task_* head_ = nullptr;
};
