// TESSARIX_API marks what a shared build of the library exports. A shared
// build compiles with hidden visibility (and defines TESSARIX_SHARED for the
// library and its users), so only the marked classes and functions, the
// public surface, are visible to a host; a static build marks nothing.
#pragma once

#if defined(TESSARIX_SHARED) && (defined(__GNUC__) || defined(__clang__))
#define TESSARIX_API __attribute__((visibility("default")))
#else
#define TESSARIX_API
#endif
