#!/usr/bin/env bash
# Builds hypra and runs the whole test suite, then lists every skipped test with its reason.
#   tools/test.sh                      # Release build in build/
#   tools/test.sh build-san -DHYPRA_SANITIZE=ON   # another build dir, extra CMake options
#   HYPRA_BENCH_DIR=/path/to/bench tools/test.sh  # where the benchmark hypergraphs are
set -euo pipefail
cd "$(dirname "$0")/.."
"tools/deps.sh"
build_dir="${1:-build}"
shift || true
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
bench_dir=$(sed -n 's/^HYPRA_BENCH_DIR:PATH=//p' "$build_dir/CMakeCache.txt")
if [ -d "$bench_dir" ]; then
  echo "Benchmark hypergraphs: $bench_dir"
else
  echo "Benchmark hypergraphs: $bench_dir is absent; the tests that need them will be skipped" \
       "(set HYPRA_BENCH_DIR to the folder of ibm*.hgr)"
fi
cmake --build "$build_dir" -j"$(nproc)"
status=0
ctest --test-dir "$build_dir" --output-on-failure -j"$(nproc)" || status=$?
tools/list_skips.sh "$build_dir/Testing/Temporary/LastTest.log"
exit "$status"
