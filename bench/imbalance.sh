#!/usr/bin/env bash
# Cut, connectivity - 1 and CPU seconds of hypra-advanced with every part held to at most
# (1 + EPS) x ceil(W / k), by recursive bisection and by the direct path, as a Markdown table:
#   bench/imbalance.sh [bench-dir]         (default: ../shared/bench beside the repository)
#   FILES="ibm01 ibm05 ibm10" PARTS="4 8 16 32 64" EPS=0.03 SEED=1 bench/imbalance.sh
# Writes nothing into the repository; one seed per case.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
# shellcheck source=bench/common.sh
source "$root/bench/common.sh"
bench_dir="${1:-$root/../shared/bench}"
files="${FILES:-ibm01 ibm05 ibm10}"
parts="${PARTS:-4 8 16 32 64}"
eps="${EPS:-0.03}"
seed="${SEED:-1}"
bench_require_inputs bench/imbalance.sh "$bench_dir" "$files"
bench_build_program
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Prints "cut km1 imbalance cpu" of one run.
run() {
  "$prog" "$bench_dir/$1.hgr" "$2" --imbalance "$eps" --seed "$seed" $3 \
    --out "$scratch/p" --json "$scratch/j" >/dev/null
  python3 -c 'import json, sys
d = json.load(open(sys.argv[1]))
print(d["cut"], d["km1"], "%.4f" % d["imbalance"], "%.2f" % d["cpu_seconds"])' "$scratch/j"
}

echo "| file | k | recursive cut | km1 | imbalance | CPU s | --kway cut | km1 | imbalance | CPU s |"
echo "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|"
for f in $files; do
  for k in $parts; do
    read -r rc rk ri rt < <(run "$f" "$k" "")
    read -r kc kk ki kt < <(run "$f" "$k" "--kway")
    echo "| $f | $k | $rc | $rk | $ri | $rt | $kc | $kk | $ki | $kt |"
  done
done
