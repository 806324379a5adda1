// What the model_text and model_fit targets share: how the fuzzer's bytes
// become a model definition, and the errors a definition may raise.
//
// Input: the model text. With line feeds, the first line is Y and the lines
// after it are F1 .. F9 (DefineUserModelSub); a single line is a plain
// DefineUserModel. Lines after the tenth are dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "tessarix/core/regression_object.hpp"
#include "tessarix/foundation/error_code.hpp"
#include "tessarix/language/data_statistics.hpp"
#include "tessarix/language/model_definition.hpp"

namespace tessarix::fuzz {

// The largest input the model targets take.
constexpr std::size_t kMaxModelInput = 2048;

// The definition errors of the class of one variable.
extern const std::initializer_list<ErrorCode> kDefinitionErrors;
// The several-variable mode adds "one of x1..xm missing".
extern const std::initializer_list<ErrorCode> kSeveralVariableDefinitionErrors;

struct ModelInput {
  std::vector<std::string> lines;  // Y, then F1 .. F9
  bool has_semicolon = false;      // the decimal-comma conversions are lossy
  bool has_rnd = false;            // the values are random
};

ModelInput ReadModelInput(const std::uint8_t* data, std::size_t size);

// "." -> "," and "," -> ";": the text as a decimal-comma user types it.
std::string ToLocalText(const std::string& english);

ModelDefinition MakeDefinition(const std::vector<std::string>& lines, bool local);

// DefineUserModel for one line, DefineUserModelSub for several.
void Define(RegressionObject& reg, const std::vector<std::string>& lines, InputLocaleEnum locale, bool local_text);

// The data words of a tiny data set of one variable (x 0.5 .. 4, y about 2x).
const detail::DataStatistics& TinyStatistics();

}  // namespace tessarix::fuzz
