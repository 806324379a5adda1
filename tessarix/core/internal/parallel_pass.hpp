// A pass over the data shared between the caller's thread and helper threads.
//
// The caller's thread still asks for the blocks of the pass in their order
// and adds each one into its sums before it asks for the next, exactly as in
// a serial pass; the helpers evaluate the blocks ahead of it. The rows are
// dealt out in jobs of a few blocks: a helper claims the next job nobody has
// taken and writes it into one slot of a small ring; the caller's thread
// takes over a job it reaches before anyone claimed it, evaluates a later
// one while it waits for a helper's, and evaluates a helper's job itself when
// the helper is late with it (a helper the system has put aside). Which
// thread evaluates a row changes nothing in its value, and the sums are formed
// by one thread in the order of the rows, so the results are those of a
// serial pass for any number of threads and any scheduling.
//
// A block that fails or throws in a helper is reported when the caller's
// thread reaches it, as the serial pass would meet it: the blocks before are
// handed over complete, the rows after are never looked at.
//
// No thread waits for another at the end of a pass: every pass has a
// generation, and the claims and results of a helper still busy with an
// older one are recognised and left alone. The helpers are waited for only
// where what they read goes away (the end of a run, a new model copy).
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
// (the waits inside a pass are short, and going to sleep and waking would
// cost more), then sleeps until the other rings. A thread rings after every
// change that a waiter may wait for; the changes are sequentially consistent
// stores, so that either the waiter sees the change or the ringer sees the
// sleeper.
class Doorbell {
 public:
  template <class Ready>
  void Wait(Ready ready) {
    if (Spin(ready, kSpinTime)) return;
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

  // Whether `ready` came true within `time`: looked at on the spot at first,
  // then giving the processor to any other thread that wants it between
  // looks (on a machine with more threads than cores, the one waited for).
  template <class Ready>
  static bool Spin(const Ready& ready, std::chrono::microseconds time) {
    if (ready()) return true;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
      for (std::int32_t i = 0; i < kSpinsPerRound; ++i) {
        if (ready()) return true;
        Pause();
      }
      const auto spent = std::chrono::steady_clock::now() - start;
      if (spent >= time) return ready();
      if (spent >= kPauseTime) std::this_thread::yield();
    }
  }

 private:
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
  // `threads` - 1 helper threads, started at once; they sleep between runs.
  explicit ParallelPass(std::int32_t threads);
  ~ParallelPass();
  ParallelPass(const ParallelPass&) = delete;
  ParallelPass& operator=(const ParallelPass&) = delete;

  // Threads of a pass, the caller's included.
  std::int32_t Threads() const { return static_cast<std::int32_t>(helpers_.size()) + 1; }

  // Readies a run of `model` (whose ThreadCopy is not null): blocks of
  // `block_rows` as the model hands them out, `parameter_count` parameters.
  // Each helper makes its copy of the model and its parameter array on its
  // own thread, so that what it writes for every row lies in its own part of
  // the heap, away from the caller's (a line shared by both would travel
  // between the cores at every row). Waits for the helpers.
  void Prepare(const PointModel& model, std::int32_t block_rows, std::int32_t parameter_count);

  // Starts a pass over rows 1..n of `points` at `parameters` (one-based),
  // with the derivatives of the parameters marked in `ia` into rows of
  // `stride` when `ia` is not null, and the values unless `with_values` is
  // false (derivatives only). The pass that ran before is over.
  void Begin(const PointTable& points, std::int32_t n, const double* parameters, const std::int32_t* ia,
             std::int32_t stride, bool with_values);

  // Whether (first, count, ia, stride, with_values) is the block the running
  // pass hands out next.
  bool IsNext(std::int32_t first, std::int32_t count, const std::int32_t* ia, std::int32_t stride,
              bool with_values) const;

  // The next block of the pass into the caller's arrays, as
  // PointModel::EvaluateRows returns it; `own` is the model of the caller's
  // thread, evaluated at `parameters` (the values the pass began with);
  // `values` is null in a pass of derivatives only. An exception of the
  // block's evaluation is thrown here.
  [[nodiscard]] bool Take(PointModel& own, double* parameters, std::int32_t first, std::int32_t count, double* values,
                          double* derivatives, RowFailure& failure);

  // Ends the running pass: no helper claims a job of it any more.
  void End();

  // Ends the pass and waits until no helper evaluates anything: after it,
  // the points, the models and the arrays of the run may go.
  void Quiesce();

  // Applied to every helper's model; waits for the helpers first.
  void SetDerivativeStepFloors(const std::vector<double>& floors);

