#include "tessarix/language/internal/function_table.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/numerics/polynomials.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {

namespace {
// The library's PI, not the full precision of a double.
constexpr double kPi = 3.14159265358979;
// "arccotan" adds this short constant, as the language has always done.
constexpr double kShortHalfPi = 1.570796327;

constexpr bool TableInOrder() {
  for (int i = 0; i < kFunctionWordCount; ++i) {
    if (kFunctionWords[static_cast<std::size_t>(i)].code != i + 1) return false;
  }
  return kFunctionWords[kCodeIf - 1].word == "if" && kFunctionWords[kCodeEndIf - 1].word == "endif";
}
static_assert(TableInOrder(), "function codes must follow the table order");

std::string Lower(std::string_view word) {
  std::string s(word);
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}
}  // namespace

std::int16_t LookupFunctionCode(std::string_view word) {
  if (word.size() > 9) return 0;  // longer than every word of the table
  const std::string lower = Lower(word);
  for (const FunctionWord& f : kFunctionWords) {
    if (f.word == lower) return f.code;
  }
  return 0;
}

bool IsFunctionWord(std::string_view word) {
  const std::int16_t code = LookupFunctionCode(word);
  return code != 0 && code != kCodeEndTrue && code != kCodeEndIf;
}

int FunctionArity(std::int16_t code) {
  if (code < 1 || code > kFunctionWordCount) return 0;
  return kFunctionWords[static_cast<std::size_t>(code - 1)].arity;
}

double Atan2(double y, double x) {
  if (x > 0.0) return y == 0.0 ? 0.0 : Checked(std::atan(CheckedDiv(y, x)));
  if (x == 0.0) {
    if (y < 0.0) return -kPi / 2.0;
    if (y == 0.0) return 0.0;
    return kPi / 2.0;
  }
  if (x < 0.0) {
    if (y < 0.0) return Checked(std::atan(CheckedDiv(y, x)) - kPi);
    if (y == 0.0) return kPi;
    return Checked(std::atan(CheckedDiv(y, x)) + kPi);
  }
  RaiseFault(FaultKind::InvalidCall);  // x is not a number
}

namespace {
// A 24-bit linear congruential generator: every value k / 2^24 is exact in
// single precision. State per thread, so objects on different threads never
// share a sequence.
struct RandomState {
  std::uint32_t seed = 0x50000u;
  double last = 0.0;
  bool drawn = false;
};
thread_local RandomState t_random;

constexpr std::uint32_t kRandomMask = 0xFFFFFFu;
void RandomStep(RandomState& s) {
  s.seed = (s.seed * 0x43FD43FDu + 0xC39EC3u) & kRandomMask;
  s.last = static_cast<double>(static_cast<float>(s.seed) / 16777216.0f);
  s.drawn = true;
}
}  // namespace

double RandomNumber(double v) {
  RandomState& s = t_random;
  if (v < 0.0) {
    // Reseed from the single-precision bits of the argument.
    const float f = static_cast<float>(v);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &f, sizeof bits);
    s.seed = (bits + (bits >> 24)) & kRandomMask;
    RandomStep(s);
  } else if (v > 0.0 || !s.drawn) {
    RandomStep(s);
  }
  return s.last;
}

namespace {
double Sign(double v) { return v > 0.0 ? 1.0 : (v < 0.0 ? -1.0 : 0.0); }
double Limit707(double v) { return v > 707.0 ? 707.0 : (v < -707.0 ? -707.0 : v); }

double Elementary(std::int16_t code, Num v) {
  const double d = v.value();
  switch (code) {
    case 1:
      return std::fabs(d);
    case 2:
      return exp(v).value();
    case 3:
      return std::trunc(d);
    case 4:
      return std::floor(d);
    case 5:
      return (v - std::trunc(d)).value();
    case 6:
    case 7:
      return log(v).value();
    case 8:
      return (log(v) / log(Num(10.0))).value();
    case 9:
      return RandomNumber(d);
    case 10:
      return Sign(d);
    case 11:
      return sqrt(v).value();
    case 12:
      return cos(v).value();
    case 13:
      return sin(v).value();
    case 14:
      return tan(v).value();
    case 15:
      return Atan2(d, sqrt(1.0 - v * v).value());
    case 16:
      return (Num(Atan2((-v).value(), sqrt(1.0 - v * v).value())) + 2.0 * atan(Num(1.0))).value();
    case 17:
      return atan(v).value();
    case 18:
      return (1.0 / cos(v)).value();
    case 19:
      return (1.0 / sin(v)).value();
    case 20:
      return (1.0 / tan(v)).value();
    case 21: {
      const Num t = 1.0 / v;
      return (Num(Atan2((-t).value(), sqrt(1.0 - t * t).value())) + 2.0 * atan(Num(1.0))).value();
    }
    case 22: {
      const Num t = 1.0 / v;
      return Atan2(t.value(), sqrt(1.0 - t * t).value());
    }
    case 23:
      return (atan(v) + kShortHalfPi).value();
    case 24: {
      const Num w = Limit707(d);
      return ((exp(w) - exp(-w)) / 2.0).value();
    }
    case 25: {
      const Num w = Limit707(d);
      return ((exp(w) + exp(-w)) / 2.0).value();
    }
    case 26:
      if (d > 707.0) return 1.0;
      if (d < -707.0) return -1.0;
      return ((exp(v) - exp(-v)) / (exp(v) + exp(-v))).value();
    case 27:
      if (std::fabs(d) > 707.0) return 0.0;
      return (2.0 / (exp(v) + exp(-v))).value();
    case 28:
      if (std::fabs(d) > 707.0) return 0.0;
      return (2.0 / (exp(v) - exp(-v))).value();
    case 29:
      if (d > 707.0) return 1.0;
      if (d < -707.0) return -1.0;
      return ((exp(v) + exp(-v)) / (exp(v) - exp(-v))).value();
    case 30:
      return log(v + sqrt(v * v + 1.0)).value();
    case 31:
      return log(v + sqrt(v * v - 1.0)).value();
    case 32:
      return (log((1.0 + v) / (1.0 - v)) / 2.0).value();
    case 33:
      return log((sqrt(1.0 - v * v) + 1.0) / v).value();
    case 34:
      return log((Sign(d) * sqrt(v * v + 1.0) + 1.0) / v).value();
    case 35:
      return (log((v + 1.0) / (v - 1.0)) / 2.0).value();
    case 36:
      return (v * 180.0 / kPi).value();
    case 37:
      return (v * kPi / 180.0).value();
    case 90:
      return Floor(d);
    case 91:
      return Ceil(d);
    default:
      break;
  }
  RaiseFault(FaultKind::InvalidCall);
}
}  // namespace

double ApplyFunction1(std::int16_t code, double v) {
  if ((code >= 1 && code <= 37) || code == 90 || code == 91) return Elementary(code, Num(v));
  return SpecialFunction1(code, v);
}

double ApplyFunction2(std::int16_t code, double a, double b) {
  switch (code) {
    case 71:
      return MaxOf(a, b);
    case 72:
      return MinOf(a, b);
    case 73:
      return Magnitude(a, b);
    default:
      return SpecialFunction2(code, a, b);
  }
}

double ApplyFunction3(std::int16_t code, double a, double b, double c) { return SpecialFunction3(code, a, b, c); }

}  // namespace tessarix::detail
