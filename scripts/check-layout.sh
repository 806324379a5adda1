#!/usr/bin/env bash
# Checks the shape of the tree that the compiler cannot see:
#   1. no file includes another folder's internal/ header (a test folder counts
#      as the library folder it tests);
#   2. every include of the library runs down the layers, never up:
#      foundation < platform < numerics < data, language, models, queries, resultfile
#      < core < multiple, spline; the umbrella header sits on top;
#   3. the tool uses no detail:: name;
#   4. every header outside internal/ is self-contained (compiles on its own).
# Prints every violation and exits 1 if there is one.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
status=0

rank() {
  case "$1" in
    foundation) echo 0 ;; platform) echo 1 ;; numerics) echo 2 ;;
    data | language | models | queries | resultfile) echo 3 ;;
    core) echo 4 ;; multiple | spline) echo 5 ;;
    *) echo 9 ;;
  esac
}

while IFS=: read -r file _ include; do
  target=$(sed -E 's/.*"tessarix\/([^"]*)".*/\1/' <<<"$include")
  to_folder=${target%%/*}
  case "$file" in
    tessarix/*) from_folder=$(cut -d/ -f2 <<<"$file") ;;
    tests/*) from_folder=$(cut -d/ -f2 <<<"$file") ;;
    *) from_folder="" ;;
  esac
  if [[ "$target" == */internal/* && "$to_folder" != "$from_folder" ]]; then
    echo "layout: $file includes another folder's private header tessarix/$target"
    status=1
  fi
  if [[ "$file" == tessarix/*/* && "$to_folder" != "$from_folder" && "$to_folder" != version.hpp ]]; then
    if (($(rank "$to_folder") > $(rank "$from_folder"))); then
      echo "layout: $file ($from_folder) includes tessarix/$target from a higher layer ($to_folder)"
      status=1
    fi
  fi
done < <(grep -rnE '^#include "tessarix/' tessarix tests tools bench fuzz python 2>/dev/null || true)

if grep -rn "detail::" tools 2>/dev/null | grep -v '^\s*//' ; then
  echo "layout: the tool must use the public surface only"
  status=1
fi

# Self-contained public headers.
cxx=${CXX:-c++}
gen=$(mktemp -d)
trap 'rm -rf "$gen"' EXIT
mkdir -p "$gen/tessarix"
printf '#pragma once\n#define TESSARIX_VERSION_MAJOR 0\n#define TESSARIX_VERSION_MINOR 0\n#define TESSARIX_VERSION_PATCH 0\n#define TESSARIX_VERSION_STRING "0"\n' \
  >"$gen/tessarix/version.hpp"
while read -r header; do
  if ! echo "#include \"$header\"" | "$cxx" -std=c++20 -fsyntax-only -I. -I"$gen" -x c++ - 2>"$gen/err"; then
    echo "layout: $header does not compile on its own:"
    head -5 "$gen/err"
    status=1
  fi
done < <(find tessarix -name '*.hpp' -not -path '*/internal/*' | sort)

[ $status -eq 0 ] && echo "layout: ok"
exit $status
