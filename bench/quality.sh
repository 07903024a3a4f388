#!/usr/bin/env bash
# The quality preset against the default runs: cut, CPU seconds and peak memory of
# hypra-advanced with every part held to at most (1 + EPS) x ceil(W / k), for the default
# recursive bisection, the direct path (--kway) and --preset quality, one seed per case.
#   bench/quality.sh [bench-dir] [out-dir]   (defaults: ../shared/bench beside the repository, and
#                                             bench/ for quality.csv, quality.md, quality.png)
#   FILES="ibm01 ibm05" PARTS="2 4 8" EPS=0.03 SEED=1 bench/quality.sh
#   FROM_CSV=results.csv bench/quality.sh    redraws the table and plot from earlier results
# The plot shows, per case, the quality preset's cut and CPU time relative to the default run's.
# Every input is checked before anything is written.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
# shellcheck source=bench/common.sh
source "$root/bench/common.sh"
bench_dir="${1:-$root/../shared/bench}"
out="${2:-$root/bench}"
files="${FILES:-ibm01 ibm02 ibm03 ibm04 ibm05 ibm06 ibm07 ibm08 ibm09 ibm10}"
parts="${PARTS:-2 4 8 16 32 64}"
eps="${EPS:-0.03}"
seed="${SEED:-1}"
bench_require_inputs bench/quality.sh "$bench_dir" "$files"
[ -d "$out" ] && [ -w "$out" ] || { echo "bench/quality.sh: cannot write into $out" >&2; exit 1; }
if ! command -v gnuplot >/dev/null 2>&1 || [ ! -x /usr/bin/time ]; then
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq gnuplot-nox time >/dev/null
fi
bench_build_program
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Prints "cut imbalance cpu-seconds peak-MiB" of one run.
run() {
  /usr/bin/time -f "%M" -o "$scratch/mem" "$prog" "$bench_dir/$1.hgr" "$2" --imbalance "$eps" \
    --seed "$seed" $3 --out "$scratch/p" --json "$scratch/j" >/dev/null
  python3 -c 'import json, sys
d = json.load(open(sys.argv[1]))
kib = int(open(sys.argv[2]).read().split()[-1])
print(d["cut"], "%.4f" % d["imbalance"], "%.2f" % d["cpu_seconds"], "%.1f" % (kib / 1024))' \
    "$scratch/j" "$scratch/mem"
}

csv="$scratch/quality.csv"
if [ -n "${FROM_CSV:-}" ]; then
  cp "$FROM_CSV" "$csv"
else
  echo "file,k,default_cut,default_cpu,default_mib,kway_cut,kway_cpu,kway_mib,quality_cut,quality_imbalance,quality_cpu,quality_mib" >"$csv"
  for f in $files; do
    for k in $parts; do
      read -r dc _ dt dm < <(run "$f" "$k" "")
      read -r kc _ kt km < <(run "$f" "$k" "--kway")
      read -r qc qi qt qm < <(run "$f" "$k" "--preset quality")
      echo "$f,$k,$dc,$dt,$dm,$kc,$kt,$km,$qc,$qi,$qt,$qm" >>"$csv"
      echo "$f k=$k: default $dc (${dt} s), --kway $kc (${kt} s), quality $qc (${qt} s)" >&2
    done
  done
fi

python3 - "$csv" "$scratch/quality.md" "$scratch/points.dat" <<'PY'
import csv, math, sys
rows = list(csv.DictReader(open(sys.argv[1])))
md = open(sys.argv[2], "w")
md.write("| file | k | default cut | CPU s | MiB | --kway cut | CPU s | MiB | quality cut | imbalance | CPU s | MiB | cut / default | CPU / default | CPU / --kway |\n")
md.write("|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|\n")
pts = open(sys.argv[3], "w")
logs_cut, logs_cpu = [], []
for r in rows:
    cut_ratio = int(r["quality_cut"]) / max(1, int(r["default_cut"]))
    cpu_ratio = float(r["quality_cpu"]) / max(0.01, float(r["default_cpu"]))
    kway_ratio = float(r["quality_cpu"]) / max(0.01, float(r["kway_cpu"]))
    logs_cut.append(math.log(cut_ratio))
    logs_cpu.append(math.log(cpu_ratio))
    md.write("| %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %s | %.3f | %.2f | %.2f |\n" % (
        r["file"], r["k"], r["default_cut"], r["default_cpu"], r["default_mib"], r["kway_cut"],
        r["kway_cpu"], r["kway_mib"], r["quality_cut"], r["quality_imbalance"], r["quality_cpu"],
        r["quality_mib"], cut_ratio, cpu_ratio, kway_ratio))
    pts.write("%f %f %s\n" % (cpu_ratio, cut_ratio, r["k"]))
sum_q = sum(float(r["quality_cpu"]) for r in rows)
sum_d = sum(float(r["default_cpu"]) for r in rows)
sum_k = sum(float(r["kway_cpu"]) for r in rows)
md.write("\nGeometric means over the cases: cut / default %.3f, CPU / default %.2f. "
         "CPU summed: quality %.1f s, default %.1f s, --kway %.1f s.\n" % (
             math.exp(sum(logs_cut) / len(rows)), math.exp(sum(logs_cpu) / len(rows)), sum_q,
             sum_d, sum_k))
PY

gnuplot <<GP
set terminal pngcairo size 900,600
set output "$scratch/quality.png"
set title "--preset quality against the default run (EPS $eps, seed $seed), one point per case"
set xlabel "CPU time, quality / default"
set ylabel "cut, quality / default"
set logscale x
set grid
set key off
set arrow from graph 0, first 1 to graph 1, first 1 nohead dt 2
plot "$scratch/points.dat" using 1:2:3 with labels point pt 7 offset 0.8,0.5 font ",8"
GP
cp "$scratch/quality.csv" "$scratch/quality.md" "$scratch/quality.png" "$out/"
echo "Wrote $out/quality.csv, $out/quality.md and $out/quality.png"
