// The dispatch of the pre-defined models: one table indexed by evaluation
// code, built at compile time, holding each code's value and derivative
// routines. A call is one bounds test and one indexed jump.
#include "tessarix/models/predefined_formulas.hpp"

#include <array>
#include <cmath>

#include "tessarix/models/internal/formula_table.hpp"
#include "tessarix/models/internal/nonlinear_models.hpp"
#include "tessarix/models/model_catalogue.hpp"
#include "tessarix/numerics/internal_failure.hpp"

namespace tessarix::detail {
namespace {

// A code that belongs to no model (0, 65..69, 75..79, 85..89).
Num UnassignedValue(std::int32_t /*code*/, const double* /*p*/, Num /*x*/) { RaiseFault(FaultKind::InvalidCall); }
void UnassignedDerivatives(std::int32_t /*code*/, const double* /*p*/, Num /*x*/, double* /*d*/) {
  RaiseFault(FaultKind::InvalidCall);
}

template <class Model>
constexpr FormulaEntry Written() {
  return {[](std::int32_t, const double* p, Num x) { return Model::Value(p, x); },
          [](std::int32_t, const double* p, Num x, double* d) { Model::Derivatives(p, x, d); }};
}

constexpr std::array<FormulaEntry, kLastEvaluationCode + 1> BuildFormulaTable() {
  std::array<FormulaEntry, kLastEvaluationCode + 1> table{};
  for (FormulaEntry& e : table) e = {UnassignedValue, UnassignedDerivatives};
  auto fill = [&table](std::int32_t first, std::int32_t last, FormulaEntry entry) {
    for (std::int32_t code = first; code <= last; ++code) table[static_cast<std::size_t>(code)] = entry;
  };
  fill(kPolynomialFirstCode, kPolynomialLastCode, {PolynomialValue, PolynomialDerivatives});
  fill(kInversePolynomialFirstCode, kInversePolynomialFirstCode + kFamilySize - 1,
       {InversePolynomialValue, InversePolynomialDerivatives});
  fill(kInverseLogarithmFirstCode, kInverseLogarithmFirstCode + kFamilySize - 1,
       {InverseLogarithmValue, InverseLogarithmDerivatives});
  fill(kLogarithmFirstCode, kLogarithmFirstCode + kFamilySize - 1, {LogarithmValue, LogarithmDerivatives});
  fill(kLinearRunFirstCode, kLinearRunLastCode, {LinearRunValue, LinearRunDerivatives});

  using namespace nonlinear;
  table[11] = Written<Code11>();
  table[12] = Written<Code12>();
  table[13] = Written<Code13>();
  table[14] = Written<Code14>();
  table[15] = Written<Code15>();
  table[16] = Written<Code16>();
  table[17] = Written<Code17>();
  table[18] = Written<Code18>();
  table[19] = Written<Code19>();
  table[20] = Written<Code20>();
  table[21] = Written<Code21>();
  table[22] = Written<Code22>();
  table[23] = Written<Code23>();
  table[24] = Written<Code24>();
  table[25] = Written<Code25>();
  table[26] = Written<Code26>();
  table[27] = Written<Code27>();
  table[28] = Written<Code28>();
  table[29] = Written<Code29>();
  table[30] = Written<Code30>();
  table[31] = Written<Code31>();
  table[32] = Written<Code32>();
  table[33] = Written<Code33>();
  table[34] = Written<Code34>();
  table[35] = Written<Code35>();
  table[36] = Written<Code36>();
  table[37] = Written<Code37>();
  table[38] = Written<Code38>();
  table[39] = Written<Code39>();
  table[40] = Written<Code40>();
  table[41] = Written<Code41>();
  table[42] = Written<Code42>();
  table[43] = Written<Code43>();
  table[44] = Written<Code44>();
  table[45] = Written<Code45>();
  table[46] = Written<Code46>();
  table[47] = Written<Code47>();
  table[48] = Written<Code48>();
  table[49] = Written<Code49>();
  table[50] = Written<Code50>();
  table[51] = Written<Code51>();
  table[52] = Written<Code52>();
  table[53] = Written<Code53>();
  table[54] = Written<Code54>();
  table[55] = Written<Code55>();
  table[56] = Written<Code56>();
  table[57] = Written<Code57>();
  table[58] = Written<Code58>();
  table[59] = Written<Code59>();
  return table;
}

constexpr std::array<FormulaEntry, kLastEvaluationCode + 1> kFormulaTable = BuildFormulaTable();

const FormulaEntry* Lookup(std::int32_t code, double x) noexcept {
  // An infinite or NaN abscissa is a failed operand even where the formula
  // would map it to a finite number (b/x at x = inf).
  if (code < 0 || code > kLastEvaluationCode || !std::isfinite(x)) {
    return nullptr;
  }
  return &kFormulaTable[static_cast<std::size_t>(code)];
}

}  // namespace

bool EvaluatePredefined(std::int32_t evaluation_code, const double* a, double x, double& y) noexcept {
  const FormulaEntry* formula = Lookup(evaluation_code, x);
  if (formula == nullptr) {
    return false;
  }
  return SucceedsWithoutFault([&] { y = formula->value(evaluation_code, a, Num(x)).value(); });
}

bool PredefinedDerivatives(std::int32_t evaluation_code, const double* a, double x, double* d) noexcept {
  const FormulaEntry* formula = Lookup(evaluation_code, x);
  if (formula == nullptr) {
    return false;
  }
  return SucceedsWithoutFault([&] { formula->derivatives(evaluation_code, a, Num(x), d); });
}

}  // namespace tessarix::detail
