#include "tessarix/language/internal/vector_math.hpp"

#include <cmath>

#if defined(TESSARIX_HAVE_MVEC) && defined(__x86_64__)
#include <immintrin.h>
#define TESSARIX_VECTOR_MATH 1
#else
#define TESSARIX_VECTOR_MATH 0
#endif

namespace tessarix::detail {

#if TESSARIX_VECTOR_MATH

// glibc's vector ABI names (libmvec). NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
__m128d _ZGVbN2v_exp(__m128d);
__m128d _ZGVbN2v_log(__m128d);
__m128d _ZGVbN2v_sin(__m128d);
__m128d _ZGVbN2v_cos(__m128d);
__attribute__((target("avx2"))) __m256d _ZGVdN4v_exp(__m256d);
__attribute__((target("avx2"))) __m256d _ZGVdN4v_log(__m256d);
__attribute__((target("avx2"))) __m256d _ZGVdN4v_sin(__m256d);
__attribute__((target("avx2"))) __m256d _ZGVdN4v_cos(__m256d);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

template <__m256d (*F)(__m256d)>
__attribute__((target("avx2"))) void Wide(double* row, std::int32_t n) {
  for (std::int32_t i = 0; i < n; i += 4) _mm256_storeu_pd(row + i, F(_mm256_loadu_pd(row + i)));
}
template <__m128d (*F)(__m128d)>
void Narrow(double* row, std::int32_t n) {
  for (std::int32_t i = 0; i < n; i += 2) _mm_storeu_pd(row + i, F(_mm_loadu_pd(row + i)));
}

bool HasAvx2() {
  static const bool has = __builtin_cpu_supports("avx2") != 0;
  return has;
}

}  // namespace

bool VectorMathAvailable() noexcept { return true; }

void ApplyVector(VectorFunction f, double* row, std::int32_t n) noexcept {
  if (HasAvx2()) {
    switch (f) {
      case VectorFunction::Exp:
        return Wide<_ZGVdN4v_exp>(row, n);
      case VectorFunction::Log:
        return Wide<_ZGVdN4v_log>(row, n);
      case VectorFunction::Sin:
        return Wide<_ZGVdN4v_sin>(row, n);
      case VectorFunction::Cos:
        return Wide<_ZGVdN4v_cos>(row, n);
    }
    return;
  }
  switch (f) {
    case VectorFunction::Exp:
      return Narrow<_ZGVbN2v_exp>(row, n);
    case VectorFunction::Log:
      return Narrow<_ZGVbN2v_log>(row, n);
    case VectorFunction::Sin:
      return Narrow<_ZGVbN2v_sin>(row, n);
    case VectorFunction::Cos:
      return Narrow<_ZGVbN2v_cos>(row, n);
  }
}

#else

bool VectorMathAvailable() noexcept { return false; }

// Without the vector routines the scalar ones, lane by lane.
void ApplyVector(VectorFunction f, double* row, std::int32_t n) noexcept {
  for (std::int32_t i = 0; i < n; ++i) {
    const double v = row[i];
    row[i] = f == VectorFunction::Exp   ? std::exp(v)
             : f == VectorFunction::Log ? std::log(v)
             : f == VectorFunction::Sin ? std::sin(v)
                                        : std::cos(v);
  }
}

#endif

}  // namespace tessarix::detail
