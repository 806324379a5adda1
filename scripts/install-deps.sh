#!/usr/bin/env bash
# Installs what the build, the tests and the tool need on a Debian machine.
set -euo pipefail

# libcli11-dev: argument parsing of the tessarix tool; libexpat1-dev: the XML
# checks of its tests; clang-format, clang-tidy: the static checks of
# scripts/test.sh; python3-dev, pybind11 (python3-pybind11, pybind11-dev),
# numpy and pytest: the Python module and its tests.
packages=(cmake ninja-build g++ clang libgtest-dev libbenchmark-dev pkg-config locales
          libcli11-dev libexpat1-dev clang-format clang-tidy
          python3-dev python3-pybind11 pybind11-dev python3-numpy python3-pytest)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update
  $SUDO apt-get install -y --no-install-recommends "${missing[@]}"
fi

# A decimal-comma locale for the locale tests.
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  SUDO=""
  [ "$(id -u)" -ne 0 ] && SUDO=sudo
  $SUDO localedef -i de_DE -f UTF-8 de_DE.UTF-8 || echo "note: could not generate de_DE.UTF-8"
fi
