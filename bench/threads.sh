#!/usr/bin/env bash
# Wall-clock time of the parallel mode on two threads against one, as a Markdown table (GNU
# time measures it: tools/deps.sh --bench installs it):
#   bench/threads.sh [bench-dir]         (default: ../shared/bench beside the repository)
#   FILES="ibm05 ibm10" SEEDS="1 2 3 4 5" REPS=3 THREADS=2 bench/threads.sh
# For every file and case (k = 2, k = 64 and --kway k = 64, UBfactor 5) and every seed, the two
# thread counts run alternately REPS times each; a seed's ratio is that of the two medians and a
# cell is the median of the seeds' ratios. The time depends on the seed (which run is best
# decides how much of the final V-cycle overlaps the runs), hence several. Run it on a machine
# that does nothing else: on a busy one the threads wait for each other. Writes nothing into the
# repository.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
# shellcheck source=bench/common.sh
source "$root/bench/common.sh"
bench_dir="${1:-$root/../shared/bench}"
files="${FILES:-ibm05 ibm06 ibm07 ibm08 ibm09 ibm10}"
seeds="${SEEDS:-1 2 3 4 5}"
reps="${REPS:-3}"
threads="${THREADS:-2}"
bench_require_inputs bench/threads.sh "$bench_dir" "$files"
bench_build_program
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Prints the elapsed seconds of one run of the whole program (reading and writing included).
wall() {
  /usr/bin/time -f "%e" -o "$scratch/t" "$prog" "$bench_dir/$1.hgr" "$2" 5 --seed "$3" $4 \
    --threads "$5" --out /dev/null >/dev/null
  cat "$scratch/t"
}

# Prints the median over the seeds of the ratio of the median times.
cell() {
  local f=$1 k=$2 extra=$3 s i
  for s in $seeds; do
    : >"$scratch/one" && : >"$scratch/many"
    for ((i = 0; i < reps; i++)); do
      wall "$f" "$k" "$s" "$extra" 1 >>"$scratch/one"
      wall "$f" "$k" "$s" "$extra" "$threads" >>"$scratch/many"
    done
    python3 -c 'import statistics as st, sys
one = [float(x) for x in open(sys.argv[1])]; many = [float(x) for x in open(sys.argv[2])]
print(st.median(many) / st.median(one))' "$scratch/one" "$scratch/many"
  done | python3 -c 'import statistics as st, sys; print("%.3f" % st.median(float(x) for x in sys.stdin))'
}

echo "| $threads threads / 1 | k = 2 | k = 64 | --kway k = 64 |"
echo "|---|---:|---:|---:|"
for f in $files; do
  echo "| $f | $(cell "$f" 2 "") | $(cell "$f" 64 "") | $(cell "$f" 64 --kway) |"
done
