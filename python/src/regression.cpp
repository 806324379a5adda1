#include "regression.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <tessarix/core/error.hpp>
#include <tessarix/data/data_series.hpp>
#include <type_traits>
#include <utility>

#include "arrays.hpp"
#include "errors.hpp"

namespace py = pybind11;

namespace tessarix::python {

Regression::Regression(std::int32_t variables) : variables_(variables) {
  if (variables < 0) throw py::value_error("the number of independent variables cannot be negative");
  if (variables == 0) {
    single_ = std::make_unique<NonlinearRegression>();
  } else {
    multiple_ = std::make_unique<MultipleNonlinearRegression>();
  }
  WatchIterations();
}

namespace {

// Python runs signal handlers on its main thread only. Call with the lock.
bool OnMainThread() {
  static const auto main_ident =
      py::module_::import("threading").attr("main_thread")().attr("ident").cast<unsigned long>();
  return PyThread_get_thread_ident() == main_ident;
}

}  // namespace

void Regression::WatchIterations() {
  const auto watch = [this](std::int32_t, double, bool& abort) {
    if (model_ && model_->HasPending()) {
      abort = true;
      return;
    }
    // Only a fit on the main thread takes the lock back to look for a
    // signal: a fit on another thread would wait for the lock behind the
    // threads that run Python.
    if (watch_signals_ && !interrupt_) {
      py::gil_scoped_acquire lock;
      if (PyErr_CheckSignals() != 0) interrupt_.emplace();
    }
    abort = abort || interrupt_.has_value();
  };
  if (single_) {
    single_->Events.IterationComplete = watch;
  } else {
    multiple_->Events.IterationComplete = watch;
  }
}

void Regression::ThrowInterrupt() {
  if (!interrupt_) return;
  py::error_already_set error = std::move(*interrupt_);
  interrupt_.reset();
  throw py::error_already_set(std::move(error));
}

RegressionObject& Regression::Object() {
  if (single_) return *single_;
  return *multiple_;
}

const RegressionObject& Regression::Object() const {
  if (single_) return *single_;
  return *multiple_;
}

template <class F>
auto Regression::Guarded(F&& call) -> decltype(call()) {
  if (model_) model_->ClearPending();
  try {
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
      if (model_) model_->ThrowPending();
    } else {
      auto result = call();
      if (model_) model_->ThrowPending();
      return result;
    }
  } catch (const Error&) {
    if (model_) model_->ThrowPending();
    throw;
  }
}

// ---- the model ---------------------------------------------------------------------

// A new definition replaces a Python model, events and all; only the watch
// of the iterations stays.
void Regression::ResetEvents() {
  model_.reset();
  if (single_) {
    single_->Events = {};
  } else {
    multiple_->Events = {};
  }
  WatchIterations();
}

void Regression::DefineText(const std::string& text) {
  ResetEvents();
  if (single_) {
    single_->DefineUserModel(text);
  } else {
    multiple_->DefineUserModel(text);
  }
}

void Regression::DefineId(std::int32_t id) {
  ResetEvents();
  Object().DefineInternalModel(id);
}

void Regression::DefineCallable(py::object function, py::object derivatives, const std::vector<std::string>& names) {
  if (!PyCallable_Check(function.ptr())) throw py::type_error("the model must be text or a callable");
  if (!derivatives.is_none() && !PyCallable_Check(derivatives.ptr())) {
    throw py::type_error("derivatives must be a callable");
  }
  ResetEvents();
  const std::int32_t count = CheckedCount(static_cast<py::ssize_t>(names.size()), "parameters");
  // Always with external derivatives: the block derivatives event is where
  // the model's own derivatives, or the differences over the whole block,
  // come from.
  if (single_) {
    single_->DefineExternalModel(names, true);
  } else {
    multiple_->DefineExternalModel(variables_, names, true);
  }
  model_ = std::make_shared<PythonModel>(std::move(function), std::move(derivatives), count, variables_);
  if (single_) {
    model_->Install(single_->Events);
  } else {
    model_->Install(multiple_->Events);
  }
}

