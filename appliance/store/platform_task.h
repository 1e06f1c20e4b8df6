// The task record as the platform hands it out.
#pragma once

#include <memory>

#include "store/record.h"
#include "store/task_snapshot.h"

// A record of its own, or one of a list: that one is read from the list's snapshot when more is
// asked of it than the list knows, and lives on as the first kind.
struct _tag_kavo_sched_task_ {
 public:
  _tag_kavo_sched_task_() : record_(std::make_unique<kavo::TaskRecord>()) {}
  _tag_kavo_sched_task_(const kavo::TaskSummary& summary,
                        std::shared_ptr<const kavo::TaskSnapshot> snapshot)
      : summary_(summary), snapshot_(std::move(snapshot)) {}

  // What a list knows, without reading more.
  kavo::TaskSummary summary() const;
  // The snapshot that the rest is still to be read from, or null.
  const kavo::TaskSnapshot* unread() const { return snapshot_.get(); }

  // The whole record. Throws StoreFailure when it cannot be read.
  const kavo::TaskRecord& record() const;
  kavo::TaskRecord& record();

  // As TaskRecord::load.
  void load(kavo::Task task);

  _tag_kavo_sched_task_* next = nullptr;

 private:
  // Either the record is there, or summary and snapshot hold.
  kavo::TaskSummary summary_;
  mutable std::shared_ptr<const kavo::TaskSnapshot> snapshot_;
  mutable std::unique_ptr<kavo::TaskRecord> record_;
};
