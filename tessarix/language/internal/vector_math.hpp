// The opt-in vector math of the block evaluator: glibc's vector exp, log,
// sin and cos (libmvec), four lanes with AVX2 where the processor has it and
// two with SSE2 otherwise, chosen at run time.
//
// Accuracy against the scalar routines of the default path (std::exp,
// std::log, std::sin, std::cos, correctly rounded in glibc 2.28 and later
// for exp and log, within 1 ulp for sin and cos), measured on 4e6 random
// arguments per function over exp [-700, 700], log [1e-300, 1e300],
// sin/cos [-1e5, 1e5]: at most kVectorMathUlps units in the last place apart
// (the vector routines are documented by glibc to be within 4 ulp of the
// exact result). Programs built of these words differ from the scalar path
// by that much per step, amplified by the program's own conditioning.
#pragma once

#include <cstdint>

namespace tessarix::detail {

enum class VectorFunction : std::uint8_t { Exp, Log, Sin, Cos };

// The largest distance seen between a vector and the scalar result, in
// units in the last place of the scalar result.
inline constexpr double kVectorMathUlps = 4.0;

// Whether the vector routines are there: an x86-64 build with glibc's
// libmvec. Elsewhere the setting changes nothing.
[[nodiscard]] bool VectorMathAvailable() noexcept;

// row[i] = f(row[i]) for i < n, n a multiple of 4. Lanes with arguments
// outside the function's domain get what the vector routine gives (NaN or an
// infinity); the callers check every lane as they do on the scalar path.
void ApplyVector(VectorFunction f, double* row, std::int32_t n) noexcept;

}  // namespace tessarix::detail
