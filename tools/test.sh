#!/usr/bin/env bash
# Builds hypra and runs the whole test suite.
#   tools/test.sh                      # Release build in build/
#   tools/test.sh build-san -DHYPRA_SANITIZE=ON   # another build dir, extra CMake options
set -euo pipefail
cd "$(dirname "$0")/.."
"tools/deps.sh"
build_dir="${1:-build}"
shift || true
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$build_dir" -j"$(nproc)"
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)"
