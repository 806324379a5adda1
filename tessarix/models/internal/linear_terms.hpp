// The 21 terms of the linear run of the one-variable catalogue (IDs 75 to 298)
// and the families' shared pieces.
//
// Each term exists twice, in one table: as the text the catalogue prints and as
// the arithmetic the hand-written formula performs. The arithmetic follows the
// text operator by operator, so that coefficient times term is computed in the
// order the model language would compute it: "b*x*log(x)" is (b*x)*log(x) and
// "c/x^2" is c/x^2, not c*(1/x^2). A test compares both forms over the whole
// catalogue, which keeps the two columns of the table in step.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace tessarix::detail {

// One factor of a term, computed from x.
enum class TermFactor : std::uint8_t {
  X,          // x
  LogX,       // log(x)
  SqrtX,      // x^.5
  X1_5,       // x^1.5
  X2,         // x^2
  X2_5,       // x^2.5
  X3,         // x^3
  LogXSq,     // log(x)^2
  ExpX,       // exp(x)
  ExpMinusX,  // exp(-x)
};

// How a factor joins what stands to its left.
enum class TermJoin : std::uint8_t { Times, Over };

struct LinearTerm {
  std::string_view text;  // as listed; a leading "1/" is dropped behind a coefficient
  TermJoin join1;
  TermFactor factor1;
  bool has_second;
  TermJoin join2;
  TermFactor factor2;
};

// ORDER: the numbering 1..21 is the catalogue's; IDs 75 to 298 are generated
// from it.
inline constexpr std::array<LinearTerm, 22> kLinearTerms = {{
    {"", TermJoin::Times, TermFactor::X, false, TermJoin::Times, TermFactor::X},  // unused slot 0
    {"x", TermJoin::Times, TermFactor::X, false, TermJoin::Times, TermFactor::X},
    {"x*log(x)", TermJoin::Times, TermFactor::X, true, TermJoin::Times, TermFactor::LogX},
    {"x^1.5", TermJoin::Times, TermFactor::X1_5, false, TermJoin::Times, TermFactor::X},
    {"x^2", TermJoin::Times, TermFactor::X2, false, TermJoin::Times, TermFactor::X},
    {"x^2*log(x)", TermJoin::Times, TermFactor::X2, true, TermJoin::Times, TermFactor::LogX},
    {"x^2.5", TermJoin::Times, TermFactor::X2_5, false, TermJoin::Times, TermFactor::X},
    {"x^3", TermJoin::Times, TermFactor::X3, false, TermJoin::Times, TermFactor::X},
    {"exp(x)", TermJoin::Times, TermFactor::ExpX, false, TermJoin::Times, TermFactor::X},
    {"x^.5*log(x)", TermJoin::Times, TermFactor::SqrtX, true, TermJoin::Times, TermFactor::LogX},
    {"log(x)^2", TermJoin::Times, TermFactor::LogXSq, false, TermJoin::Times, TermFactor::X},
    {"x/log(x)", TermJoin::Times, TermFactor::X, true, TermJoin::Over, TermFactor::LogX},
    {"x^.5", TermJoin::Times, TermFactor::SqrtX, false, TermJoin::Times, TermFactor::X},
    {"log(x)", TermJoin::Times, TermFactor::LogX, false, TermJoin::Times, TermFactor::X},
    {"1/log(x)", TermJoin::Over, TermFactor::LogX, false, TermJoin::Times, TermFactor::X},
    {"1/x^.5", TermJoin::Over, TermFactor::SqrtX, false, TermJoin::Times, TermFactor::X},
    {"log(x)/x", TermJoin::Times, TermFactor::LogX, true, TermJoin::Over, TermFactor::X},
    {"1/x", TermJoin::Over, TermFactor::X, false, TermJoin::Times, TermFactor::X},
    {"1/x^1.5", TermJoin::Over, TermFactor::X1_5, false, TermJoin::Times, TermFactor::X},
    {"log(x)/x^2", TermJoin::Times, TermFactor::LogX, true, TermJoin::Over, TermFactor::X2},
    {"1/x^2", TermJoin::Over, TermFactor::X2, false, TermJoin::Times, TermFactor::X},
    {"exp(-x)", TermJoin::Times, TermFactor::ExpMinusX, false, TermJoin::Times, TermFactor::X},
}};
inline constexpr std::int32_t kLinearTermCount = 21;

// The linear run by evaluation code: codes 90 to 106 are the two-parameter
// models a+b*T(first), codes 107 to 313 the three-parameter models
// a+b*T(first)+c*T(second). second is 0 for the two-parameter models.
struct LinearRunEntry {
  std::uint8_t first = 0;
  std::uint8_t second = 0;
};

inline constexpr std::int32_t kLinearRunFirstId = 75;
inline constexpr std::int32_t kLinearRunLastId = 298;
inline constexpr std::int32_t kLinearRunCodeOffset = 15;  // code = ID + 15
inline constexpr std::int32_t kLinearRunFirstCode = kLinearRunFirstId + kLinearRunCodeOffset;
inline constexpr std::int32_t kLinearRunLastCode = kLinearRunLastId + kLinearRunCodeOffset;
inline constexpr std::int32_t kLinearRunSize = kLinearRunLastId - kLinearRunFirstId + 1;

// The rule: two-parameter models over the terms in order, without the ones that
// exist elsewhere in the catalogue (x, log(x), 1/log(x), 1/x); then every pair
// i < j, without (1,4), (1,20) and (17,20), which are IDs 2, 55 and 17.
constexpr bool LinearSingleExcluded(std::int32_t i) { return i == 1 || i == 13 || i == 14 || i == 17; }
constexpr bool LinearPairExcluded(std::int32_t i, std::int32_t j) {
  return (i == 1 && j == 4) || (i == 1 && j == 20) || (i == 17 && j == 20);
}

constexpr std::array<LinearRunEntry, kLinearRunSize> BuildLinearRun() {
  std::array<LinearRunEntry, kLinearRunSize> run{};
  std::size_t k = 0;
  for (std::int32_t i = 1; i <= kLinearTermCount; ++i) {
    if (!LinearSingleExcluded(i)) run[k++] = {static_cast<std::uint8_t>(i), 0};
  }
  for (std::int32_t i = 1; i <= kLinearTermCount; ++i) {
    for (std::int32_t j = i + 1; j <= kLinearTermCount; ++j) {
      if (!LinearPairExcluded(i, j)) run[k++] = {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(j)};
    }
  }
  // A rule that produced any other count would shift every later ID.
  if (k != run.size()) throw "linear run does not fill IDs 75 to 298";
  return run;
}

inline constexpr std::array<LinearRunEntry, kLinearRunSize> kLinearRun = BuildLinearRun();

static_assert(kLinearRun[0].first == 2 && kLinearRun[0].second == 0);        // ID 75: a+b*x*log(x)
static_assert(kLinearRun[16].first == 21 && kLinearRun[16].second == 0);     // ID 91: a+b*exp(-x)
static_assert(kLinearRun[17].first == 1 && kLinearRun[17].second == 2);      // ID 92
static_assert(kLinearRun[223].first == 20 && kLinearRun[223].second == 21);  // ID 298

// The entry of a linear-run evaluation code (90..313).
constexpr const LinearRunEntry& LinearRunForCode(std::int32_t code) {
  return kLinearRun[static_cast<std::size_t>(code - kLinearRunFirstCode)];
}

}  // namespace tessarix::detail
