#!/usr/bin/env bash
# Runs a fuzzing campaign against one target with libFuzzer (clang), AddressSanitizer and
# UndefinedBehaviorSanitizer:
#   tools/fuzz.sh TARGET MINUTES     TARGET: read_hgraph, read_hgraph_strict, read_mtx,
#                                    read_patoh, read_fix, advanced_cli or pipeline
#                                    MINUTES may be a fraction (0.5 = 30 s)
# The build goes into build-fuzz/. The run starts from the committed seeds in
# tests/fuzz/corpus/TARGET; inputs that add coverage are kept in build-fuzz/corpus/TARGET (copy
# the useful ones into the committed corpus with `-merge=1` by hand), and every failing input is
# written to tests/fuzz/failures/TARGET/, which the test suite replays. Ends with status 1 when
# the campaign found a failure. FUZZ_JOBS=N runs N fuzzing processes in parallel.
set -euo pipefail
cd "$(dirname "$0")/.."
target="${1:?usage: tools/fuzz.sh TARGET MINUTES}"
minutes="${2:?usage: tools/fuzz.sh TARGET MINUTES}"
case "$target" in read_hgraph|read_hgraph_strict|read_mtx|read_patoh|read_fix|advanced_cli|pipeline) ;; *)
  echo "unknown target '$target' (read_hgraph, read_hgraph_strict, read_mtx, read_patoh," \
       "read_fix, advanced_cli, pipeline)" >&2; exit 2 ;;
esac
seconds=$(awk -v m="$minutes" 'BEGIN { s = int(m * 60); print (s < 1 ? 1 : s) }')
tools/deps.sh --fuzz
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Release -DHYPRA_FUZZ=ON \
  -DHYPRA_SANITIZE=ON -DHYPRA_TESTS=OFF >/dev/null
cmake --build build-fuzz -j2 --target "${target}_fuzz" >/dev/null
work="$PWD/build-fuzz/corpus/$target"
failures="$PWD/tests/fuzz/failures/$target"
mkdir -p "$work" "$failures"
log="build-fuzz/fuzz-$target.log"
jobs="${FUZZ_JOBS:-1}"
echo "Fuzzing $target for $seconds s (log: $log)"
status=0
ASAN_OPTIONS=detect_leaks=0:allocator_may_return_null=1 UBSAN_OPTIONS=print_stacktrace=1 \
  "build-fuzz/tests/fuzz/${target}_fuzz" -max_total_time="$seconds" -timeout=20 \
  -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$failures/" \
  $([ "$jobs" -gt 1 ] && echo "-fork=$jobs") \
  "$work" "$PWD/tests/fuzz/corpus/$target" >"$log" 2>&1 || status=$?
grep -E "^stat::number_of_executed_units|^stat::average_exec_per_sec|^stat::new_units_added" "$log" || true
if [ "$status" -ne 0 ]; then
  echo "FAILURE found by $target (status $status); input saved in $failures/:"
  grep -E "ERROR|runtime error|FUZZ CHECK FAILED|Test unit written" "$log" | head -5
  exit 1
fi
echo "No failure."