std::vector<std::string> Regression::ParameterNames() const {
  std::vector<std::string> names;
  for (const auto& p : *Object().RegressionParameters()) names.push_back(p->Name());
  return names;
}

void Regression::SetEstimate(const std::string& name, double value) {
  Object().RegressionParameters()->Item(name)->SetInitialEstimate(value);
}

void Regression::SetFixed(const std::string& name, bool fixed) {
  Object().RegressionParameters()->Item(name)->SetInitialEstimateType(fixed ? tsxEstimateConstant : tsxEstimateAdjust);
}

// ---- the fit -------------------------------------------------------------------------

void Regression::Fit(py::handle x, py::handle y, py::handle sd, bool release) {
  const DoubleArray ya = AsDoubles(y, "y", 1);
  std::optional<DoubleArray> sda;
  if (!sd.is_none()) sda = AsDoubles(sd, "sd", 1);
  CheckedCount(ya.size(), "y");
  if (model_) {
    std::vector<bool> fixed;
    for (const auto& p : *Object().RegressionParameters())
      fixed.push_back(p->InitialEstimateType() == tsxEstimateConstant);
    model_->SetFixed(std::move(fixed));
  }
  const auto run = [&](auto&& fit) {
    interrupt_.reset();
    watch_signals_ = OnMainThread();
    Guarded([&] {
      if (release) {
        py::gil_scoped_release unlock;
        fit();
      } else {
        fit();
      }
    });
    ThrowInterrupt();
  };
  if (single_) {
    // The library reads straight from the arrays' buffers.
    const DoubleArray xa = AsDoubles(x, "x", 1);
    CheckedCount(xa.size(), "x");
    run([&] {
      if (sda) {
        single_->FitWeighted(Span(xa), Span(ya), Span(*sda));
      } else {
        single_->Fit(Span(xa), Span(ya));
      }
    });
  } else {
    const DoubleArray xa = AsDoubles(x, "x", 2);
    const Matrix points = ToMatrix(xa);
    run([&] {
      if (sda) {
        multiple_->FitWeighted(points, Span(ya), Span(*sda));
      } else {
        multiple_->Fit(points, Span(ya));
      }
    });
  }
}

// ---- the snapshot --------------------------------------------------------------------

py::dict Regression::Snapshot() {
  RegressionObject& reg = Object();
  py::dict out;
  const bool solved = reg.IsSolved();
  out["solved"] = solved;
  out["message"] = Text(reg.LastSolveError());
  out["log"] = Text(reg.SolutionLog());
  out["method"] = reg.SolverMethod() == tsxSolverTrustRegion ? "trust-region" : "marquardt";
  const auto parameters = reg.RegressionParameters();
  const std::int32_t count = parameters->Count();
  py::list names;
  py::list fixed;
  std::vector<double> estimates;
  for (const auto& p : *parameters) {
    names.append(Text(p->Name()));
    fixed.append(p->InitialEstimateType() == tsxEstimateConstant);
    estimates.push_back(p->InitialEstimate());
  }
  out["names"] = names;
  out["fixed"] = fixed;
  out["estimates"] = ToNumpy(std::move(estimates));
  if (!solved) return out;

  std::vector<double> values, errors, prob_t;
  for (const auto& p : *parameters) {
    values.push_back(p->Value());
    errors.push_back(p->StandardError());
    prob_t.push_back(p->ProbT());
  }
  std::vector<double> covariance(static_cast<std::size_t>(count) * static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    for (std::int32_t j = 0; j < count; ++j) {
      covariance[static_cast<std::size_t>(i * count + j)] = parameters->CalculateCovariance(i + 1, j + 1);
    }
  }
  out["values"] = ToNumpy(std::move(values));
  out["standard_errors"] = ToNumpy(std::move(errors));
  out["prob_t"] = ToNumpy(std::move(prob_t));
  out["covariance"] = ToNumpy(std::move(covariance), count, count);

  py::dict statistics;
  statistics["NumObservations"] = reg.NumObservations();
  statistics["NumIterations"] = reg.NumIterations();
  statistics["NumUnchangedIterations"] = reg.NumUnchangedIterations();
  statistics["IsWeighted"] = reg.IsWeighted();
  statistics["R2"] = reg.R2();
  statistics["R2Adjust"] = reg.R2Adjust();
  statistics["StandardError"] = reg.StandardError();
  statistics["SSE"] = reg.SSE();
  statistics["SSENorm"] = reg.SSENorm();
  statistics["SST"] = reg.SST();
  statistics["SSR"] = reg.SSR();
  statistics["ResidualSum"] = reg.ResidualSum();
  statistics["ResidualAverage"] = reg.ResidualAverage();
  statistics["DurbinWatson"] = reg.DurbinWatson();
  statistics["ProbF"] = reg.ProbF();
  statistics["DOFRegression"] = reg.DOFRegression();
  statistics["DOFError"] = reg.DOFError();
  statistics["DOFTotal"] = reg.DOFTotal();
  out["statistics"] = statistics;

  // The last two columns of the result tables are the predicted values and
  // the residuals, whatever the fit form named them.
  const auto tables = reg.ResultTables();
  const std::int32_t columns = tables->Count();
  out["predicted"] = ToNumpy(tables->Item(columns - 1)->ExportToArray());
  out["residuals"] = ToNumpy(tables->Item(columns)->ExportToArray());
  return out;
}

