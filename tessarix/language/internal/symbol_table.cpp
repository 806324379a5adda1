#include "tessarix/language/internal/symbol_table.hpp"

#include <algorithm>
#include <array>

#include "tessarix/language/internal/tokeniser.hpp"
#include "tessarix/platform/rounding.hpp"

namespace tessarix::detail {

namespace {

// ORDER: the data words, in the order of DataWord.
constexpr std::array<std::string_view, kDataWordCount> kDataWords = {
    "xmin", "xmax",    "ymin",    "ymax",    "xmean",   "ymean",  "xstd",
    "ystd", "xatymin", "xatymax", "yatxmin", "yatxmax", "xrange", "yrange"};
static_assert(kDataWords[static_cast<std::size_t>(DataWord::XAtYMin)] == "xatymin" &&
              kDataWords[static_cast<std::size_t>(DataWord::YRange)] == "yrange");

// Variables that the data words of the several-variable mode can name.
constexpr int kNamedVariables = 9;
// The highest variable number of the several-variable mode.
constexpr int kMaxVariables = 50;

// A prefix and a number, as "x12". (Appended, not concatenated with "+",
// which g++ 12 warns about wrongly.)
std::string Numbered(std::string_view prefix, int k) {
  std::string name(prefix);
  name += std::to_string(k);
  return name;
}

}  // namespace

SymbolTable::SymbolTable(bool several_variables) {
  for (const FunctionRow& row : FunctionRows()) {
    if (row.control == Control::Call || row.control == Control::If) {
      names_[std::string(row.word)] = Symbol{SymbolKind::Function, 0, DataWord::XMin, &row};
    }
  }
  for (int k = 1; k <= 9; ++k) {
    names_[Numbered("f", k)] = Symbol{SymbolKind::SubDefinition, static_cast<std::int16_t>(k)};
  }
  names_["pi"] = Symbol{SymbolKind::Pi};
  for (std::size_t w = 0; w < kDataWords.size(); ++w) {
    const std::string word(kDataWords[w]);
    const auto data_word = static_cast<DataWord>(w);
    const std::size_t x = word.find('x');
    if (!several_variables || x == std::string::npos) {
      names_[word] = Symbol{SymbolKind::DataWord, 0, data_word};
      continue;
    }
    // "xmin" -> "x1min", "yatxmax" -> "yatx1max": the digit follows the x.
    for (int k = 1; k <= kNamedVariables; ++k) {
      std::string named = word;
      named.insert(x + 1, 1, static_cast<char>('0' + k));
      names_[named] = Symbol{SymbolKind::DataWord, static_cast<std::int16_t>(k), data_word};
    }
  }
  if (!several_variables) {
    names_["x"] = Symbol{SymbolKind::Variable, 0};
    return;
  }
  for (int k = 1; k <= kMaxVariables; ++k) {
    const Symbol variable{SymbolKind::Variable, static_cast<std::int16_t>(k)};
    names_[Numbered("x", k)] = variable;
    if (k <= 9) names_[Numbered("x0", k)] = variable;
  }
}

const SymbolTable& SymbolTable::For(bool several_variables) {
  static const SymbolTable one(false);
  static const SymbolTable several(true);
  return several_variables ? several : one;
}

Symbol SymbolTable::Resolve(const std::string& lower) const {
  const auto it = names_.find(lower);
  return it == names_.end() ? Symbol{} : it->second;
}

void ParameterTable::BeginDefinition() {
  spellings_.clear();
  known_.clear();
}

void ParameterTable::Note(std::string_view spelling, std::int32_t record) {
  std::string lower = LowerAscii(spelling);
  if (known_.emplace(lower, spellings_.size()).second) spellings_.emplace_back(spelling);
  records_[std::move(lower)].push_back(record);
}

std::vector<std::string> ParameterTable::Collect(ModelProgram& program) const {
  const std::int16_t count = ToCounter16(static_cast<std::int64_t>(spellings_.size()));
  // By code unit: "B*x+a" has the parameters B, a. The names differ in lower
  // case, so no two compare equal and the order is the one of any sort.
  std::vector<std::string> sorted = spellings_;
  std::sort(sorted.begin(), sorted.end());
  for (std::int16_t i = 1; i <= count; ++i) {
    const auto found = records_.find(LowerAscii(sorted[static_cast<std::size_t>(i - 1)]));
    if (found == records_.end()) continue;
    for (const std::int32_t r : found->second) program.ops[static_cast<std::size_t>(r)].param_index = i;
  }
  return sorted;
}

}  // namespace tessarix::detail
