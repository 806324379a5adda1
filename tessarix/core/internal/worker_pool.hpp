// A small pool of threads for one regression object's pass over the data:
// Run(k, task) calls task(0) .. task(k - 1), task(0) on the calling thread and
// the others on the pool's threads, and returns when all are done. Made when a
// fit with more than one thread starts, gone when the object is.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tessarix::detail {

class WorkerPool {
 public:
  explicit WorkerPool(std::int32_t threads);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  std::int32_t Size() const { return static_cast<std::int32_t>(workers_.size()) + 1; }
  // `tasks` at most Size(). An exception of a task is passed on to the caller
  // after all tasks have ended (the first one, by task number).
  void Run(std::int32_t tasks, const std::function<void(std::int32_t)>& task);

 private:
  void Work(std::int32_t index);

  std::vector<std::thread> workers_;
  std::mutex mutex_;
  std::condition_variable start_;
  std::condition_variable done_;
  const std::function<void(std::int32_t)>* task_ = nullptr;
  std::int32_t tasks_ = 0;
  std::int32_t pending_ = 0;
  std::uint64_t generation_ = 0;
  bool stop_ = false;
  std::vector<std::exception_ptr> errors_;
};

}  // namespace tessarix::detail
