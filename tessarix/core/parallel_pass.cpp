#include "tessarix/core/internal/parallel_pass.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace tessarix::detail {

namespace {

// The rows of a job: enough that claiming it and handing it over cost little
// beside its evaluation, few enough that the ring's values and derivatives (a
// row of parameter count + 2 doubles) stay in the second-level cache shared
// by the thread that writes them and the one that reads them.
std::int32_t JobRows(std::int32_t parameter_count) {
  constexpr std::int32_t kDoublesPerJob = 1 << 13;
  return std::clamp(kDoublesPerJob / (std::max(parameter_count, 0) + 2), 256, 4096);
}

}  // namespace

void Doorbell::Pause() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

ParallelPass::ParallelPass(std::int32_t threads) {
  for (std::int32_t k = 0; k < kSlots; ++k) slots_.push_back(std::make_unique<Slot>());
  for (std::int32_t t = 1; t < threads; ++t) helpers_.push_back(std::make_unique<Helper>());
  for (const std::unique_ptr<Helper>& helper : helpers_) {
    Helper* const h = helper.get();
    h->thread = std::thread([this, h] { Work(*h); });
  }
}

ParallelPass::~ParallelPass() {
  plan_.stop = true;
  Quiesce();
  for (const std::unique_ptr<Helper>& helper : helpers_) helper->thread.join();
}

void ParallelPass::Prepare(const PointModel& model, std::int32_t block_rows, std::int32_t parameter_count) {
  Quiesce();
  block_rows_ = std::max(block_rows, 1);
  parameter_count_ = parameter_count;
  job_blocks_ = std::max(JobRows(parameter_count) / block_rows_, 1);
  published_parameters_.assign(static_cast<std::size_t>(std::max(parameter_count, 0)) + 1, 0.0);
  for (const std::unique_ptr<Slot>& slot : slots_) {
    slot->ready.store(kNoTag, std::memory_order_relaxed);
    slot->blocks.assign(static_cast<std::size_t>(job_blocks_), BlockResult());
    slot->values.resize(static_cast<std::size_t>(job_blocks_) * static_cast<std::size_t>(block_rows_));
  }
  plan_.prototype = &model;
  plan_.parameter_count = parameter_count;
  PublishAndWait();
  plan_.prototype = nullptr;
}

void ParallelPass::Publish(const double* parameters) {
  {
    const std::lock_guard<std::mutex> lock(plan_mutex_);
    published_ = plan_;
    if (parameters != nullptr) std::copy(parameters, parameters + parameter_count_ + 1, published_parameters_.begin());
  }
  generation_.store(plan_.generation, std::memory_order_seq_cst);
  helpers_bell_.Ring();
}

void ParallelPass::Begin(const PointTable& points, std::int32_t n, const double* parameters, const std::int32_t* ia,
                         std::int32_t stride, bool with_values) {
  End();
  plan_.points = &points;
  plan_.n = n;
  plan_.ia = ia;
  plan_.stride = ia != nullptr ? stride : 0;
  plan_.with_values = with_values || ia == nullptr;
  const std::int64_t blocks = (static_cast<std::int64_t>(n) + block_rows_ - 1) / block_rows_;
  plan_.jobs = static_cast<std::int32_t>((blocks + job_blocks_ - 1) / job_blocks_);
  ++plan_.generation;
  const std::size_t derivatives = static_cast<std::size_t>(job_blocks_) * static_cast<std::size_t>(block_rows_) *
                                  static_cast<std::size_t>(plan_.stride);
  for (const std::unique_ptr<Slot>& slot : slots_) {
    // Grows on the first pass of a run that asks for derivatives, and no more.
    // A helper may still write there for an older pass; it holds `busy`.
    if (slot->derivatives.size() < derivatives) {
      Acquire(*slot);
      slot->derivatives.resize(derivatives);
      slot->busy.store(false, std::memory_order_release);
    }
  }
  next_block_ = 0;
  current_job_ = -1;
  own_job_ = false;
  running_ = true;
  released_.store(Tag(plan_.generation, 0), std::memory_order_seq_cst);
  next_job_.store(Tag(plan_.generation, 0), std::memory_order_seq_cst);
  // A pass of one job is the caller's alone: waking a helper would cost more.
  if (plan_.jobs < 2 || helpers_.empty() || helpers_[0]->model == nullptr) return;
  // The helpers evaluate in the caller's floating-point environment (its
  // rounding, its masked exceptions), as the caller's thread would.
  std::fegetenv(&plan_.environment);
  Publish(parameters);
}