py::array_t<double> Regression::ConfidenceDeltas(double level) {
  std::vector<double> deltas;
  for (const auto& p : *Object().RegressionParameters()) deltas.push_back(p->CalculateCIDelta(level * 100.0));
  return ToNumpy(std::move(deltas));
}

// ---- queries ----------------------------------------------------------------------------

// A Python model is called once for the whole array. Where it fails (a
// Python exception aside) the library's own query runs, point by point, and
// raises the catalogue's error at the first failing point.
std::vector<double> Regression::PredictCallable(const DoubleArray& x, std::size_t rows) {
  std::vector<double> parameters;
  for (const auto& p : *Object().RegressionParameters()) parameters.push_back(p->Value());
  std::vector<double> out(rows);
  model_->ClearPending();
  if (!model_->EvaluateHeld(parameters, {x.data(), static_cast<std::size_t>(x.size())}, out)) {
    model_->ThrowPending();
    return {};
  }
  if (std::all_of(out.begin(), out.end(), [](double v) { return std::isfinite(v); })) return out;
  return {};
}

py::array_t<double> Regression::Predict(py::handle x) {
  // The guards of the library's query (10023, 10029) come first.
  RequireSolved();
  if (single_) {
    const DoubleArray xa = AsDoubles(x, "x");
    const auto n = static_cast<std::size_t>(xa.size());
    std::vector<double> values;
    if (model_) values = PredictCallable(xa, n);
    if (values.size() != n || n == 0) values = Guarded([&] { return single_->PredictArray(Span(xa)); });
    py::array_t<double> out = ToNumpy(std::move(values));
    return out.reshape(std::vector<py::ssize_t>(xa.shape(), xa.shape() + xa.ndim()));
  }
  const DoubleArray xa = AsDoubles(x, "x", 2);
  const auto rows = static_cast<std::size_t>(xa.shape(0));
  if (xa.shape(1) < variables_) {
    throw py::value_error("x must have " + std::to_string(variables_) + " columns, one per independent variable");
  }
  std::vector<double> values;
  if (model_ && xa.shape(1) == variables_) values = PredictCallable(xa, rows);
  if (values.size() != rows || rows == 0) {
    const Matrix points = ToMatrix(xa);
    values = Guarded([&] { return multiple_->PredictArray(points); });
  }
  return ToNumpy(std::move(values));
}

