#!/usr/bin/env bash
# Installs what the build needs (compiler, CMake, GoogleTest, and for the Python package the
# system interpreter's development files, pybind11, numpy and pytest) when it is missing.
# With --bench also the tools bench/compare.sh measures with: GNU time (/usr/bin/time) and
# valgrind (instruction counts). With --fuzz also clang, whose libFuzzer tools/fuzz.sh builds the
# fuzz targets with. The build and the tests need none of these, so they stay optional.
set -euo pipefail
bench=0
fuzz=0
case "${1:-}" in
  "") ;;
  --bench) bench=1 ;;
  --fuzz) fuzz=1 ;;
  *) echo "usage: tools/deps.sh [--bench|--fuzz]" >&2; exit 2 ;;
esac
missing=()
command -v g++ >/dev/null 2>&1 || missing+=(g++)
command -v cmake >/dev/null 2>&1 || missing+=(cmake)
[ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
command -v pkg-config >/dev/null 2>&1 || missing+=(pkg-config)
# The Python package is built for the system interpreter, where Debian installs these modules.
[ -n "$(ls /usr/include/python3*/Python.h 2>/dev/null)" ] || missing+=(python3-dev)
[ -f /usr/lib/cmake/pybind11/pybind11Config.cmake ] || missing+=(python3-pybind11)
/usr/bin/python3 -c "import numpy" >/dev/null 2>&1 || missing+=(python3-numpy)
/usr/bin/python3 -c "import pytest" >/dev/null 2>&1 || missing+=(python3-pytest)
[ -e /usr/lib/x86_64-linux-gnu/libasan.so.8 ] || [ -n "$(ls /usr/lib/gcc/*/*/libasan.so 2>/dev/null)" ] || missing+=(libasan8)
if [ "$bench" -eq 1 ]; then
  [ -x /usr/bin/time ] || missing+=(time)
  command -v valgrind >/dev/null 2>&1 || missing+=(valgrind)
fi
if [ "$fuzz" -eq 1 ]; then
  command -v clang++ >/dev/null 2>&1 || missing+=(clang)
fi
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}" >/dev/null
fi
