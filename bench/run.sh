#!/usr/bin/env bash
# Partitions the benchmark hypergraphs with fixed seeds and writes bench/results.{md,csv,png}.
#   bench/run.sh [bench-dir]      (default: ../shared/bench beside the repository)
#   SEEDS="1" bench/run.sh        (fewer seeds for a quick look)
# CPU seconds and peak memory are the median over seeds 1, 2 and 3; cut, SOED and the largest
# part share are those of seed 1.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bench_dir="${1:-$root/../shared/bench}"
out="$root/bench"
"$root/tools/deps.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$root/build" -j"$(nproc)" --target bench_partition >/dev/null
prog="$root/build/bench/bench_partition"

configs=("2 2" "2 10" "4 5" "8 5" "16 5" "32 5" "64 5")
csv="$out/results.csv"
echo "instance,vertices,pins,k,ubfactor,cut,soed,largest_share,cpu_seconds,peak_rss_mb" > "$csv"
for file in "$bench_dir"/ibm*.hgr; do
  name=$(basename "$file" .hgr)
  case "$name" in *.weight) continue ;; esac
  read -r _ nv < <(grep -v '^%' "$file" | head -n 1)
  pins=$(grep -v '^%' "$file" | tail -n +2 | wc -w)
  for cfg in "${configs[@]}"; do
    read -r k ub <<<"$cfg"
    runs=()
    for seed in ${SEEDS:-1 2 3}; do runs+=("$("$prog" "$file" "$k" "$ub" "$seed")"); done
    first="${runs[0]}"
    mid=$(( (${#runs[@]} + 1) / 2 ))
    cpu=$(printf '%s\n' "${runs[@]}" | cut -d, -f4 | sort -g | sed -n "${mid}p")
    rss=$(printf '%s\n' "${runs[@]}" | cut -d, -f5 | sort -g | sed -n "${mid}p")
    IFS=, read -r cut soed share _ _ <<<"$first"
    echo "$name,$nv,$pins,$k,$ub,$cut,$soed,$share,$cpu,$(awk "BEGIN{printf \"%.1f\", $rss/1024}")" >> "$csv"
    echo "$name k=$k ub=$ub cut=$cut cpu=$cpu"
  done
done

{
  echo "| instance | k | UBfactor | cut | SOED | largest part share | CPU s (median of 3) | peak RSS MB |"
  echo "|---|---:|---:|---:|---:|---:|---:|---:|"
  tail -n +2 "$csv" | while IFS=, read -r inst _ _ k ub cut soed share cpu rss; do
    echo "| $inst | $k | $ub | $cut | $soed | $share | $cpu | $rss |"
  done
} > "$out/results.md"

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
plot for [k in "2 4 16 64"] "$csv" using (\$4==k+0 && (\$4!=2 || \$5==2) ? \$3 : 1/0):9 with linespoints title "k=".k
set ylabel "cut"
plot for [k in "2 4 16 64"] "$csv" using (\$4==k+0 && (\$4!=2 || \$5==2) ? \$3 : 1/0):6 with linespoints title "k=".k
unset multiplot
GP
echo "Wrote $out/results.csv, $out/results.md and $out/results.png"
