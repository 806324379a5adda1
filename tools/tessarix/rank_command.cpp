#include "rank_command.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <tessarix/core/error.hpp>
#include <tessarix/core/nonlinear_regression.hpp>
#include <tessarix/data/data_series.hpp>
#include <tessarix/multiple/multiple_nonlinear_regression.hpp>
#include <thread>

#include "row_check.hpp"
#include "text_format.hpp"
#include "tool_error.hpp"

namespace tessarix::tool {

namespace {

template <class Regression, class Points>
RankEntry FitOne(Regression& regression, const CatalogueEntry& model, const Points& x, std::span<const double> y,
                 std::span<const double> sd, const RankOptions& options) {
  RankEntry entry;
  entry.model = model;
  try {
    regression.DefineInternalModel(model.id);
    regression.SetSolverMethod(options.method);
    if (options.max_iterations) regression.SetMaxIterations(*options.max_iterations);
    if (options.tolerance) regression.SetRegressionTolerance(*options.tolerance);
    if (sd.empty()) {
      regression.Fit(x, y);
    } else {
      regression.FitWeighted(x, y, sd);
    }
    if (regression.IsSolved()) {
      entry.solved = true;
      entry.r2_adjusted = regression.R2Adjust();
      entry.standard_error = regression.StandardError();
    } else {
      entry.failure = regression.LastSolveError();
    }
  } catch (const Error& e) {
    entry.failure = e.Description();
  } catch (const std::exception& e) {
    entry.failure = e.what();
  }
  return entry;
}

bool Better(const RankEntry& a, const RankEntry& b) {
  if (a.solved != b.solved) return a.solved;
  if (a.solved) {
    if (a.r2_adjusted != b.r2_adjusted) return a.r2_adjusted > b.r2_adjusted;
    if (a.standard_error != b.standard_error) return a.standard_error < b.standard_error;
  }
  return a.model.id < b.model.id;
}

// Regression objects are independent of each other, so each thread takes the
// next model off a shared counter and fits it on an object of its own. A new
// object for every model: an object's compiled program keeps every model
// defined on it, and each definition reworks all of it.
template <class Regression, class Points>
std::vector<RankEntry> RankWith(const Points& x, std::span<const double> y, std::span<const double> sd,
                                const std::vector<CatalogueEntry>& models, const RankOptions& options,
                                const std::function<void(std::size_t)>& progress) {
  std::vector<RankEntry> results(models.size());
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> done{0};
  unsigned threads = options.threads ? options.threads : std::thread::hardware_concurrency();
  threads = std::clamp<unsigned>(threads, 1, static_cast<unsigned>(std::max<std::size_t>(models.size(), 1)));
  auto worker = [&] {
    for (std::size_t i = next++; i < models.size(); i = next++) {
      Regression regression;
      results[i] = FitOne(regression, models[i], x, y, sd, options);
      ++done;
    }
  };
  std::vector<std::thread> pool;
  for (unsigned t = 0; t < threads; ++t) pool.emplace_back(worker);
  if (progress) {
    while (done.load() < models.size()) {
      progress(done.load());
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    progress(done.load());
  }
  for (auto& thread : pool) thread.join();
  std::stable_sort(results.begin(), results.end(), Better);
  return results;
}

}  // namespace

std::vector<RankEntry> RankModels(std::span<const double> x, std::span<const double> y, std::span<const double> sd,
                                  const std::vector<CatalogueEntry>& models, const RankOptions& options,
                                  const std::function<void(std::size_t)>& progress) {
  return RankWith<NonlinearRegression>(x, y, sd, models, options, progress);
}

std::vector<RankEntry> RankModels(const Matrix& x, std::span<const double> y, std::span<const double> sd,
                                  const std::vector<CatalogueEntry>& models, const RankOptions& options,
                                  const std::function<void(std::size_t)>& progress) {
  return RankWith<MultipleNonlinearRegression>(x, y, sd, models, options, progress);
}

namespace {

std::string XNames(const LoadedData& data) {
  std::string names;
  for (const auto& x : data.xs) {
    if (!names.empty()) names += ',';
    names += CleanText(x->Name());
  }
  return names;
}

}  // namespace

int RunRank(const RankOptions& options, std::ostream& out) {
  const LoadedData data = LoadData(options.data);
  const auto variables = static_cast<std::int32_t>(data.xs.size());
  const std::vector<double> x = data.x->ExportToArray();
  const std::vector<double> y = data.y->ExportToArray();
  const std::vector<double> sd = data.sd ? data.sd->ExportToArray() : std::vector<double>();
  const std::vector<CatalogueEntry> models = CatalogueFor(variables);
  if (models.empty()) {
    throw ToolError("no pre-defined model takes " + std::to_string(variables) + " independent variables");
  }
  // Several --x columns: the points are the rows of those columns.
  Matrix points;
  if (variables > 1) {
    points = Matrix(static_cast<std::int32_t>(x.size()), variables);
    for (std::int32_t k = 0; k < variables; ++k) {
      const std::vector<double> column = data.xs[static_cast<std::size_t>(k)]->ExportToArray();
      for (std::size_t i = 0; i < column.size() && i < x.size(); ++i)
        points(static_cast<std::int32_t>(i), k) = column[i];
    }
  }

  std::function<void(std::size_t)> progress;
  if (options.progress) {
    progress = [&](std::size_t done) { out << "\rfitting model " << done << " of " << models.size() << std::flush; };
  }
  const std::vector<RankEntry> ranked = variables > 1 ? RankModels(points, y, sd, models, options, progress)
                                                      : RankModels(x, y, sd, models, options, progress);
  if (options.progress) out << '\r' << std::string(40, ' ') << '\r';

  const auto solved = static_cast<std::size_t>(
      std::count_if(ranked.begin(), ranked.end(), [](const RankEntry& e) { return e.solved; }));
  out << "Ranked " << models.size() << " pre-defined models on " << CleanText(options.data.path)
      << " (x = " << XNames(data) << ", y = " << CleanText(data.y->Name()) << ", " << x.size() << " observations"
      << (data.sd ? ", weighted" : "") << ")\n"
      << solved << " solved, " << models.size() - solved << " failed, with the "
      << (options.method == tsxSolverMarquardt ? "Marquardt" : "trust-region") << " method\n"
      << SkippedRowsNote(data.skipped, options.data) << '\n';
  if (solved == 0) {
    throw ToolError("no pre-defined model could be fitted to '" + CleanText(options.data.path) + "'");
  }
  const std::size_t shown = std::min<std::size_t>(solved, static_cast<std::size_t>(std::max(options.top, 0)));
  out << PadLeft("Rank", 4) << "  " << PadLeft("ID", 4) << "  " << PadRight("Adj. R2", 14) << "  "
      << PadRight("Std. error", 13) << "  Definition\n";
  for (std::size_t i = 0; i < shown; ++i) {
    const RankEntry& e = ranked[i];
    out << PadLeft(std::to_string(i + 1), 4) << "  " << PadLeft(std::to_string(e.model.id), 4) << "  "
        << PadRight(SignificantText(e.r2_adjusted, 10), 14) << "  "
        << PadRight(SignificantText(e.standard_error, 6), 13) << "  " << CleanText(e.model.definition);
    if (!e.model.description.empty()) out << "  (" << CleanText(e.model.description) << ")";
    out << '\n';
  }
  return kExitOk;
}

}  // namespace tessarix::tool
