#!/usr/bin/env bash
# How much hypergraph a partitioning builds: runs hypra-advanced with the coarsening trace and sums
# what it lists, so that runs on inputs of different sizes can be compared by their work per input
# pin rather than by their time alone (which also carries the cost of cache misses).
#
#   bench/levels.sh FILE NPARTS [hypra-advanced options]     (default options: 5 --seed 1)
#
# Prints one line: the coarsenings (multilevel runs plus V-cycles), the levels built, the pins of
# all those levels (vertices times average degree, as the trace gives them), that sum per input
# pin, and the CPU seconds (user + system) of the run. The partition goes to a temporary file.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
if [ $# -lt 2 ]; then
  echo "usage: bench/levels.sh FILE NPARTS [hypra-advanced options (default: 5 --seed 1)]" >&2
  exit 2
fi
file=$1
nparts=$2
shift 2
[ $# -gt 0 ] || set -- 5 --seed 1
[ -r "$file" ] || { echo "bench/levels.sh: cannot read $file" >&2; exit 1; }
[ -x /usr/bin/time ] || { echo "bench/levels.sh: needs GNU time (tools/deps.sh --bench)" >&2; exit 1; }
source "$root/bench/common.sh"
bench_build_program

tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
pins=$(bench_count_pins "$file")
/usr/bin/time -f "TIME %U %S" -o "$tmp/time" "$prog" "$file" "$nparts" "$@" --dbglvl 1 \
  --out "$tmp/part" >"$tmp/trace"
awk -v file="$file" -v nparts="$nparts" -v pins="$pins" '
  FILENAME ~ /time$/ && /^TIME/ { cpu = $2 + $3; next }
  $0 == "----------------------------------------------------------" { coarsenings++ }
  /^\[/ { gsub(/[\[\],]/, " "); levels++; levelpins += $1 * $3 }
  END {
    printf "%s k=%s: %d coarsenings, %d levels, %.0f pins in all levels = %.1f per input pin (%d pins), %.2f s CPU\n",
      file, nparts, coarsenings, levels, levelpins, levelpins / pins, pins, cpu
  }' "$tmp/trace" "$tmp/time"
