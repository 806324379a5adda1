#!/usr/bin/env bash
# Sets up a fresh Debian machine (as root) and runs every test:
#   0. Static checks: clang-format, the layout check, clang-tidy.
#   1. Release build with g++, warnings fatal, benchmarks compiled; all tests.
#   2. Debug build with clang, AddressSanitizer + UndefinedBehaviorSanitizer,
#      warnings fatal; all tests again.
#   2b. The fuzz targets, 30 s each (scripts/fuzz.sh; longer runs by hand).
#   3. Install to a temporary prefix and build and run an outside consumer
#      through find_package(tessarix).
#   4. The Python module on the Release build of stage 1 (only the module is
#      compiled), its pytest tests, and its installation into a temporary
#      site-packages.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
jobs=$(nproc 2>/dev/null || echo 2)

"$root/scripts/install-deps.sh"

work=${TESSARIX_CI_DIR:-$(mktemp -d)}
echo "== build folders under $work"

# ---- Static checks ---------------------------------------------------------
# Formatting of every tracked C++ file, the shape of the tree, and clang-tidy
# (the checks of .clang-tidy, every warning an error) over the library's
# sources with the compile database of the Release build below.
echo "== Static checks"
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  git ls-files -z '*.cpp' '*.hpp' | xargs -0 clang-format --dry-run -Werror
else
  find tessarix tests tools bench examples \( -name '*.cpp' -o -name '*.hpp' \) -print0 2>/dev/null |
    xargs -0 clang-format --dry-run -Werror
fi
bash scripts/check-layout.sh
cmake -S . -B "$work/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER=g++ -DTESSARIX_WARNINGS_AS_ERRORS=ON -DTESSARIX_BUILD_BENCHMARKS=ON \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
find tessarix -name '*.cpp' -print0 | sort -z |
  xargs -0 -n 1 -P "$jobs" clang-tidy -p "$work/release" --quiet --warnings-as-errors='*'
echo "== static checks passed"
# ---- end of the static checks ----------------------------------------------

echo "== Release build (g++)"
cmake -S . -B "$work/release" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER=g++ -DTESSARIX_WARNINGS_AS_ERRORS=ON -DTESSARIX_BUILD_BENCHMARKS=ON
cmake --build "$work/release" -j "$jobs"
(cd "$work/release" && ctest -j "$jobs" --output-on-failure)

echo "== Debug build with sanitizers (clang)"
cmake -S . -B "$work/asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER=clang++ -DTESSARIX_WARNINGS_AS_ERRORS=ON -DTESSARIX_SANITIZE=ON
cmake --build "$work/asan" -j "$jobs"
(cd "$work/asan" && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest -j "$jobs" --output-on-failure)

echo "== Fuzzing (clang, libFuzzer): every target 30 s, any finding fails"
TESSARIX_FUZZ_BUILD="$work/fuzz" bash "$root/scripts/fuzz.sh" 30

echo "== Install and outside consumer"
cmake --install "$work/release" --prefix "$work/prefix"
cmake -S tests/install -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix"
cmake --build "$work/consumer"
"$work/consumer/tessarix_consumer"
PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig" pkg-config --exists tessarix

echo "== Python module and its tests"
# The system interpreter, which the Debian packages of numpy and pytest serve.
python=/usr/bin/python3
cmake -S . -B "$work/release" -DTESSARIX_BUILD_PYTHON=ON -DPython3_EXECUTABLE="$python" \
  -DTESSARIX_PYTHON_INSTALL_DIR="$work/site-packages"
cmake --build "$work/release" -j "$jobs" --target tessarix_python
PYTHONPATH="$work/release/python" PYTHONDONTWRITEBYTECODE=1 "$python" -m pytest python/tests -q -p no:cacheprovider
cmake --install "$work/release" --component python
(cd "$work" && PYTHONPATH="$work/site-packages" "$python" -c \
  'import numpy, tessarix; r = tessarix.fit(numpy.arange(10.0), 2.0 * numpy.arange(10.0) + 1, "a*x+b"); assert r.solved')

echo "== all checks passed"
