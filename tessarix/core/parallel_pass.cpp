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
  helpers_.resize(static_cast<std::size_t>(std::max(threads - 1, 0)));
  for (std::size_t i = 0; i < helpers_.size(); ++i) helpers_[i].thread = std::thread([this, i] { Work(i); });
}

ParallelPass::~ParallelPass() {
  End();
  stop_.store(true, std::memory_order_seq_cst);
  generation_.fetch_add(1, std::memory_order_seq_cst);
  helpers_bell_.Ring();
  for (Helper& helper : helpers_) helper.thread.join();
}

void ParallelPass::Prepare(std::vector<std::unique_ptr<PointModel>> copies, std::int32_t block_rows,
                           std::int32_t parameter_count) {
  End();
  for (std::size_t i = 0; i < helpers_.size(); ++i) {
    helpers_[i].model = i < copies.size() ? std::move(copies[i]) : nullptr;
    helpers_[i].parameters.assign(static_cast<std::size_t>(std::max(parameter_count, 0)) + 1, 0.0);
  }
  block_rows_ = std::max(block_rows, 1);
  parameter_count_ = parameter_count;
  job_blocks_ = std::max(JobRows(parameter_count) / block_rows_, 1);
  pass_base_ = 0;
  jobs_ = 0;
  for (const std::unique_ptr<Slot>& slot : slots_) {
    slot->ready.store(kNoTicket, std::memory_order_relaxed);
    slot->blocks.assign(static_cast<std::size_t>(job_blocks_), BlockResult());
    slot->values.resize(static_cast<std::size_t>(job_blocks_) * static_cast<std::size_t>(block_rows_));
  }
}

void ParallelPass::Begin(const PointTable& points, std::int32_t n, const double* parameters, const std::int32_t* ia,
                         std::int32_t stride) {
  End();
  points_ = &points;
  n_ = n;
  ia_ = ia;
  stride_ = ia != nullptr ? stride : 0;
  const std::int64_t blocks = (static_cast<std::int64_t>(n) + block_rows_ - 1) / block_rows_;
  pass_base_ += static_cast<std::uint32_t>(jobs_);
  jobs_ = static_cast<std::int32_t>((blocks + job_blocks_ - 1) / job_blocks_);
  const std::size_t derivatives =
      static_cast<std::size_t>(job_blocks_) * static_cast<std::size_t>(block_rows_) * static_cast<std::size_t>(stride_);
  for (const std::unique_ptr<Slot>& slot : slots_) {
    // Grows on the first pass of a run that asks for derivatives, and no more.
    if (slot->derivatives.size() < derivatives) slot->derivatives.resize(derivatives);
  }
  next_block_ = 0;
  current_job_ = -1;
  own_job_ = false;
  next_job_.store(0, std::memory_order_relaxed);
  released_.store(0, std::memory_order_relaxed);
  failed_.store(false, std::memory_order_relaxed);
  running_ = true;
  // A pass of one job is the caller's alone: waking a helper would cost more.
  if (jobs_ < 2 || helpers_.empty() || helpers_[0].model == nullptr) return;
  for (Helper& helper : helpers_) {
    std::copy(parameters, parameters + parameter_count_ + 1, helper.parameters.begin());
  }
  // The helpers evaluate in the caller's floating-point environment (its
  // rounding, its masked exceptions), as the caller's thread would.
  std::fegetenv(&environment_);
  active_.store(static_cast<std::int32_t>(helpers_.size()), std::memory_order_relaxed);
  generation_.fetch_add(1, std::memory_order_seq_cst);
  helpers_bell_.Ring();
}

bool ParallelPass::IsNext(std::int32_t first, std::int32_t count, const std::int32_t* ia, std::int32_t stride) const {
  if (!running_ || ia != ia_ || (ia != nullptr && stride != stride_)) return false;
  const std::int64_t expected = 1 + static_cast<std::int64_t>(next_block_) * block_rows_;
  return first == expected && count == std::min<std::int64_t>(block_rows_, n_ - expected + 1);
}

void ParallelPass::End() {
  if (!running_) return;
  running_ = false;
  if (active_.load(std::memory_order_seq_cst) == 0) return;
  cancel_.store(true, std::memory_order_seq_cst);
  helpers_bell_.Ring();
  caller_.Wait([this] { return active_.load(std::memory_order_seq_cst) == 0; });
  cancel_.store(false, std::memory_order_relaxed);
}

void ParallelPass::SetDerivativeStepFloors(const std::vector<double>& floors) {
  End();
  for (Helper& helper : helpers_) {
    if (helper.model != nullptr) helper.model->SetDerivativeStepFloors(floors);
  }
}

bool ParallelPass::Claim(std::int32_t job) {
  std::int32_t expected = job;
  return next_job_.compare_exchange_strong(expected, job + 1, std::memory_order_acq_rel);
}

