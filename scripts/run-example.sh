#!/usr/bin/env bash
# The main job: on a fresh Debian machine (as root, or with sudo) install what
# the build needs, build the `tessarix` command-line tool, and fit the bundled
# NIST Misra1a example with its model. The report goes to standard output and
# the plot of data, fitted curve and residuals to fit.svg in the folder the
# script was started from.
#
#   bash scripts/run-example.sh
#
# Set TESSARIX_BUILD_DIR to choose the build folder (default: build-example).
set -euo pipefail

start=$PWD
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
build=${TESSARIX_BUILD_DIR:-$root/build-example}

echo "== installing build dependencies" >&2
"$root/scripts/install-deps.sh" >&2

echo "== building the tessarix tool in $build" >&2
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESSARIX_BUILD_TESTS=OFF >&2
cmake --build "$build" --target tessarix_tool -j "$(nproc 2>/dev/null || echo 2)" >&2

plot="$start/fit.svg"
[ "$start" = "$root" ] && plot=fit.svg
echo "== tessarix fit examples/data/misra1a.csv" >&2
echo >&2
"$build/tools/tessarix/tessarix" fit examples/data/misra1a.csv \
  --model "b1*(1-exp(-b2*x))" --estimate b1=500 --estimate b2=0.0001 \
  --plot "$plot"
