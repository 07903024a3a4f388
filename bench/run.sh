#!/usr/bin/env bash
# Partitions the benchmark hypergraphs with fixed seeds and writes bench/results.{md,csv,png}.
# Each instance is partitioned by recursive bisection (method rb) and by the direct k-way path
# (method kway, k = 4 to 64).
#   bench/run.sh [bench-dir]      (default: ../shared/bench beside the repository)
#   SEEDS="1" bench/run.sh        (fewer seeds for a quick look)
# CPU seconds and peak memory are the median over seeds 1, 2 and 3; cut, SOED and the largest
# part share are those of seed 1.
set -euo pipefail
seeds="${SEEDS:-1 2 3}"
nseeds=$(wc -w <<<"$seeds")
root="$(cd "$(dirname "$0")/.." && pwd)"
bench_dir="${1:-$root/../shared/bench}"
source "$root/bench/common.sh"
out="$root/bench"
# Check the inputs before anything committed is touched.
[ -d "$bench_dir" ] || { echo "bench/run.sh: no benchmark folder $bench_dir" >&2; exit 1; }
inputs=()
for file in "$bench_dir"/ibm*.hgr; do
  [ -f "$file" ] || continue
  case "$(basename "$file" .hgr)" in *.weight) continue ;; esac
  [ -r "$file" ] || { echo "bench/run.sh: cannot read $file" >&2; exit 1; }
  inputs+=("$file")
done
[ ${#inputs[@]} -gt 0 ] || { echo "bench/run.sh: no ibm*.hgr in $bench_dir" >&2; exit 1; }
"$root/tools/deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target bench_partition >/dev/null
prog="$root/build/bench/bench_partition"

configs=("rb 2 2" "rb 2 10" "rb 4 5" "rb 8 5" "rb 16 5" "rb 32 5" "rb 64 5"
         "kway 4 5" "kway 8 5" "kway 16 5" "kway 32 5" "kway 64 5")
# Results are collected in scratch files and replace the committed ones only when complete.
csv="$out/results.csv"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
csv_new="$scratch/results.csv"
echo "instance,vertices,pins,method,k,ubfactor,cut,soed,largest_share,cpu_seconds,peak_rss_mb" > "$csv_new"
for file in "${inputs[@]}"; do
  name=$(basename "$file" .hgr)
  read -r _ nv < <(grep -v '^%' "$file" | head -n 1)
  pins=$(bench_count_pins "$file")
  for cfg in "${configs[@]}"; do
    read -r method k ub <<<"$cfg"
    extra=()
    [ "$method" = kway ] && extra=(kway)
    runs=()
    for seed in $seeds; do runs+=("$("$prog" "$file" "$k" "$ub" "$seed" "${extra[@]}")"); done
    first="${runs[0]}"
    mid=$(( (${#runs[@]} + 1) / 2 ))
    cpu=$(printf '%s\n' "${runs[@]}" | cut -d, -f4 | sort -g | sed -n "${mid}p")
    rss=$(printf '%s\n' "${runs[@]}" | cut -d, -f5 | sort -g | sed -n "${mid}p")
    IFS=, read -r cut soed share _ _ <<<"$first"
    echo "$name,$nv,$pins,$method,$k,$ub,$cut,$soed,$share,$cpu,$(awk "BEGIN{printf \"%.1f\", $rss/1024}")" >> "$csv_new"
    echo "$name $method k=$k ub=$ub cut=$cut cpu=$cpu"
  done
done

{
  echo "| instance | method | k | UBfactor | cut | SOED | largest part share | CPU s (median of $nseeds seeds) | peak RSS MB |"
  echo "|---|---|---:|---:|---:|---:|---:|---:|---:|"
  tail -n +2 "$csv_new" | while IFS=, read -r inst _ _ method k ub cut soed share cpu rss; do
    echo "| $inst | $method | $k | $ub | $cut | $soed | $share | $cpu | $rss |"
  done
} > "$scratch/results.md"
mv "$csv_new" "$csv"
mv "$scratch/results.md" "$out/results.md"

if ! command -v gnuplot >/dev/null 2>&1; then
  sudo_cmd=""; [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq && DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq gnuplot-nox >/dev/null
fi
gnuplot <<GP
set terminal pngcairo size 1100,500
set output "$out/results.png"
set datafile separator ","
set multiplot layout 1,2
set xlabel "pins"
set ylabel "CPU seconds"
set key left top
plot for [k in "2 4 16 64"] "$csv" using (strcol(4) eq "rb" && \$5==k+0 && (\$5!=2 || \$6==2) ? \$3 : 1/0):10 with linespoints title "k=".k
set ylabel "cut"
plot for [k in "2 4 16 64"] "$csv" using (strcol(4) eq "rb" && \$5==k+0 && (\$5!=2 || \$6==2) ? \$3 : 1/0):7 with linespoints title "k=".k
unset multiplot
GP
echo "Wrote $out/results.csv, $out/results.md and $out/results.png"
