// The threads on which requests are served that use the store or a module.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "web/http_message.h"

namespace kavo {

class HandlerPool {
 public:
  // `waiting` jobs may wait for a thread; `time` is what a job may take, its waiting included.
  HandlerPool(int threads, int waiting, std::chrono::seconds time);
  // Waits for the jobs that go on: not to be destroyed while stuck().
  ~HandlerPool();
  HandlerPool(const HandlerPool&) = delete;
  HandlerPool& operator=(const HandlerPool&) = delete;

  // Does a job on one of the threads and waits for it. Throws what the job throws, and Refused:
  // 503 when too many jobs wait or its turn did not come in time, 504 when it did not return in
  // time. A job that has been given up may still go on: it owns what it uses. Any thread.
  Answer run(std::function<Answer()> job);

  // A job did not return in time, now or earlier: its thread may be lost.
  bool spoilt() const;
  // Such a job goes on.
  bool stuck() const;

 private:
  struct Job;

  void work();

  const std::size_t waiting_;
  const std::chrono::seconds time_;
  mutable std::mutex mutex_;
  std::condition_variable offered_;
  std::deque<std::shared_ptr<Job>> queue_;
  std::size_t idle_ = 0;  // threads that take, or are about to take, the next jobs
  int overdue_ = 0;       // jobs that go on though they have been given up
  bool spoilt_ = false;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace kavo
