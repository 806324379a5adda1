// Fuzz target: what a host hands to the Fit forms.
//
// The bytes choose a model (user text, pre-defined by any ID, external with
// handlers that misbehave on request), its estimates and solver settings,
// a form (Fit, FitWeighted, FitAlt, FitWeightedAlt, FitCollection) and
// arrays, Variants or series of any shape and content: NaN, infinities,
// huge and subnormal values, empty and mismatched lengths, strings, nested
// arrays; the natural cubic spline takes the same points through its own
// forms; both save their result file. Every input first gets a good fit, so
// that there are results a failed fit could spoil. Promises checked:
//   - a form raises only its own catalogue errors, and then is not solved;
//   - the caller's arrays, Variants and series are never changed;
//   - a solved fit holds only finite statistics, parameters and tables, and
//     its table holds the caller's observations;
//   - a failed fit says why, has an empty table and leaves the estimates as
//     the caller set them;
//   - post-fit queries give finite values or their own errors;
//   - SaveTSF writes its file whole, or raises its own error and leaves the
//     file there before as it was.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_support.hpp"
#include "tessarix/core/nonlinear_regression.hpp"
#include "tessarix/data/data_collection.hpp"
#include "tessarix/data/data_series.hpp"
#include "tessarix/spline/cubic_spline.hpp"