py::array_t<double> Regression::Derivative(py::handle x, std::int32_t index) {
  std::vector<double> out;
  if (single_) {
    const DoubleArray xa = AsDoubles(x, "x");
    for (const double v : Span(xa)) out.push_back(Guarded([&] { return single_->CalculateDerivative(v); }));
    py::array_t<double> result = ToNumpy(std::move(out));
    return result.reshape(std::vector<py::ssize_t>(xa.shape(), xa.shape() + xa.ndim()));
  }
  const DoubleArray xa = AsDoubles(x, "x", 2);
  const auto width = static_cast<std::size_t>(xa.shape(1));
  for (py::ssize_t r = 0; r < xa.shape(0); ++r) {
    const std::span<const double> point(xa.data() + static_cast<std::size_t>(r) * width, width);
    out.push_back(Guarded([&] { return multiple_->CalculateDerivative(point, index); }));
  }
  return ToNumpy(std::move(out));
}

py::array_t<double> Regression::Roots(double y, double lo, double hi, std::int32_t intervals, py::handle point,
                                      std::int32_t index) {
  if (single_) return ToNumpy(Guarded([&] { return single_->CalculateRoots(y, lo, hi, intervals); }));
  const DoubleArray pa = AsDoubles(point, "point", 1);
  return ToNumpy(Guarded([&] { return multiple_->CalculateRoots(y, Span(pa), index, lo, hi, intervals); }));
}

double Regression::Integral(double lo, double hi) {
  if (!single_) throw py::type_error("the integral is defined for a model of one independent variable");
  return Guarded([&] { return single_->CalculateIntegral(lo, hi); });
}

// ---- registration -------------------------------------------------------------------------

void RegisterRegression(py::module_& m) {
  py::class_<Regression>(m, "_Regression",
                         "One regression object (private: tessarix.fit makes them and FitResult holds them).")
      .def(py::init<std::int32_t>(), py::arg("variables"))
      .def_property_readonly("variables", &Regression::Variables)
      .def("define_text", &Regression::DefineText, py::arg("text"))
      .def("define_id", &Regression::DefineId, py::arg("model_id"))
      .def("define_callable", &Regression::DefineCallable, py::arg("function"), py::arg("derivatives"),
           py::arg("names"))
      .def("parameter_names", &Regression::ParameterNames)
      .def("set_estimate", &Regression::SetEstimate, py::arg("name"), py::arg("value"))
      .def("set_fixed", &Regression::SetFixed, py::arg("name"), py::arg("fixed"))
      .def("set_max_iterations", &Regression::SetMaxIterations, py::arg("value"))
      .def("set_max_unchanged_iterations", &Regression::SetMaxUnchangedIterations, py::arg("value"))
      .def("set_tolerance", &Regression::SetTolerance, py::arg("value"))
      .def("set_threads", &Regression::SetThreads, py::arg("value"))
      .def("set_trust_region", &Regression::SetTrustRegion, py::arg("on"))
      .def("set_exact_derivatives", &Regression::SetExactDerivatives, py::arg("on"))
      .def("set_vector_math", &Regression::SetVectorMath, py::arg("on"))
      .def("fit", &Regression::Fit, py::arg("x"), py::arg("y"), py::arg("sd"), py::arg("release") = true)
      .def("require_solved", &Regression::RequireSolved)
      .def("snapshot", &Regression::Snapshot)
      .def("confidence_deltas", &Regression::ConfidenceDeltas, py::arg("level"))
      .def("predict", &Regression::Predict, py::arg("x"))
      .def("derivative", &Regression::Derivative, py::arg("x"), py::arg("index") = 0)
      .def("roots", &Regression::Roots, py::arg("y"), py::arg("lo"), py::arg("hi"), py::arg("intervals") = 100,
           py::arg("point") = py::none(), py::arg("index") = 0)
      .def("integral", &Regression::Integral, py::arg("lo"), py::arg("hi"))
      .def_property_readonly("model_calls", &Regression::ModelCalls)
      .def_property_readonly("derivative_calls", &Regression::DerivativeCalls);
}

}  // namespace tessarix::python
