// `tessarix rank`: every pre-defined model fitted to one data set, best first.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <tessarix/platform/matrix.hpp>
#include <vector>

#include "catalogue.hpp"
#include "data_input.hpp"

namespace tessarix::tool {

struct RankOptions {
  DataOptions data;
  int top = 20;          // how many of the best to print
  unsigned threads = 0;  // 0: one per core
  std::optional<std::int32_t> max_iterations;
  std::optional<double> tolerance;
  bool progress = false;  // show a progress line (set when stdout is a terminal)
};

struct RankEntry {
  CatalogueEntry model;
  bool solved = false;
  double r2_adjusted = 0.0;
  double standard_error = 0.0;
  std::string failure;  // why the fit failed, when it did
};

// Fits every model of `models` to the observations, spread over `threads`
// threads with one regression object each, and returns the entries sorted:
// solved fits by adjusted R2 (highest first), ties by standard error (lowest
// first), then the failures, each group in ID order otherwise. `progress`, if
// set, is called from the calling thread with the number of fits done.
std::vector<RankEntry> RankModels(std::span<const double> x, std::span<const double> y, std::span<const double> sd,
                                  const std::vector<CatalogueEntry>& models, const RankOptions& options,
                                  const std::function<void(std::size_t done)>& progress = {});

// The same for models of several variables: the rows of `x` are the points,
// fitted by MultipleNonlinearRegression.
std::vector<RankEntry> RankModels(const Matrix& x, std::span<const double> y, std::span<const double> sd,
                                  const std::vector<CatalogueEntry>& models, const RankOptions& options,
                                  const std::function<void(std::size_t done)>& progress = {});

// The whole subcommand; returns the exit status.
int RunRank(const RankOptions& options, std::ostream& out);

}  // namespace tessarix::tool
