// A pass over the data shared between the caller's thread and helper threads.
//
// The caller's thread still asks for the blocks of the pass in their order
// and adds each one into its sums before it asks for the next, exactly as in
// a serial pass; the helpers evaluate the blocks ahead of it. The rows are
// dealt out in jobs of a few blocks: a helper claims the next job nobody has
// taken and writes it into one slot of a small ring; the caller's thread
// takes over a job it reaches before anyone claimed it, and while it waits
// for a helper's job it evaluates a later one itself. Which thread evaluates
// a row changes nothing in its value, and the sums are formed by one thread
// in the order of the rows, so the results are those of a serial pass for
// any number of threads and any scheduling.
//
// A block that fails or throws in a helper is reported when the caller's
// thread reaches it, as the serial pass would meet it: the blocks before are
// handed over complete, the rows after are never looked at.
#pragma once

#include <atomic>
#include <cfenv>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "tessarix/core/internal/point_model.hpp"
#include "tessarix/core/internal/point_table.hpp"
#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// Where one thread waits for another's progress: it spins for a short while
// (the wait inside a pass is short, and going to sleep and waking would cost
// more), then sleeps until the other rings. A thread rings after every
// change that a waiter may wait for; the changes are sequentially consistent
// stores, so that either the waiter sees the change or the ringer sees the
// sleeper.
class Doorbell {
 public:
  template <class Ready>
  void Wait(Ready ready) {
    if (Spin(ready)) return;
    std::unique_lock<std::mutex> lock(mutex_);
    sleepers_.fetch_add(1, std::memory_order_seq_cst);
    while (!ready()) bell_.wait(lock);
    sleepers_.fetch_sub(1, std::memory_order_relaxed);
  }
  void Ring() {
    if (sleepers_.load(std::memory_order_seq_cst) == 0) return;
    { const std::lock_guard<std::mutex> lock(mutex_); }
    bell_.notify_all();
  }

 private:
  // Whether `ready` came true within the spinning time: first on the spot,
  // then giving the processor to any other thread that wants it between
  // looks (on a machine with more threads than cores, the one waited for).
  template <class Ready>
  static bool Spin(Ready& ready) {
    if (ready()) return true;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
      for (std::int32_t i = 0; i < kSpinsPerRound; ++i) {
        if (ready()) return true;
        Pause();
      }
      const auto spent = std::chrono::steady_clock::now() - start;
      if (spent >= kSpinTime) return ready();
      if (spent >= kPauseTime) std::this_thread::yield();
    }
  }
  static void Pause() noexcept;

  static constexpr std::chrono::microseconds kPauseTime{20};
  static constexpr std::chrono::microseconds kSpinTime{1000};
  static constexpr std::int32_t kSpinsPerRound = 16;

  std::mutex mutex_;
  std::condition_variable bell_;
  std::atomic<std::int32_t> sleepers_{0};
};

class ParallelPass {
 public:
  // `threads` - 1 helper threads, started at once; they sleep between passes.
  explicit ParallelPass(std::int32_t threads);
  ~ParallelPass();
  ParallelPass(const ParallelPass&) = delete;
  ParallelPass& operator=(const ParallelPass&) = delete;

  // Threads of a pass, the caller's included.
  std::int32_t Threads() const { return static_cast<std::int32_t>(helpers_.size()) + 1; }

  // Readies a run: one copy of the model per helper (copies that share
  // nothing an evaluation writes), blocks of `block_rows` as the model hands
  // them out, `parameter_count` parameters. Ends a pass still running.
  void Prepare(std::vector<std::unique_ptr<PointModel>> copies, std::int32_t block_rows, std::int32_t parameter_count);

  // Starts a pass over rows 1..n of `points` at `parameters` (one-based),
  // with the derivatives of the parameters marked in `ia` into rows of
  // `stride` when `ia` is not null. The pass that ran before is ended first.
  void Begin(const PointTable& points, std::int32_t n, const double* parameters, const std::int32_t* ia,
             std::int32_t stride);

  // Whether (first, count, ia, stride) is the block the running pass hands
  // out next.
  bool IsNext(std::int32_t first, std::int32_t count, const std::int32_t* ia, std::int32_t stride) const;

