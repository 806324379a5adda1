#!/usr/bin/env bash
# Regenerates docs/models.md, the catalogue of pre-defined models, from the
# library itself through the tool:
#   bash docs/generate-models.sh [PATH-TO-TESSARIX-PROGRAM]
# (default: build/tools/tessarix/tessarix). A test of the tool fails while the
# page and the catalogue differ.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tool=${1:-"$root/build/tools/tessarix/tessarix"}
"$tool" models --markdown >"$root/docs/models.md"