namespace tessarix::fuzz {
namespace {

constexpr std::uint32_t kMaxObservations = 40;

// How an external model's handlers behave; chosen by the input.
struct HandlerPlan {
  bool alt = false;
  bool derivatives = false;
  std::uint8_t misbehaviour = 0;  // 0 none; see Misbehave
  double trigger = 0.0;           // the x at which it misbehaves (any x when NaN)
};

bool Triggered(const HandlerPlan& plan, double x) { return std::isnan(plan.trigger) || x == plan.trigger; }

// Misbehaviours of a host's handler, all of which must end in a failed
// evaluation (or a failed run), never in a crash or a NaN.
enum Misbehaviour : std::uint8_t {
  kNone,
  kFailure,     // Success stays false
  kNaN,         // Success true with a NaN result
  kInfinity,    // Success true with an infinite result
  kThrow,       // a std::exception
  kThrowOther,  // an exception of another type
  kResize,      // the handler changes the size of the arrays it was given
  kReenter,     // the handler calls back into the locked object
  kWrongKind,   // Alt: the handler replaces the arrays by a non-array or text
  kMisbehaviours,
};

void InstallHandlers(NonlinearRegression& reg, const HandlerPlan& plan, std::int32_t count) {
  auto value = [count](const std::vector<double>& p, double x) {
    TSX_FUZZ_CHECK(static_cast<std::int32_t>(p.size()) == count, "EvaluateExternal got the wrong parameter count");
    return p[0] * x + (count > 1 ? p[1] : 0.0);
  };
  auto misbehave = [&reg, plan](double x, double& result, bool& success) {
    if (!Triggered(plan, x)) return false;
    switch (plan.misbehaviour) {
      case kFailure:
        success = false;
        return true;
      case kNaN:
        result = std::nan("");
        success = true;
        return true;
      case kInfinity:
        result = -HUGE_VAL;
        success = true;
        return true;
      case kThrow:
        throw std::runtime_error("handler failure");
      case kThrowOther:
        throw 42;
      case kReenter:
        reg.SetMaxIterations(3);  // raises 10033 out of the handler
        return false;
      default:
        return false;
    }
  };
  if (!plan.alt) {
    reg.Events.EvaluateExternal = [=](std::vector<double>& p, double x, double& result, bool& success) {
      if (misbehave(x, result, success)) return;
      result = value(p, x);
      success = true;
      if (plan.misbehaviour == kResize && Triggered(plan, x)) p.assign(1000, 7.0);
    };
    reg.Events.DerivativeExternal = [=](std::vector<double>& p, double x, std::vector<double>& d, bool& success) {
      TSX_FUZZ_CHECK(static_cast<std::int32_t>(d.size()) == count, "DerivativeExternal got the wrong array size");
      double ignored = 0.0;
      if (misbehave(x, ignored, success)) {
        if (plan.misbehaviour == kNaN || plan.misbehaviour == kInfinity) d[0] = ignored;
        return;
      }
      d.assign(static_cast<std::size_t>(count), 0.0);
      d[0] = x;
      if (count > 1) d[1] = 1.0;
      success = true;
      if (plan.misbehaviour == kResize && Triggered(plan, x)) {
        d.clear();
        p.clear();
      }
    };
  } else {
    auto unpack = [count](const Variant& p) {
      TSX_FUZZ_CHECK(p.Dimensions() == 1 && p.UpperBound(1) + 1 == count,
                     "EvaluateExternalAlt got the wrong parameters");
      std::vector<double> values;
      for (std::int32_t i = 0; i < count; ++i) values.push_back(p.At(i).ToDouble());
      return values;
    };
    reg.Events.EvaluateExternalAlt = [=](Variant& p, double x, double& result, bool& success) {
      if (misbehave(x, result, success)) return;
      result = value(unpack(p), x);
      success = true;
      if (plan.misbehaviour == kWrongKind && Triggered(plan, x)) p = Variant("text");
    };
    reg.Events.DerivativeExternalAlt = [=](Variant& p, double x, Variant& d, bool& success) {
      TSX_FUZZ_CHECK(d.Dimensions() == 1 && d.UpperBound(1) + 1 == count, "DerivativeExternalAlt got the wrong array");
      double ignored = 0.0;
      if (misbehave(x, ignored, success)) return;
      (void)unpack(p);
      std::vector<Variant> elements(static_cast<std::size_t>(count), Variant(0.0));
      elements[0] = x;
      if (count > 1) elements[1] = 1.0;
      d = Variant::Array(std::move(elements));
      success = true;
      if (plan.misbehaviour == kWrongKind && Triggered(plan, x)) {
        d = plan.trigger > 0 ? Variant("not a number") : Variant();
      } else if (plan.misbehaviour == kResize && Triggered(plan, x)) {
        d = Variant::Array(2, 2);
      }
    };
  }
}

struct Model {
  enum Kind { kUser, kInternal, kExternal } kind = kUser;
  bool estimates_set = false;
};

Model DefineModel(NonlinearRegression& reg, Bytes& in) {
  static const char* const kTexts[] = {"a*x+b", "a*exp(b*x)", "a/(1+exp(-b*(x-c)))+d*xmean", "a*ln(x)+b",
                                       "if(x>a,b*x,c)+0*F"};
  Model model;
  switch (in.Below(4)) {
    case 0:
      reg.DefineUserModel(kTexts[in.Below(5)]);
      break;
    case 1: {
      model.kind = Model::kInternal;
      const std::uint32_t pick = in.Below(320);
      const std::int32_t id = pick < 298 ? static_cast<std::int32_t>(pick) + 1 : static_cast<std::int32_t>(pick) - 310;
      AttemptExpecting("DefineInternalModel", {ErrorCode::InvalidPredefinedModelId},
                       [&] { reg.DefineInternalModel(id); });
      break;
    }
    default: {
      model.kind = Model::kExternal;
      HandlerPlan plan;
      plan.alt = in.Bool();
      plan.derivatives = in.Bool();
      plan.misbehaviour = static_cast<std::uint8_t>(in.Below(kMisbehaviours));
      plan.trigger = in.Bool() ? std::nan("") : static_cast<double>(in.Below(8));
      const std::int32_t count = 1 + static_cast<std::int32_t>(in.Below(3));
      const std::vector<std::string> names = {"a", "b", "c"};
      if (plan.alt) {
        std::vector<Variant> elements(names.begin(), names.begin() + count);
        reg.DefineExternalModelAlt(Variant::Array(std::move(elements)), plan.derivatives);
      } else {
        reg.DefineExternalModel(std::span<const std::string>(names.data(), static_cast<std::size_t>(count)),
                                plan.derivatives);
      }
      InstallHandlers(reg, plan, count);
      break;
    }
  }
  if (reg.IsValidModel() && in.Bool()) {
    // A refused value changes nothing, so only an accepted one marks the
    // estimates as the caller's.
    for (const auto& p : *reg.RegressionParameters()) {
      const double estimate = in.Double();
      model.estimates_set |= AttemptExpecting("SetInitialEstimate", {ErrorCode::InvalidPropertyValue},
                                              [&] { p->SetInitialEstimate(estimate); }) == 0;
      const auto type = static_cast<EstimateTypeEnum>(static_cast<std::int32_t>(in.Below(4)) - 1);
      model.estimates_set |= AttemptExpecting("SetInitialEstimateType", {ErrorCode::InvalidPropertyValue},
                                              [&] { p->SetInitialEstimateType(type); }) == 0;
    }
  }
  const auto iterations = static_cast<std::int32_t>(in.Below(40)) - 2;
  AttemptExpecting("SetMaxIterations", {ErrorCode::InvalidPropertyValue}, [&] { reg.SetMaxIterations(iterations); });
  const auto unchanged = static_cast<std::int32_t>(in.Below(8)) - 1;
  AttemptExpecting("SetMaxUnchangedIterations", {ErrorCode::InvalidPropertyValue},
                   [&] { reg.SetMaxUnchangedIterations(unchanged); });
  if (in.Bool()) {
    const double tolerance = in.Double();
    AttemptExpecting("SetRegressionTolerance", {ErrorCode::InvalidPropertyValue},
                     [&] { reg.SetRegressionTolerance(tolerance); });
  }
  if (in.Bool()) {
    const std::uint8_t plan = in.Byte();
    reg.Events.IterationComplete = [plan](std::int32_t iteration, double sse, bool& abort) {
      RequireFinite(sse, "IterationComplete SSE");
      if (iteration == (plan & 15)) {
        if ((plan & 48) == 16) abort = true;
        if ((plan & 48) == 32) throw std::runtime_error("iteration handler failure");
      }
    };
  }
  return model;
}

// Observations: either any numbers at all or tame ones with some edges.
std::vector<double> Numbers(Bytes& in, std::uint32_t n, std::uint8_t style, double base) {
  std::vector<double> v(n);
  for (std::uint32_t i = 0; i < n; ++i) {
    switch (style) {
      case 0:
        v[i] = in.Double();
        break;
      case 1:
        v[i] = base + static_cast<double>(i) + (in.Byte() % 7) * 0.125;
        break;
      default:
        v[i] = in.Below(6) == 0 ? in.Double() : base + static_cast<double>(i) * 0.5;
        break;
    }
  }
  return v;
}

Variant Element(Bytes& in, double number) {
  switch (in.Below(10)) {
    case 0:
      return Variant(static_cast<std::int32_t>(number == number && std::fabs(number) < 1e9 ? number : 3));
    case 1:
      return Variant(in.Bool());
    case 2:
      return Variant(in.String(24));
    case 3: {
      static const char* const kTexts[] = {"1.5", "1,5", "-2e3", "1e400", "NaN", "inf", "  7 ", "(3)", "$4", "1,234"};
      return Variant(kTexts[in.Below(10)]);
    }
    case 4:
      return Variant();
    case 5:
      return Variant::Array({Variant(number)});
    default:
      return Variant(number);
  }
}

// A Variant holding the numbers, or something of another shape.
Variant VariantOf(Bytes& in, const std::vector<double>& numbers) {
  const std::uint32_t shape = in.Below(12);
  if (shape == 0) return Variant(numbers.empty() ? 0.0 : numbers[0]);  // not an array
  if (shape == 1) return Variant();
  if (shape == 2 && !numbers.empty()) {
    const auto rows = static_cast<std::int32_t>(numbers.size());
    const auto cols = 1 + static_cast<std::int32_t>(in.Below(2));
    Variant table = Variant::Array(rows, cols);
    for (std::int32_t i = 0; i < rows; ++i) {
      for (std::int32_t j = 0; j < cols; ++j) table.At(i, j) = numbers[static_cast<std::size_t>(i)];
    }
    return table;
  }
  const bool mixed = shape == 3 || shape == 4;
  std::vector<Variant> elements;
  for (double v : numbers) elements.push_back(mixed ? Element(in, v) : Variant(v));
  return Variant::Array(std::move(elements));
}

std::vector<double> EstimatesOf(NonlinearRegression& reg) {
  std::vector<double> values;
  for (const auto& p : *reg.RegressionParameters()) {
    values.push_back(p->InitialEstimate());
    values.push_back(static_cast<double>(p->InitialEstimateType()));
  }
  return values;
}

void CheckSolvedFit(NonlinearRegression& reg, std::size_t n) {
  for (double v : {reg.R2(), reg.R2Adjust(), reg.SSE(), reg.SSENorm(), reg.SST(), reg.SSR(), reg.StandardError(),
                   reg.DurbinWatson(), reg.ProbF(), reg.ResidualSum(), reg.ResidualAverage()}) {
    RequireFinite(v, "statistic");
  }
  TSX_FUZZ_CHECK(reg.NumObservations() == static_cast<std::int32_t>(n), "NumObservations is not the data's count");
  const auto parameters = reg.RegressionParameters();
  for (const auto& p : *parameters) {
    RequireFinite(p->Value(), "parameter value");
    RequireFinite(p->StandardError(), "parameter standard error");
    RequireFinite(p->ProbT(), "parameter ProbT");
    RequireFinite(p->CalculateCIDelta(99.0), "confidence interval");
  }
  for (std::int32_t i = 1; i <= parameters->Count(); ++i) {
    RequireFinite(parameters->CalculateCovariance(i, parameters->Count()), "covariance");
  }
  for (const auto& column : *reg.ResultTables()) {
    const std::vector<double> values = column->ExportToArray();
    TSX_FUZZ_CHECK(values.size() == n, "a result column of the wrong length");
    RequireAllFinite(values, "result table");
  }
}

void CheckTable(NonlinearRegression& reg, const std::vector<double>& x, const std::vector<double>& y,
                const std::vector<double>* sd) {
  const auto tables = reg.ResultTables();
  TSX_FUZZ_CHECK(SameBits(tables->Item(1)->ExportToArray(), x), "the table's X is not the caller's");
  TSX_FUZZ_CHECK(SameBits(tables->Item(2)->ExportToArray(), y), "the table's Y is not the caller's");
  TSX_FUZZ_CHECK(tables->Count() == (reg.IsWeighted() ? 5 : 4), "the table's columns do not match IsWeighted");
  if (sd != nullptr && reg.IsWeighted()) {
    TSX_FUZZ_CHECK(SameBits(tables->Item(3)->ExportToArray(), *sd), "the table's SD is not the caller's");
  }
}

void Queries(NonlinearRegression& reg, Bytes& in) {
  const double x = in.Double();
  double y = 0.0;
  if (AttemptExpecting("PredictValue", {ErrorCode::ModelEvaluationError}, [&] { y = reg.PredictValue(x); }) == 0) {
    RequireFinite(y, "PredictValue");
  }
  if (AttemptExpecting("CalculateDerivative", {ErrorCode::DerivativeError}, [&] { y = reg.CalculateDerivative(x); }) ==
      0) {
    RequireFinite(y, "CalculateDerivative");
  }
  const std::vector<double> xs = Numbers(in, in.Below(6), 0, 0.0);
  const Variant alt = VariantOf(in, xs);
  Variant predicted;
  if (AttemptExpecting("PredictArrayAlt",
                       {ErrorCode::ModelEvaluationError, ErrorCode::ExpectedVariantArray, ErrorCode::GeneralError},
                       [&] { predicted = reg.PredictArrayAlt(alt); }) == 0 &&
      predicted.Dimensions() == 1) {
    for (std::int32_t i = 0; i <= predicted.UpperBound(1); ++i) RequireFinite(predicted.At(i).ToDouble(), "Alt");
  }
  const double lo = in.Double(), hi = in.Double();
  const auto intervals = static_cast<std::int32_t>(in.Below(40));
  std::vector<double> roots;
  if (AttemptExpecting("CalculateRoots", {ErrorCode::InvalidArgument},
                       [&] { roots = reg.CalculateRoots(in.Double(), lo, hi, intervals); }) == 0) {
    RequireScanRoots(roots, lo, hi, "CalculateRoots");
  }
  // Romberg may take 2^19 evaluations: only on short intervals of tame bounds.
  if (!(std::fabs(lo) >= 1e3) && !(std::fabs(hi) >= 1e3)) {
    if (AttemptExpecting("CalculateIntegral", {ErrorCode::IntegralError}, [&] { y = reg.CalculateIntegral(lo, hi); }) ==
        0) {
      RequireFinite(y, "CalculateIntegral");
    }
  }
}

// The result file of a regression or a spline, in a version picked by
// `choice` (two good, two not) and now and then to a folder, which cannot be
// written: it is written whole or not at all, the file there before staying
// as it was. `choice` comes from what the input chose already, so that the
// bytes keep the meaning they had before the result file was fuzzed (and the
// inputs of past findings still replay what they found).
template <class Object>
void SaveResultFile(Object& object, std::uint32_t choice, std::initializer_list<ErrorCode> allowed) {
  static constexpr std::int32_t kVersions[][2] = {{8, 0}, {7, 1}, {8, 1}, {6, 0}};
  const auto& version = kVersions[choice % 4];
  const bool to_folder = (choice / 4) % 8 == 7;
  const std::string path = PrivateDir() + "/result.tsf";
  const std::string before = "an earlier file";
  WriteFile(path, before);
  const std::int32_t error = AttemptExpecting(
      "SaveTSF", allowed, [&] { object.SaveTSF(to_folder ? PrivateDir() : path, version[0], version[1]); });
  const std::string after = ReadFile(path);
  if (to_folder) TSX_FUZZ_CHECK(error != 0, "SaveTSF wrote to a folder");
  if (error != 0 || to_folder) {
    TSX_FUZZ_CHECK(after == before, "a failed SaveTSF changed the file");
  } else {
    TSX_FUZZ_CHECK(after != before && !after.empty(), "SaveTSF raised nothing and wrote nothing");
  }
}

// The natural cubic spline: the same points through Fit, FitAlt or
// FitCollection, then its cubics and queries inside the knots.
void FitSpline(std::uint32_t form, const std::vector<double>& x, const std::vector<double>& y, const Variant& vx,
               const Variant& vy, const DataCollection& collection, Bytes& in) {
  CubicSpline spline;
  std::int32_t error = 0;
  if (form <= 1) {
    const std::vector<double> cx = x, cy = y;
    error =
        AttemptExpecting("CubicSpline::Fit",
                         {ErrorCode::NoObservationsInArray, ErrorCode::UnequalArrayDimensions, ErrorCode::GeneralError},
                         [&] { spline.Fit(cx, cy); });
    TSX_FUZZ_CHECK(SameBits(cx, x) && SameBits(cy, y), "the spline changed the caller's arrays");
  } else if (form <= 3) {
    const Variant cx = vx, cy = vy;
    error = AttemptExpecting("CubicSpline::FitAlt",
                             {ErrorCode::ExpectedVariantArray, ErrorCode::NoObservationsInArray,
                              ErrorCode::UnequalArrayDimensions, ErrorCode::GeneralError},
                             [&] { spline.FitAlt(cx, cy); });
    TSX_FUZZ_CHECK(SameVariant(cx, vx) && SameVariant(cy, vy), "the spline changed the caller's Variants");
  } else {
    error = AttemptExpecting("CubicSpline::FitCollection",
                             {ErrorCode::MissingSeriesX, ErrorCode::MissingSeriesY, ErrorCode::UnequalSeriesLengths,
                              ErrorCode::GeneralError},
                             [&] { spline.FitCollection(collection); });
  }
  const std::initializer_list<ErrorCode> save_errors = {ErrorCode::ModelNotSolved, ErrorCode::UnsupportedTessaraVersion,
                                                        ErrorCode::FileWriteError};
  SaveResultFile(spline, static_cast<std::uint32_t>(x.size() + y.size()), save_errors);
  if (error != 0 || !spline.IsSolved()) {
    TSX_FUZZ_CHECK(!spline.IsSolved(), "a spline fit that raised left the spline solved");
    TSX_FUZZ_CHECK(spline.ResultTables()->Count() == 0, "a failed spline fit left a result table");
    return;
  }
  for (const auto& column : *spline.ResultTables()) RequireAllFinite(column->ExportToArray(), "spline table");
  const std::int32_t intervals = spline.NumIntervals();
  TSX_FUZZ_CHECK(intervals >= 2, "a solved spline of fewer than three knots");
  // The end knots, from the end cubics; a cubic whose coefficients overflow
  // raises 10001 and gives none.
  double first = 0.0, last = 0.0;
  bool have_first = false, have_last = false;
  for (std::int32_t i = 1; i <= intervals; ++i) {
    AttemptExpecting("GetCubicByInterval", {ErrorCode::GeneralError}, [&] {
      const CubicInformation cubic = spline.GetCubicByInterval(i);
      for (double c : {cubic.a(), cubic.b(), cubic.c(), cubic.d()}) RequireFinite(c, "spline coefficient");
      TSX_FUZZ_CHECK(cubic.LowerBound() < cubic.UpperBound() && cubic.Interval() == i, "a cubic's interval");
      if (i == 1) {
        first = cubic.LowerBound();
        have_first = true;
      }
      if (i == intervals) {
        last = cubic.UpperBound();
        have_last = true;
      }
    });
  }
  if (!have_first || !have_last) return;
  RequireFinite(first, "first knot");
  RequireFinite(last, "last knot");
  // Points inside the knots, chosen by the input.
  const double t = static_cast<double>(in.Byte()) / 255.0, u = static_cast<double>(in.Byte()) / 255.0;
  const double a = first + (last - first) * t, b = first + (last - first) * u;
  const bool inside = std::isfinite(a) && std::isfinite(b) && a >= first && a <= last && b >= first && b <= last;
  if (!inside) return;
  const std::initializer_list<ErrorCode> evaluation = {ErrorCode::ModelEvaluationError, ErrorCode::GeneralError};
  double v = 0.0;
  if (AttemptExpecting("spline PredictValue", evaluation, [&] { v = spline.PredictValue(a); }) == 0) {
    RequireFinite(v, "spline PredictValue");
  }
  if (AttemptExpecting("spline CalculateDerivative", {ErrorCode::DerivativeError},
                       [&] { v = spline.CalculateDerivative(a); }) == 0) {
    RequireFinite(v, "spline CalculateDerivative");
  }
  if (AttemptExpecting("spline CalculateIntegral", {ErrorCode::IntegralError},
                       [&] { v = spline.CalculateIntegral(a, b); }) == 0) {
    RequireFinite(v, "spline CalculateIntegral");
  }
  std::vector<double> roots;
  if (AttemptExpecting("spline CalculateRoots", {ErrorCode::InvalidArgument}, [&] {
        roots = spline.CalculateRoots(in.Double(), a, b, static_cast<std::int32_t>(in.Below(30)));
      }) == 0) {
    RequireScanRoots(roots, a, b, "spline CalculateRoots");
  }
}

}  // namespace
}  // namespace tessarix::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tessarix;
  using namespace tessarix::fuzz;
  Bytes in(data, size);
  SetSystemSeparators(in.Bool() ? DecimalCommaSeparators() : EnglishSeparators());
  NonlinearRegression reg;
  const Model model = DefineModel(reg, in);

  // A good fit first: its results are what a failed fit must not spoil.
  const std::vector<double> good_x = {1, 2, 3, 4, 5, 6, 7, 8};
  const std::vector<double> good_y = {2.1, 3.9, 6.2, 7.8, 10.1, 12.2, 13.8, 16.1};
  if (reg.IsValidModel() && in.Bool()) Attempt("good fit", [&] { reg.Fit(good_x, good_y); });

  const std::uint32_t form = in.Below(5);
  const std::uint32_t n = in.Below(kMaxObservations + 1);
  auto count_of = [&](std::uint32_t base) { return in.Below(8) == 7 ? in.Below(kMaxObservations + 1) : base; };
  const std::uint32_t ny = count_of(n), nsd = count_of(n);
  const auto style = static_cast<std::uint8_t>(in.Below(3));
  const std::vector<double> x = Numbers(in, n, style, 1.0);
  const std::vector<double> y = Numbers(in, ny, style, 3.0);
  const std::vector<double> sd = Numbers(in, nsd, style == 1 ? 2 : style, 0.5);

  if (std::getenv("TESSARIX_FUZZ_VERBOSE") != nullptr) {
    std::fprintf(stderr, "model kind %d valid %d form %u\n", static_cast<int>(model.kind), reg.IsValidModel(), form);
    if (reg.IsValidModel() && model.kind != Model::kExternal) {
      std::fprintf(stderr, "model %s\n", reg.ModelDefinition().Y().c_str());
    }
    for (const auto* v : {&x, &y, &sd}) {
      for (double d : *v) std::fprintf(stderr, "%.17g ", d);
      std::fprintf(stderr, "\n");
    }
  }
  const bool estimates_kept = model.kind != Model::kInternal || model.estimates_set;
  const std::vector<double> estimates = EstimatesOf(reg);
  std::int32_t error = 0;
  Variant vx, vy, vsd;        // the Alt forms' arguments
  DataCollection collection;  // FitCollection's
  switch (form) {
    case 0:
    case 1: {
      const std::vector<double> cx = x, cy = y, csd = sd;
      error = AttemptExpecting(
          "Fit", {ErrorCode::ModelNotDefined, ErrorCode::NoObservationsInArray, ErrorCode::UnequalArrayDimensions},
          [&] { form == 0 ? reg.Fit(cx, cy) : reg.FitWeighted(cx, cy, csd); });
      TSX_FUZZ_CHECK(SameBits(cx, x) && SameBits(cy, y) && SameBits(csd, sd), "Fit changed the caller's arrays");
      if (error == 0 && reg.IsSolved()) {
        CheckSolvedFit(reg, x.size());
        CheckTable(reg, x, y, form == 1 ? &sd : nullptr);
      }
      break;
    }
    case 2:
    case 3: {
      vx = VariantOf(in, x);
      vy = VariantOf(in, y);
      vsd = VariantOf(in, sd);
      const Variant cx = vx, cy = vy, csd = vsd;
      error = AttemptExpecting(
          "FitAlt",
          {ErrorCode::ModelNotDefined, ErrorCode::NoObservationsInArray, ErrorCode::UnequalArrayDimensions,
           ErrorCode::ExpectedVariantArray, ErrorCode::GeneralError},
          [&] { form == 2 ? reg.FitAlt(cx, cy) : reg.FitWeightedAlt(cx, cy, csd); });
      TSX_FUZZ_CHECK(SameVariant(cx, vx) && SameVariant(cy, vy) && SameVariant(csd, vsd),
                     "FitAlt changed the caller's Variants");
      if (error == static_cast<std::int32_t>(ErrorCode::ExpectedVariantArray)) {
        TSX_FUZZ_CHECK(reg.LastSolveError() == "42", "10042 without LastSolveError \"42\"");
      }
      if (error == 0 && reg.IsSolved()) CheckSolvedFit(reg, static_cast<std::size_t>(reg.NumObservations()));
      break;
    }
    default: {
      static const char* const kKeys[] = {"x", "X", "y", "Y", "sd", "SD", "", "z"};
      const std::vector<double>* columns[] = {&x, &y, &sd};
      const std::uint32_t members = in.Below(4) + (in.Bool() ? 2 : 0);
      for (std::uint32_t m = 0; m < members; ++m) {
        std::shared_ptr<DataSeries> series;
        if (Attempt("AddSeries", [&] { series = collection.AddSeries(in.String(6)); }) != 0) continue;
        series->SetRegressionKey(m < 3 && in.Below(4) != 0 ? kKeys[2 * m + in.Below(2)] : kKeys[in.Below(8)]);
        const std::vector<double>& values = *columns[m % 3];
        AttemptExpecting("ImportFromArray", {ErrorCode::SubscriptOutOfRange, ErrorCode::GeneralError},
                         [&] { series->ImportFromArray(values); });
      }
      std::vector<std::vector<double>> before;
      for (const auto& series : collection) before.push_back(series->ExportToArray());
      error = AttemptExpecting("FitCollection",
                               {ErrorCode::ModelNotDefined, ErrorCode::MissingSeriesX, ErrorCode::MissingSeriesY,
                                ErrorCode::UnequalSeriesLengths},
                               [&] { reg.FitCollection(collection); });
      std::size_t i = 0;
      for (const auto& series : collection) {
        TSX_FUZZ_CHECK(SameBits(series->ExportToArray(), before[i++]), "FitCollection changed the caller's series");
      }
      if (error == 0 && reg.IsSolved()) CheckSolvedFit(reg, static_cast<std::size_t>(reg.NumObservations()));
      break;
    }
  }

  // The spline takes the same points through its own forms.
  FitSpline(form, x, y, vx, vy, collection, in);

  // The result file: a failed fit writes the model without a solution.
  SaveResultFile(reg, form + n + ny + nsd,
                 {ErrorCode::ModelNotDefined, ErrorCode::NotValidForExternalModels,
                  ErrorCode::UnsupportedTessaraVersion, ErrorCode::FileWriteError});
  if (error != 0 || !reg.IsSolved()) {
    TSX_FUZZ_CHECK(!reg.IsSolved(), "a fit that raised left the object solved");
    TSX_FUZZ_CHECK(!reg.LastSolveError().empty() && reg.LastSolveError() != "No errors", "a failed fit says nothing");
    TSX_FUZZ_CHECK(reg.ResultTables()->Count() == 0, "a failed fit left a result table");
    if (estimates_kept) TSX_FUZZ_CHECK(SameBits(EstimatesOf(reg), estimates), "a failed fit changed the estimates");
    AttemptExpecting("SSE unsolved", {ErrorCode::ModelNotSolved, ErrorCode::ModelNotDefined}, [&] { (void)reg.SSE(); });
    return 0;
  }
  if (estimates_kept) TSX_FUZZ_CHECK(SameBits(EstimatesOf(reg), estimates), "a fit changed the caller's estimates");
  Queries(reg, in);
  return 0;
}