  // The next block of the pass into the caller's arrays, as
  // PointModel::EvaluateRows returns it; `own` is the model of the caller's
  // thread, evaluated at `parameters` (the values the pass began with). An
  // exception of the block's evaluation is thrown here.
  [[nodiscard]] bool Take(PointModel& own, double* parameters, std::int32_t first, std::int32_t count, double* values,
                          double* derivatives, RowFailure& failure);

  // Ends the running pass: the helpers stop and go back to sleep; nothing of
  // the pass is read after this returns.
  void End();

  // Applied to every helper's model; only between passes.
  void SetDerivativeStepFloors(const std::vector<double>& floors);

 private:
  enum class Outcome : std::uint8_t { kDone, kFailed, kThrew, kSkipped };
  struct BlockResult {
    Outcome outcome = Outcome::kSkipped;
    RowFailure failure;
    std::exception_ptr error;
  };
  // One job's results. `ready` (the ticket of the job complete here) sits on
  // a cache line of its own: the helper writes it, the caller polls it.
  struct Slot {
    alignas(64) std::atomic<std::uint32_t> ready{kNoTicket};
    alignas(64) std::vector<double> values;
    std::vector<double> derivatives;
    std::vector<BlockResult> blocks;
  };
  struct Helper {
    std::unique_ptr<PointModel> model;
    Vector1 parameters;
    std::thread thread;
  };

  void Work(std::size_t index);
  void RunPass(Helper& helper);
  // Evaluates job `job` into its slot with `model` at `parameters`.
  void Evaluate(std::int32_t job, PointModel& model, double* parameters);
  // Waits until job `job`'s results are in its slot, evaluating later jobs
  // meanwhile when their slots are free.
  void AwaitJob(std::int32_t job, PointModel& own, double* parameters);
  // Claims job `job` when nobody has; false when another thread has it.
  bool Claim(std::int32_t job);
  // The mark of a job's results: unique within a run (the ring is reset by
  // each run).
  std::uint32_t Ticket(std::int32_t job) const { return pass_base_ + static_cast<std::uint32_t>(job); }
  Slot& SlotOf(std::int32_t job) { return *slots_[static_cast<std::size_t>(job % kSlots)]; }

  static constexpr std::int32_t kSlots = 4;
  static constexpr std::uint32_t kNoTicket = 0xffffffffU;

  std::vector<Helper> helpers_;
  std::vector<std::unique_ptr<Slot>> slots_;

  // The pass, written by the caller's thread before `generation_` moves on.
  const PointTable* points_ = nullptr;
  const std::int32_t* ia_ = nullptr;
  std::int32_t n_ = 0;
  std::int32_t block_rows_ = 1;
  std::int32_t stride_ = 0;
  std::int32_t parameter_count_ = 0;
  std::int32_t job_blocks_ = 1;
  std::int32_t jobs_ = 0;
  std::uint32_t pass_base_ = 0;
  std::fenv_t environment_{};
  bool running_ = false;

  // The caller's thread alone: the block it hands out next, the job it is
  // in, and whether that job is its own (evaluated straight into its arrays).
  std::int32_t next_block_ = 0;
  std::int32_t current_job_ = -1;
  bool own_job_ = false;

  // Shared with the helpers, each on a cache line of its own. A helper that
  // sleeps waits for one of them to change.
  alignas(64) std::atomic<std::int32_t> next_job_{0};     // the first job nobody has claimed
  alignas(64) std::atomic<std::int32_t> released_{0};     // jobs before it are read, their slots free
  alignas(64) std::atomic<std::uint32_t> generation_{0};  // moves on when a pass begins
  alignas(64) std::atomic<std::int32_t> active_{0};       // helpers still in the pass
  alignas(64) std::atomic<bool> cancel_{false};
  std::atomic<bool> failed_{false};  // a helper met a failure: no more jobs are worth claiming
  std::atomic<bool> stop_{false};
  // The caller's thread waits here for a job and for the helpers' leaving a
  // pass; the helpers wait here for a pass and for a free slot.
  Doorbell caller_;
  Doorbell helpers_bell_;
};

}  // namespace tessarix::detail