bool ParallelPass::Take(PointModel& own, double* parameters, std::int32_t first, std::int32_t count, double* values,
                        double* derivatives, RowFailure& failure) {
  const std::int32_t block = next_block_++;
  const std::int32_t job = block / job_blocks_;
  if (job != current_job_) {
    if (current_job_ >= 0) {
      released_.store(current_job_ + 1, std::memory_order_seq_cst);
      helpers_bell_.Ring();
    }
    current_job_ = job;
    own_job_ = Claim(job);
    if (!own_job_) AwaitJob(job, own, parameters);
  }
  if (!own_job_) {
    Slot& slot = SlotOf(job);
    const auto at = static_cast<std::size_t>(block - job * job_blocks_);
    const BlockResult& result = slot.blocks[at];
    if (result.outcome != Outcome::kSkipped) {
      if (result.outcome == Outcome::kThrew) std::rethrow_exception(result.error);
      const std::size_t row = at * static_cast<std::size_t>(block_rows_);
      std::memcpy(values, slot.values.data() + row, static_cast<std::size_t>(count) * sizeof(double));
      if (ia_ != nullptr) {
        const auto stride = static_cast<std::size_t>(stride_);
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
  return own.EvaluateRows(*points_, first, count, parameters, ia_, parameter_count_, values, derivatives, stride_,
                          failure);
}

void ParallelPass::AwaitJob(std::int32_t job, PointModel& own, double* parameters) {
  Slot& slot = SlotOf(job);
  const std::uint32_t ticket = Ticket(job);
  const auto done = [&slot, ticket] { return slot.ready.load(std::memory_order_seq_cst) == ticket; };
  for (;;) {
    if (done()) return;
    // While a helper finishes this job, the caller's thread evaluates a later
    // one whose slot is free (the slots of the jobs before `job` are).
    const std::int32_t later = next_job_.load(std::memory_order_acquire);
    if (later < jobs_ && later < job + kSlots && !failed_.load(std::memory_order_relaxed)) {
      if (Claim(later)) Evaluate(later, own, parameters);
      continue;
    }
    caller_.Wait(done);
  }
}

void ParallelPass::Evaluate(std::int32_t job, PointModel& model, double* parameters) {
  Slot& slot = SlotOf(job);
  const std::int64_t first_block = static_cast<std::int64_t>(job) * job_blocks_;
  bool going = true;
  for (std::int32_t b = 0; b < job_blocks_; ++b) {
    BlockResult& result = slot.blocks[static_cast<std::size_t>(b)];
    result.outcome = Outcome::kSkipped;
    result.error = nullptr;
    const std::int64_t first = 1 + (first_block + b) * block_rows_;
    if (!going || first > n_) continue;
    const auto count = static_cast<std::int32_t>(std::min<std::int64_t>(block_rows_, n_ - first + 1));
    const std::size_t row = static_cast<std::size_t>(b) * static_cast<std::size_t>(block_rows_);
    try {
      const bool ok = model.EvaluateRows(
          *points_, static_cast<std::int32_t>(first), count, parameters, ia_, parameter_count_,
          slot.values.data() + row,
          ia_ != nullptr ? slot.derivatives.data() + row * static_cast<std::size_t>(stride_) : nullptr, stride_,
          result.failure);
      result.outcome = ok ? Outcome::kDone : Outcome::kFailed;
    } catch (...) {
      result.outcome = Outcome::kThrew;
      result.error = std::current_exception();
    }
    if (result.outcome != Outcome::kDone) {
      // The serial pass ends at this block: the rest of the job, and the jobs
      // after it, are not worth evaluating.
      going = false;
      failed_.store(true, std::memory_order_relaxed);
    }
  }
  slot.ready.store(Ticket(job), std::memory_order_seq_cst);
  caller_.Ring();
}

void ParallelPass::RunPass(Helper& helper) {
  std::fesetenv(&environment_);
  for (;;) {
    if (cancel_.load(std::memory_order_seq_cst) || failed_.load(std::memory_order_relaxed)) return;
    std::int32_t job = next_job_.load(std::memory_order_acquire);
    if (job >= jobs_) return;
    if (job >= released_.load(std::memory_order_seq_cst) + kSlots) {
      helpers_bell_.Wait([this, job] {
        return cancel_.load(std::memory_order_seq_cst) || job < released_.load(std::memory_order_seq_cst) + kSlots ||
               next_job_.load(std::memory_order_relaxed) != job;
      });
      continue;
    }
    if (!next_job_.compare_exchange_weak(job, job + 1, std::memory_order_acq_rel)) continue;
    Evaluate(job, *helper.model, helper.parameters.data());
  }
}

void ParallelPass::Work(std::size_t index) {
  std::uint32_t seen = 0;
  for (;;) {
    helpers_bell_.Wait([this, seen] { return generation_.load(std::memory_order_seq_cst) != seen; });
    seen = generation_.load(std::memory_order_seq_cst);
    if (stop_.load(std::memory_order_seq_cst)) return;
    RunPass(helpers_[index]);
    active_.fetch_sub(1, std::memory_order_seq_cst);
    caller_.Ring();
  }
}

}  // namespace tessarix::detail
