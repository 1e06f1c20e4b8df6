#include "web/handler_pool.h"

#include <algorithm>
#include <exception>

namespace kavo {

struct HandlerPool::Job {
  enum class State { kWaiting, kGoingOn, kDone, kGivenUp };

  explicit Job(std::function<Answer()> function) : work(std::move(function)) {}

  std::function<Answer()> work;
  State state = State::kWaiting;
  Answer answer;
  std::exception_ptr failure;
  std::condition_variable ended;
};

HandlerPool::HandlerPool(int threads, int waiting, std::chrono::seconds time)
    : waiting_(static_cast<std::size_t>(waiting)), time_(time) {
  for (int i = 0; i < threads; ++i) {
    threads_.emplace_back([this] { work(); });
  }
}

HandlerPool::~HandlerPool() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  offered_.notify_all();
  for (std::thread& thread : threads_) {
    thread.join();
  }
}

Answer HandlerPool::run(std::function<Answer()> work) {
  const auto job = std::make_shared<Job>(std::move(work));
  const auto deadline = std::chrono::steady_clock::now() + time_;
  std::unique_lock lock(mutex_);
  if (queue_.size() >= waiting_ + idle_) {
    throw Refused(503, "Too many requests are waiting.", {{"Retry-After", "1"}});
  }
  queue_.push_back(job);
  offered_.notify_one();
  const bool in_time =
      job->ended.wait_until(lock, deadline, [&] { return job->state == Job::State::kDone; });
  if (in_time) {
    if (job->failure) std::rethrow_exception(job->failure);
    return std::move(job->answer);
  }
  if (job->state == Job::State::kWaiting) {
    queue_.erase(std::find(queue_.begin(), queue_.end(), job));
    throw Refused(503, "The request had to wait for too long.", {{"Retry-After", "1"}});
  }
  job->state = Job::State::kGivenUp;
  ++overdue_;
  spoilt_ = true;
  throw Refused(504, "The method did not return in time.");
}

bool HandlerPool::spoilt() const {
  const std::lock_guard lock(mutex_);
  return spoilt_;
}

bool HandlerPool::stuck() const {
  const std::lock_guard lock(mutex_);
  return overdue_ > 0;
}

void HandlerPool::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    ++idle_;
    offered_.wait(lock, [this] { return ending_ || !queue_.empty(); });
    --idle_;
    if (queue_.empty()) {
      return;
    }
    const std::shared_ptr<Job> job = std::move(queue_.front());
    queue_.pop_front();
    job->state = Job::State::kGoingOn;
    lock.unlock();
    Answer answer;
    std::exception_ptr failure;
    try {
      answer = job->work();
    } catch (...) {
      failure = std::current_exception();
    }
    job->work = nullptr;
    lock.lock();
    overdue_ -= job->state == Job::State::kGivenUp ? 1 : 0;
    job->state = Job::State::kDone;
    job->answer = std::move(answer);
    job->failure = failure;
    job->ended.notify_all();
  }
}

}  // namespace kavo