 private:
  enum class Outcome : std::uint8_t { kDone, kFailed, kThrew, kSkipped };
  struct BlockResult {
    Outcome outcome = Outcome::kSkipped;
    RowFailure failure;
    std::exception_ptr error;
  };
  // One job's results. `ready` (the tag of the job complete here) and `busy`
  // (a thread writes here) sit on a cache line of their own.
  struct Slot {
    alignas(64) std::atomic<std::uint64_t> ready{kNoTag};
    std::atomic<bool> busy{false};
    alignas(64) std::vector<double> values;
    std::vector<double> derivatives;
    std::vector<BlockResult> blocks;
  };
  // What a thread needs to know of a pass; each helper takes a copy when it
  // joins one, so that what the caller's thread writes for the next pass
  // never meets an evaluation of this one.
  struct Plan {
    const PointTable* points = nullptr;
    const std::int32_t* ia = nullptr;
    std::int32_t n = 0;
    std::int32_t stride = 0;
    bool with_values = true;
    std::int32_t jobs = 0;
    std::uint32_t generation = 0;
    bool stop = false;                      // the helpers leave (the last plan)
    const PointModel* prototype = nullptr;  // the helpers make their copies of it
    std::int32_t parameter_count = 0;
    std::fenv_t environment{};
  };
  struct Helper {
    std::unique_ptr<PointModel> model;
    Plan plan;
    Vector1 parameters;
    std::thread thread;
    // The last generation this helper has seen and finished with.
    alignas(64) std::atomic<std::uint32_t> done{0};
  };

  void Work(Helper& helper);
  void RunPass(Helper& helper);
  // Evaluates job `job` of `plan` into its slot with `model` at `parameters`.
  void Evaluate(const Plan& plan, std::int32_t job, PointModel& model, double* parameters);
  // Waits until job `job`'s results are in its slot, evaluating later jobs
  // meanwhile when their slots are free; true when the helper is so late
  // that the caller's thread evaluates the job itself.
  bool AwaitJob(std::int32_t job, PointModel& own, double* parameters);
  // Claims job `job` of the running pass when nobody has.
  bool Claim(std::int32_t job);
  // Job `job` of generation `generation` (the claims and the results carry it).
  static std::uint64_t Tag(std::uint32_t generation, std::int64_t job) {
    return (static_cast<std::uint64_t>(generation) << 32) | static_cast<std::uint32_t>(job);
  }
  static std::uint32_t GenerationOf(std::uint64_t tag) { return static_cast<std::uint32_t>(tag >> 32); }
  static std::int64_t JobOf(std::uint64_t tag) { return static_cast<std::int64_t>(tag & 0xffffffffU); }
  Slot& SlotOf(std::int64_t job) { return *slots_[static_cast<std::size_t>(job % kSlots)]; }
  // Waits until no other thread writes into `slot`, and marks it busy.
  static void Acquire(Slot& slot);
  // Publishes `plan_` (and the parameters) as generation `plan_.generation`.
  void Publish(const double* parameters);
  // Publishes `plan_` without a pass as a new generation and waits until
  // every helper has taken it up.
  void PublishAndWait();

  static constexpr std::int32_t kSlots = 4;
  static constexpr std::uint64_t kNoTag = ~std::uint64_t{0};
  // A job number no pass reaches: the claims of an ended pass.
  static constexpr std::int64_t kClosed = 0xffffffffLL;
  // How long the caller's thread waits for a helper's job before it
  // evaluates the job itself: many times a job's evaluation.
  static constexpr std::chrono::microseconds kLateAfter{200};

  std::vector<std::unique_ptr<Helper>> helpers_;
  std::vector<std::unique_ptr<Slot>> slots_;

  // The run's shape (written between runs only).
  std::int32_t block_rows_ = 1;
  std::int32_t parameter_count_ = 0;
  std::int32_t job_blocks_ = 1;

  // The caller's thread alone: the running pass, the block it hands out
  // next, the job it is in, and whether that job is its own (evaluated
  // straight into its arrays).
  Plan plan_;
  bool running_ = false;
  std::int32_t next_block_ = 0;
  std::int32_t current_job_ = -1;
  bool own_job_ = false;

  // The plan as the helpers copy it.
  std::mutex plan_mutex_;
  Plan published_;
  Vector1 published_parameters_;

  // Shared with the helpers, each on a cache line of its own; a tag's upper
  // half is the generation of its pass.
  alignas(64) std::atomic<std::uint64_t> next_job_{0};    // the first job nobody has claimed
  alignas(64) std::atomic<std::uint64_t> released_{0};    // jobs before it are read, their slots free
  alignas(64) std::atomic<std::uint32_t> generation_{0};  // the newest plan published
  alignas(64) std::atomic<std::uint32_t> failed_{0};      // the generation in which a block failed
  // The caller's thread waits here for the helpers to finish with a
  // generation; the helpers wait here for a plan and for a free slot.
  Doorbell caller_;
  Doorbell helpers_bell_;
};

}  // namespace tessarix::detail