bool ParallelPass::IsNext(std::int32_t first, std::int32_t count, const std::int32_t* ia, std::int32_t stride,
                          bool with_values) const {
  if (!running_ || ia != plan_.ia || (ia != nullptr && stride != plan_.stride)) return false;
  if ((with_values || ia == nullptr) != plan_.with_values) return false;
  const std::int64_t expected = 1 + static_cast<std::int64_t>(next_block_) * block_rows_;
  return first == expected && count == std::min<std::int64_t>(block_rows_, plan_.n - expected + 1);
}

void ParallelPass::End() {
  if (!running_) return;
  running_ = false;
  next_job_.store(Tag(plan_.generation, kClosed), std::memory_order_seq_cst);
  helpers_bell_.Ring();
}

void ParallelPass::Quiesce() {
  End();
  PublishAndWait();
}

// An empty plan of a new generation: every helper takes it up once it has
// finished whatever it was doing, and then says so.
void ParallelPass::PublishAndWait() {
  ++plan_.generation;
  plan_.jobs = 0;
  plan_.points = nullptr;
  plan_.ia = nullptr;
  Publish(nullptr);
  const std::uint32_t generation = plan_.generation;
  caller_.Wait([this, generation] {
    return std::all_of(helpers_.begin(), helpers_.end(), [generation](const std::unique_ptr<Helper>& helper) {
      return helper->done.load(std::memory_order_seq_cst) == generation;
    });
  });
}

void ParallelPass::SetDerivativeStepFloors(const std::vector<double>& floors) {
  Quiesce();
  for (const std::unique_ptr<Helper>& helper : helpers_) {
    if (helper->model != nullptr) helper->model->SetDerivativeStepFloors(floors);
  }
}

void ParallelPass::Acquire(Slot& slot) {
  const auto free = [&slot] {
    bool expected = false;
    return slot.busy.compare_exchange_weak(expected, true, std::memory_order_acq_rel);
  };
  while (!Doorbell::Spin(free, std::chrono::microseconds(1000))) {
  }
}

bool ParallelPass::Claim(std::int32_t job) {
  std::uint64_t expected = Tag(plan_.generation, job);
  return next_job_.compare_exchange_strong(expected, expected + 1, std::memory_order_acq_rel);
}

bool ParallelPass::Take(PointModel& own, double* parameters, std::int32_t first, std::int32_t count, double* values,
                        double* derivatives, RowFailure& failure) {
  const std::int32_t block = next_block_++;
  const std::int32_t job = block / job_blocks_;
  if (job != current_job_) {
    if (current_job_ >= 0) {
      released_.store(Tag(plan_.generation, current_job_ + 1), std::memory_order_seq_cst);
      helpers_bell_.Ring();
    }
    current_job_ = job;
    own_job_ = Claim(job) || AwaitJob(job, own, parameters);
  }
  if (!own_job_) {
    Slot& slot = SlotOf(job);
    const auto at = static_cast<std::size_t>(block - job * job_blocks_);
    const BlockResult& result = slot.blocks[at];
    if (result.outcome != Outcome::kSkipped) {
      if (result.outcome == Outcome::kThrew) std::rethrow_exception(result.error);
      const std::size_t row = at * static_cast<std::size_t>(block_rows_);
      if (plan_.with_values) {
        std::memcpy(values, slot.values.data() + row, static_cast<std::size_t>(count) * sizeof(double));
      }
      if (plan_.ia != nullptr) {
        const auto stride = static_cast<std::size_t>(plan_.stride);
        std::memcpy(derivatives, slot.derivatives.data() + row * stride,
                    static_cast<std::size_t>(count) * stride * sizeof(double));
      }
      if (result.outcome == Outcome::kDone) return true;
      failure = result.failure;
      return false;
    }
    // A block after a failure in its job: the pass goes on past it only when
    // the caller does, and then it is the caller's to evaluate.
  }
  return own.EvaluateRows(*plan_.points, first, count, parameters, plan_.ia, parameter_count_, values, derivatives,
                          plan_.stride, failure);
}

bool ParallelPass::AwaitJob(std::int32_t job, PointModel& own, double* parameters) {
  Slot& slot = SlotOf(job);
  const std::uint64_t tag = Tag(plan_.generation, job);
  const auto done = [&slot, tag] { return slot.ready.load(std::memory_order_seq_cst) == tag; };
  auto waited = std::chrono::microseconds(0);
  for (;;) {
    if (done()) return false;
    // While a helper finishes this job, the caller's thread evaluates a later
    // one whose slot is free (the slots of the jobs before `job` are, once no
    // late helper writes there).
    const std::int64_t later = JobOf(next_job_.load(std::memory_order_acquire));
    if (later < plan_.jobs && later < job + kSlots && failed_.load(std::memory_order_relaxed) != plan_.generation &&
        !SlotOf(later).busy.load(std::memory_order_relaxed) && Claim(static_cast<std::int32_t>(later))) {
      Evaluate(plan_, static_cast<std::int32_t>(later), own, parameters);
      continue;
    }
    constexpr std::chrono::microseconds kLook{20};
    if (Doorbell::Spin(done, kLook)) return false;
    waited += kLook;
    if (waited >= kLateAfter) return true;
  }
}

