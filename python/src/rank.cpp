#include "rank.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <string>
#include <tessarix/core/error.hpp>
#include <tessarix/core/multiple_nonlinear_regression.hpp>
#include <tessarix/core/nonlinear_regression.hpp>
#include <tessarix/models/predefined_models.hpp>
#include <thread>
#include <vector>

#include "arrays.hpp"
#include "errors.hpp"

namespace py = pybind11;

namespace tessarix::python {

namespace {

struct Entry {
  const PredefinedModelInfo* model = nullptr;
  bool solved = false;
  double r2_adjusted = 0.0;
  double standard_error = 0.0;
  double sse = 0.0;
  std::string failure;
};

struct Settings {
  std::span<const double> y, sd;
  std::optional<std::int32_t> max_iterations;
  std::optional<double> tolerance;
  bool trust_region = false;
};

// A failure of one model is a line of the table, never an exception.
template <class Regression, class Points>
Entry FitOne(Regression& regression, const PredefinedModelInfo& model, const Points& x, const Settings& s) {
  Entry entry;
  entry.model = &model;
  try {
    regression.DefineInternalModel(model.ID);
    if (s.max_iterations) regression.SetMaxIterations(*s.max_iterations);
    if (s.tolerance) regression.SetRegressionTolerance(*s.tolerance);
    if (s.trust_region) regression.SetSolverMethod(tsxSolverTrustRegion);
    if (s.sd.empty()) {
      regression.Fit(x, s.y);
    } else {
      regression.FitWeighted(x, s.y, s.sd);
    }
    if (regression.IsSolved()) {
      entry.solved = true;
      entry.r2_adjusted = regression.R2Adjust();
      entry.standard_error = regression.StandardError();
      entry.sse = regression.SSE();
    } else {
      entry.failure = regression.LastSolveError();
    }
  } catch (const Error& e) {
    entry.failure = e.Description();
  } catch (const std::exception& e) {
    entry.failure = e.what();
  }
  while (!entry.failure.empty() && (entry.failure.back() == '\n' || entry.failure.back() == '\r')) {
    entry.failure.pop_back();
  }
  return entry;
}

// Solved models first, by adjusted R2 (higher first), then standard error
// (lower first); the failures after them; the ID breaks ties.
bool Better(const Entry& a, const Entry& b) {
  if (a.solved != b.solved) return a.solved;
  if (a.solved) {
    if (a.r2_adjusted != b.r2_adjusted) return a.r2_adjusted > b.r2_adjusted;
    if (a.standard_error != b.standard_error) return a.standard_error < b.standard_error;
  }
  return a.model->ID < b.model->ID;
}

template <class Regression, class Points>
std::vector<Entry> RankAll(const std::vector<const PredefinedModelInfo*>& models, const Points& x,
                           const Settings& settings, unsigned threads) {
  std::vector<Entry> results(models.size());
  std::atomic<std::size_t> next{0};
  // Regression objects are independent: each thread takes the next model off
  // a shared counter and fits it on an object of its own. A new object for
  // every model: an object's compiled program keeps every model defined on
  // it, and each definition reworks all of it.
  const auto worker = [&] {
    for (std::size_t i = next++; i < models.size(); i = next++) {
      Regression regression;
      results[i] = FitOne(regression, *models[i], x, settings);
    }
  };
  threads = std::clamp<unsigned>(threads, 1, static_cast<unsigned>(std::max<std::size_t>(models.size(), 1)));
  std::vector<std::thread> pool;
  for (unsigned t = 1; t < threads; ++t) pool.emplace_back(worker);
  worker();
  for (auto& thread : pool) thread.join();
  std::stable_sort(results.begin(), results.end(), Better);
  return results;
}

// The catalogue of models of `variables` independent variables: the
// single-variable class's for 1, the multi-variable class's otherwise.
std::vector<const PredefinedModelInfo*> CatalogueFor(std::int32_t variables) {
  std::vector<const PredefinedModelInfo*> out;
  const auto& all = variables == 1 ? PredefinedModels() : PredefinedMultipleModels();
  for (const PredefinedModelInfo& m : all) {
    if (m.NumIndependentVariables == variables) out.push_back(&m);
  }
  return out;
}

py::list Rank(py::handle x, py::handle y, py::handle sd, std::optional<std::int32_t> threads,
              std::optional<std::int32_t> max_iterations, std::optional<double> tolerance, bool trust_region) {
  const DoubleArray xa = AsDoubles(x, "x");
  if (xa.ndim() != 1 && xa.ndim() != 2) throw py::value_error("x must have 1 or 2 dimensions");
  const DoubleArray ya = AsDoubles(y, "y", 1);
  std::optional<DoubleArray> sda;
  if (!sd.is_none()) sda = AsDoubles(sd, "sd", 1);
  CheckedCount(xa.size(), "x");
  CheckedCount(ya.size(), "y");
  if (threads && *threads < 1) throw py::value_error("threads must be at least 1");
  const Settings settings{Span(ya), sda ? Span(*sda) : std::span<const double>(), max_iterations, tolerance,
                          trust_region};
  const unsigned count = threads ? static_cast<unsigned>(*threads) : std::max(1u, std::thread::hardware_concurrency());
  const std::int32_t variables = xa.ndim() == 1 ? 1 : CheckedCount(xa.shape(1), "x");
  const std::vector<const PredefinedModelInfo*> models = CatalogueFor(variables);

  std::vector<Entry> ranked;
  if (xa.ndim() == 1) {
    py::gil_scoped_release unlock;
    ranked = RankAll<NonlinearRegression>(models, Span(xa), settings, count);
  } else {
    const Matrix points = ToMatrix(xa);
    py::gil_scoped_release unlock;
    ranked = RankAll<MultipleNonlinearRegression>(models, points, settings, count);
  }
  py::list table;
  for (const Entry& e : ranked) {
    py::dict row;
    row["model_id"] = e.model->ID;
    row["definition"] = Text(e.model->Definition);
    row["description"] = Text(e.model->Description);
    row["solved"] = e.solved;
    row["r2_adjusted"] = e.solved ? py::object(py::float_(e.r2_adjusted)) : py::object(py::none());
    row["standard_error"] = e.solved ? py::object(py::float_(e.standard_error)) : py::object(py::none());
    row["sse"] = e.solved ? py::object(py::float_(e.sse)) : py::object(py::none());
    row["failure"] = Text(e.failure);
    table.append(row);
  }
  return table;
}

py::list Models(std::int32_t variables) {
  py::list out;
  for (const PredefinedModelInfo* m : CatalogueFor(variables)) {
    py::dict row;
    row["model_id"] = m->ID;
    row["definition"] = Text(m->Definition);
    row["description"] = Text(m->Description);
    row["parameters"] = m->NumParameters;
    row["variables"] = m->NumIndependentVariables;
    out.append(row);
  }
  return out;
}

}  // namespace
void RegisterRank(py::module_& m) {
  m.def("_rank", &Rank, py::arg("x"), py::arg("y"), py::arg("sd") = py::none(), py::arg("threads") = py::none(),
        py::arg("max_iterations") = py::none(), py::arg("tolerance") = py::none(), py::arg("trust_region") = false);
  m.def("_models", &Models, py::arg("variables") = 1);
}

}  // namespace tessarix::python
