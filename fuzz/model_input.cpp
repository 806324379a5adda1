#include "model_input.hpp"

#include <algorithm>

namespace tessarix::fuzz {

const std::initializer_list<ErrorCode> kDefinitionErrors = {
    ErrorCode::GeneralError,      ErrorCode::ModelSyntax,
    ErrorCode::ModelCyclic,       ErrorCode::ModelUndefinedSubReference,
    ErrorCode::ModelMissingSub,   ErrorCode::ModelNoIndependentVariables,
    ErrorCode::ModelNoParameters,
};

const std::initializer_list<ErrorCode> kSeveralVariableDefinitionErrors = {
    ErrorCode::GeneralError,
    ErrorCode::ModelSyntax,
    ErrorCode::ModelCyclic,
    ErrorCode::ModelUndefinedSubReference,
    ErrorCode::ModelMissingSub,
    ErrorCode::ModelNoIndependentVariables,
    ErrorCode::ModelIndependentVariableMissing,
    ErrorCode::ModelNoParameters,
};

ModelInput ReadModelInput(const std::uint8_t* data, std::size_t size) {
  ModelInput input;
  input.lines.emplace_back();
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      if (input.lines.size() == 10) break;
      input.lines.emplace_back();
    } else {
      input.lines.back() += static_cast<char>(data[i]);
    }
  }
  for (const std::string& line : input.lines) {
    input.has_semicolon = input.has_semicolon || line.find(';') != std::string::npos;
    std::string lower = line;
    for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    input.has_rnd = input.has_rnd || lower.find("rnd") != std::string::npos;
  }
  return input;
}

std::string ToLocalText(const std::string& english) {
  std::string local = english;
  for (char& c : local) {
    if (c == '.') {
      c = ',';
    } else if (c == ',') {
      c = ';';
    }
  }
  return local;
}

ModelDefinition MakeDefinition(const std::vector<std::string>& lines, bool local) {
  ModelDefinition def;
  auto text = [&](std::size_t i) { return local ? ToLocalText(lines[i]) : lines[i]; };
  def.SetY(text(0));
  using Setter = void (ModelDefinition::*)(const std::string&);
  static constexpr Setter kSetters[] = {&ModelDefinition::SetF1, &ModelDefinition::SetF2, &ModelDefinition::SetF3,
                                        &ModelDefinition::SetF4, &ModelDefinition::SetF5, &ModelDefinition::SetF6,
                                        &ModelDefinition::SetF7, &ModelDefinition::SetF8, &ModelDefinition::SetF9};
  for (std::size_t k = 1; k < lines.size() && k <= 9; ++k) (def.*kSetters[k - 1])(text(k));
  return def;
}

void Define(RegressionObject& reg, const std::vector<std::string>& lines, InputLocaleEnum locale, bool local_text) {
  if (lines.size() == 1) {
    reg.DefineUserModel(local_text ? ToLocalText(lines[0]) : lines[0], locale, "fuzz");
  } else {
    reg.DefineUserModelSub(MakeDefinition(lines, local_text), locale);
  }
}

const detail::DataStatistics& TinyStatistics() {
  static const detail::DataStatistics words = [] {
    // One-based, as the statistics read them.
    const std::vector<double> x = {0.0, 0.5, 1.0, 1.5, 2.0, 2.5, 3.0, 3.5, 4.0};
    const std::vector<double> y = {0.0, 1.2, 1.9, 3.1, 3.9, 5.2, 5.8, 7.1, 8.0};
    return detail::ComputeDataStatistics(x.data(), y.data(), static_cast<std::int32_t>(x.size() - 1));
  }();
  return words;
}

}  // namespace tessarix::fuzz