void ParallelPass::Evaluate(const Plan& plan, std::int32_t job, PointModel& model, double* parameters) {
  Slot& slot = SlotOf(job);
  // A helper still writing an older job here (one that the caller's thread
  // took over) finishes first.
  Acquire(slot);
  // A helper that comes to write only after its pass has ended (put aside
  // between its claim and here) leaves the slot to the running pass.
  if (GenerationOf(next_job_.load(std::memory_order_seq_cst)) != plan.generation) {
    slot.busy.store(false, std::memory_order_release);
    return;
  }
  const std::int64_t first_block = static_cast<std::int64_t>(job) * job_blocks_;
  bool going = true;
  for (std::int32_t b = 0; b < job_blocks_; ++b) {
    BlockResult& result = slot.blocks[static_cast<std::size_t>(b)];
    result.outcome = Outcome::kSkipped;
    result.error = nullptr;
    const std::int64_t first = 1 + (first_block + b) * block_rows_;
    if (!going || first > plan.n) continue;
    const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(block_rows_, plan.n - first + 1));
    const std::size_t row = static_cast<std::size_t>(b) * static_cast<std::size_t>(block_rows_);
    try {
      const bool ok = model.EvaluateRows(
          *plan.points, static_cast<std::int32_t>(first), count, parameters, plan.ia, parameter_count_,
          plan.with_values ? slot.values.data() + row : nullptr,
          plan.ia != nullptr ? slot.derivatives.data() + row * static_cast<std::size_t>(plan.stride) : nullptr,
          plan.stride, result.failure);
      result.outcome = ok ? Outcome::kDone : Outcome::kFailed;
    } catch (...) {
      result.outcome = Outcome::kThrew;
      result.error = std::current_exception();
    }
    if (result.outcome != Outcome::kDone) {
      // The serial pass ends at this block: the rest of the job, and the jobs
      // after it, are not worth evaluating.
      going = false;
      failed_.store(plan.generation, std::memory_order_relaxed);
    }
  }
  slot.ready.store(Tag(plan.generation, job), std::memory_order_seq_cst);
  slot.busy.store(false, std::memory_order_release);
}

void ParallelPass::RunPass(Helper& helper) {
  const Plan& plan = helper.plan;
  std::fesetenv(&plan.environment);
  for (;;) {
    std::uint64_t claim = next_job_.load(std::memory_order_seq_cst);
    if (GenerationOf(claim) != plan.generation || JobOf(claim) >= plan.jobs ||
        failed_.load(std::memory_order_relaxed) == plan.generation) {
      return;
    }
    const std::uint64_t released = released_.load(std::memory_order_seq_cst);
    if (GenerationOf(released) != plan.generation) return;
    if (JobOf(claim) >= JobOf(released) + kSlots) {
      helpers_bell_.Wait([this, claim, released] {
        return next_job_.load(std::memory_order_seq_cst) != claim ||
               released_.load(std::memory_order_seq_cst) != released;
      });
      continue;
    }
    if (!next_job_.compare_exchange_weak(claim, claim + 1, std::memory_order_acq_rel)) continue;
    Evaluate(plan, static_cast<std::int32_t>(JobOf(claim)), *helper.model, helper.parameters.data());
  }
}

void ParallelPass::Work(Helper& helper) {
  std::uint32_t seen = 0;
  for (;;) {
    helpers_bell_.Wait([this, seen] { return generation_.load(std::memory_order_seq_cst) != seen; });
    {
      const std::lock_guard<std::mutex> lock(plan_mutex_);
      helper.plan = published_;
      if (helper.plan.jobs > 0) {
        std::copy(published_parameters_.begin(), published_parameters_.end(), helper.parameters.begin());
      }
    }
    seen = helper.plan.generation;
    if (helper.plan.prototype != nullptr) {
      helper.model = helper.plan.prototype->ThreadCopy();
      helper.parameters.assign(static_cast<std::size_t>(std::max(helper.plan.parameter_count, 0)) + 1, 0.0);
    }
    if (helper.plan.jobs > 0 && helper.model != nullptr) RunPass(helper);
    helper.done.store(seen, std::memory_order_seq_cst);
    caller_.Ring();
    if (helper.plan.stop) return;
  }
}

}  // namespace tessarix::detail
