#include "tessarix/core/internal/worker_pool.hpp"

#include <exception>

namespace tessarix::detail {

WorkerPool::WorkerPool(std::int32_t threads) {
  for (std::int32_t i = 1; i < threads; ++i) workers_.emplace_back([this, i] { Work(i); });
}

WorkerPool::~WorkerPool() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  start_.notify_all();
  for (std::thread& t : workers_) t.join();
}

void WorkerPool::Run(std::int32_t tasks, const std::function<void(std::int32_t)>& task) {
  errors_.assign(static_cast<std::size_t>(tasks), nullptr);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    task_ = &task;
    tasks_ = tasks;
    pending_ = tasks - 1;
    ++generation_;
  }
  start_.notify_all();
  try {
    task(0);
  } catch (...) {
    errors_[0] = std::current_exception();
  }
  {
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return pending_ <= 0; });
    task_ = nullptr;
  }
  for (const std::exception_ptr& e : errors_) {
    if (e) std::rethrow_exception(e);
  }
}

void WorkerPool::Work(std::int32_t index) {
  std::uint64_t seen = 0;
  for (;;) {
    const std::function<void(std::int32_t)>* task = nullptr;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      start_.wait(lock, [&] { return stop_ || generation_ != seen; });
      if (stop_) return;
      seen = generation_;
      if (index >= tasks_) continue;
      task = task_;
    }
    try {
      (*task)(index);
    } catch (...) {
      errors_[static_cast<std::size_t>(index)] = std::current_exception();
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      --pending_;
    }
    done_.notify_one();
  }
}

}  // namespace tessarix::detail
