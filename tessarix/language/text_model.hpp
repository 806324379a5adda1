// The model language as the regression classes use it: a compiled model text
// that outlives redefinitions on its object, evaluated at one point.
//
// A TextModel belongs to one regression object and lives as long as it. A new
// definition appends to the program of the previous ones and the
// sub-definition marks stay (the language's rules), so only a new TextModel
// starts clean. The compiler, the program format and the evaluator stay
// private to the language; this class is their one door.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tessarix/foundation/enums.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/model_definition.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

struct TextModelState;

class TextModel {
 public:
  TextModel();
  ~TextModel();
  TextModel(const TextModel&) = delete;
  TextModel& operator=(const TextModel&) = delete;

  // The language's part of an object's model reset: the conditional and error
  // flags. The program's records and the sub-definition marks stay.
  void ResetFlags();

  // Prepares the definition (English and local forms into `english` and
  // `local`, sub-definitions F1..Fk), compiles it and readies the evaluator.
  // Returns the parameter names in their sorted order. Raises the definition
  // errors in their order: 10018 (gap in the sub-definitions), 10016 (cycle),
  // 10017 (undefined sub-definition), 10015 (syntax), 10019 (no x), 10015
  // (parameters but no valid model), 10021 (no parameters). Faults of the
  // jump-table builder propagate as run-time faults.
  std::vector<std::string> Define(const tessarix::ModelDefinition& definition, InputLocaleEnum locale,
                                  const SystemSeparators& separators, tessarix::ModelDefinition& english,
                                  tessarix::ModelDefinition& local);

  // y = the model at x. `parameters` is one-based (element 0 unused) and holds
  // at least as many values as the last definition named. False when the model
  // cannot be evaluated there; y is then left as it was. Never throws.
  [[nodiscard]] bool Evaluate(const double* parameters, double x, const DataStatistics& words, double& y) noexcept;

  // A readable listing of the compiled records (kind, code, text, jumps), for
  // tests and diagnostics.
  std::string Dump() const;

 private:
  std::unique_ptr<TextModelState> state_;
};

}  // namespace tessarix::detail
