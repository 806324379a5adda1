// Heap accounting for the fit benchmarks: replacements of the global
// operators new and delete that count allocations and track the bytes held.
// Include in exactly one source file of a benchmark program.
#pragma once

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

// Counting replacements of the global operators new and delete; g++ cannot
// see that they pair malloc with free on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

namespace heap {

inline std::atomic<long long> g_allocations{0};
inline std::atomic<long long> g_bytes_now{0};
inline std::atomic<long long> g_bytes_peak{0};

inline void Account(void* p) {
  if (!p) return;
  ++g_allocations;
  const long long now = g_bytes_now += static_cast<long long>(malloc_usable_size(p));
  long long peak = g_bytes_peak.load();
  while (now > peak && !g_bytes_peak.compare_exchange_weak(peak, now)) {
  }
}

}  // namespace heap

void* operator new(std::size_t size) {
  void* p = std::malloc(size == 0 ? 1 : size);
  if (!p) throw std::bad_alloc();
  heap::Account(p);
  return p;
}
void operator delete(void* p) noexcept {
  if (p) heap::g_bytes_now -= static_cast<long long>(malloc_usable_size(p));
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept { operator delete(p); }
