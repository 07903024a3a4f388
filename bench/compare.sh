#!/usr/bin/env bash
# Compares two builds of hypra run by run on the benchmark hypergraphs: CPU time, system time,
# peak memory and (under valgrind) instruction counts, and whether both builds wrote the same
# partition. `bench/compare.sh --help` explains the options.
set -euo pipefail
# A glob that matches nothing must expand to nothing: the partition file is found by globbing.
shopt -s nullglob

usage() {
  cat <<'EOF'
Usage: bench/compare.sh [options] OLD_REF NEW_REF
       bench/compare.sh [options] --old-build DIR --new-build DIR
       (or one of each: bench/compare.sh [options] --old-build DIR NEW_REF)

Sides:
  OLD_REF NEW_REF     commits or refs of this repository. Each is checked out with
                      `git worktree add` in a temporary folder, built in Release and removed at
                      the end. HEAD is the last commit: uncommitted edits are not measured.
  --old-build DIR     existing build folders (with hypra, hypra-advanced and, when the tests were
  --new-build DIR     built, tests/driver/hypra_pinned_clock)

Runs:
  --bench-dir DIR     folder of the benchmark hypergraphs (default: ../shared/bench beside the
                      repository)
  --instances "A B"   instances, read from DIR/NAME.hgr (default: ibm01 to ibm10)
  --runs-file FILE    run list, one run a line: `program args...`, program hypra or
                      hypra-advanced; the hypergraph file is inserted as the first argument;
                      `#` starts a comment
  --run "PROG ARGS"   one more run (repeatable; added after those of --runs-file)
  --reps N            timed repetitions of every run on each side (default 5)
  --instructions      count the instructions of one run per side under callgrind (the default
                      when valgrind is installed)
  --no-instructions   do not
  --csv FILE          also write the results to FILE as CSV
  --jobs N            build parallelism when building commits (default: number of cores)
  --keep-tmp          keep the temporary folder (checkouts, builds, inputs, logs)
  -h, --help          this text

Default run list (on every instance):
  hypra 2 2
  hypra 2 10
  hypra 64 5
  hypra-advanced 64 5 --kway --seed 1

Repetitions alternate old, new, old, new, ... on copies of the same input. `hypra` runs as its
pinned-clock copy (time() returns $HYPRA_PINNED_CLOCK, default 1) so both sides compute the
same partition; when a side has no such copy both sides run `hypra` with the clock pinned by a
preloaded library instead. The table goes to standard output, progress to standard error.

Exit status: 0 when both sides wrote the same partition on every run, 3 when they did not (the
table and the messages say where), 2 for a bad command line, 1 for any other failure.
EOF
}

die() {
  echo "compare.sh: error: $*" >&2
  exit 1
}
bad_usage() {
  echo "compare.sh: $*" >&2
  echo "Try 'bench/compare.sh --help'." >&2
  exit 2
}
note() { echo "compare.sh: $*" >&2; }

# Paths given on the command line are relative to where the script was started.
absolute() {
  case "$1" in
    /*) printf '%s\n' "$1" ;;
    *) printf '%s\n' "$PWD/$1" ;;
  esac
}

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bench_dir="$root/../shared/bench"
instances="ibm01 ibm02 ibm03 ibm04 ibm05 ibm06 ibm07 ibm08 ibm09 ibm10"
reps=5
instructions=auto
csv=""
runs_file=""
extra_runs=()
old_build=""
new_build=""
refs=()
jobs="$(nproc)"
keep_tmp=0

need_value() {
  if [ $# -lt 2 ] || [ -z "$2" ]; then bad_usage "option $1 needs a value"; fi
}
while [ $# -gt 0 ]; do
  case "$1" in
    --old-build) need_value "$@"; old_build="$2"; shift 2 ;;
    --new-build) need_value "$@"; new_build="$2"; shift 2 ;;
    --bench-dir) need_value "$@"; bench_dir="$2"; shift 2 ;;
    --instances) need_value "$@"; instances="$2"; shift 2 ;;
    --runs-file) need_value "$@"; runs_file="$2"; shift 2 ;;
    --run) need_value "$@"; extra_runs+=("$2"); shift 2 ;;
    --reps) need_value "$@"; reps="$2"; shift 2 ;;
    --csv) need_value "$@"; csv="$2"; shift 2 ;;
    --jobs) need_value "$@"; jobs="$2"; shift 2 ;;
    --instructions) instructions=on; shift ;;
    --no-instructions) instructions=off; shift ;;
    --keep-tmp) keep_tmp=1; shift ;;
    -h | --help) usage; exit 0 ;;
    --) shift; refs+=("$@"); break ;;
    -*) bad_usage "unknown option: $1" ;;
    *) refs+=("$1"); shift ;;
  esac
done

[[ "$reps" =~ ^[1-9][0-9]*$ ]] || bad_usage "--reps needs a positive whole number, not '$reps'"
[[ "$jobs" =~ ^[1-9][0-9]*$ ]] || bad_usage "--jobs needs a positive whole number, not '$jobs'"

# Each side is a build folder or a commit; the commits fill, in order, the sides not given as
# folders.
declare -A side_ref=() side_dir=() side_desc=()
wanted_refs=0
[ -n "$old_build" ] || wanted_refs=$((wanted_refs + 1))
[ -n "$new_build" ] || wanted_refs=$((wanted_refs + 1))
if [ "${#refs[@]}" -ne "$wanted_refs" ]; then
  bad_usage "name two sides: two commits, two build folders (--old-build DIR --new-build DIR), or one of each"
fi
next_ref=0
for side in old new; do
  if [ "$side" = old ]; then dir="$old_build"; else dir="$new_build"; fi
  if [ -n "$dir" ]; then
    [ -d "$dir" ] || die "$side build folder not found: $dir"
    side_dir[$side]="$(cd "$dir" && pwd)"
    side_desc[$side]="build folder ${side_dir[$side]}"
    # A Debug or sanitizer build is no measure of speed: say so in the report.
    build_type=$(sed -n 's/^CMAKE_BUILD_TYPE:[A-Z]*=//p' "${side_dir[$side]}/CMakeCache.txt" 2>/dev/null || true)
    if [ -n "$build_type" ] && [ "$build_type" != Release ]; then
      side_desc[$side]+=" (build type $build_type, not Release)"
      note "warning: the $side build folder is a $build_type build"
    fi
  else
    side_ref[$side]="${refs[$next_ref]}"
    next_ref=$((next_ref + 1))
  fi
done

# The CSV is the only file written outside the temporary folder; fail now rather than after the
# whole benchmark if it cannot be written.
if [ -n "$csv" ]; then
  csv="$(absolute "$csv")"
  [ -d "$(dirname "$csv")" ] || die "folder of the CSV file not found: $(dirname "$csv")"
  : >"$csv" || die "cannot write the CSV file $csv"
fi

[ -d "$bench_dir" ] || die "bench folder not found: $bench_dir (name it with --bench-dir)"
bench_dir="$(cd "$bench_dir" && pwd)"
instance_list=()
for inst in $instances; do
  inst="${inst%.hgr}"
  [ -r "$bench_dir/$inst.hgr" ] || die "instance $inst: $bench_dir/$inst.hgr not found or not readable"
  instance_list+=("$inst")
done
[ "${#instance_list[@]}" -gt 0 ] || bad_usage "--instances names no instance"

# The run list: every entry is "program arg...", validated here so that a typo fails before any
# build.
runs=()
add_run() {
  local line="${1%%#*}" words=() w
  read -r -a words <<<"$line" || true
  [ "${#words[@]}" -gt 0 ] || return 0
  case "${words[0]}" in
    hypra | hypra-advanced) ;;
    *) die "run '$line': the program must be hypra or hypra-advanced" ;;
  esac
  [ "${#words[@]}" -ge 2 ] || die "run '$line': give the arguments that follow the hypergraph file (e.g. 'hypra 2 5')"
  for w in "${words[@]}"; do
    # The partition is compared where the program writes it by default, next to the input.
    [ "$w" != --out ] || die "run '$line': --out is not supported here"
  done
  runs+=("${words[*]}")
}
if [ -n "$runs_file" ]; then
  [ -r "$runs_file" ] || die "runs file not found or not readable: $runs_file"
  while IFS= read -r line || [ -n "$line" ]; do add_run "$line"; done <"$runs_file"
fi
for line in "${extra_runs[@]}"; do add_run "$line"; done
if [ -z "$runs_file" ] && [ "${#extra_runs[@]}" -eq 0 ]; then
  for line in "hypra 2 2" "hypra 2 10" "hypra 64 5" "hypra-advanced 64 5 --kway --seed 1"; do
    add_run "$line"
  done
fi
[ "${#runs[@]}" -gt 0 ] || die "the run list is empty"
needs_hypra=0
needs_advanced=0
for run in "${runs[@]}"; do
  case "$run" in
    "hypra "*) needs_hypra=1 ;;
    "hypra-advanced "*) needs_advanced=1 ;;
  esac
done

# GNU time and valgrind (and, for commits, the compiler and CMake) are installed when missing.
"$root/tools/deps.sh" --bench >&2
if [ ! -x /usr/bin/time ] || ! /usr/bin/time --version 2>&1 | grep -q GNU; then
  die "GNU time (/usr/bin/time) is needed: apt-get install time"
fi
case "$instructions" in
  auto) if command -v valgrind >/dev/null 2>&1; then instructions=on; else instructions=off; fi ;;
  on) command -v valgrind >/dev/null 2>&1 || die "--instructions needs valgrind: apt-get install valgrind" ;;
esac

tmp="$(mktemp -d "${TMPDIR:-/tmp}/hypra-compare.XXXXXX")"
worktrees=()
cleanup() {
  local wt
  for wt in "${worktrees[@]}"; do
    # The checkouts are registered in the repository's .git; unregister them as well.
    git -C "$root" worktree remove --force "$wt" >/dev/null 2>&1 ||
      { rm -rf "$wt"; git -C "$root" worktree prune >/dev/null 2>&1 || true; }
  done
  if [ "$keep_tmp" -eq 1 ]; then
    note "temporary folder kept: $tmp"
  else
    rm -rf "$tmp"
  fi
}
trap cleanup EXIT
trap 'exit 130' INT TERM

# True when the checkout at $1 defines the executable target $2.
has_target() {
  grep -rqsE --include=CMakeLists.txt --include='*.cmake' "add_executable\\($2[[:space:]]" "$1"
}

declare -A built_hash=()
build_commit() {
  local side="$1" ref="$2" hash short subject src bld log targets=()
  hash=$(git -C "$root" rev-parse --verify --quiet "$ref^{commit}") ||
    die "not a commit of this repository: $ref"
  short=$(git -C "$root" rev-parse --short "$hash")
  subject=$(git -C "$root" log -1 --format=%s "$hash")
  [ "${#subject}" -le 70 ] || subject="${subject:0:69}…"
  side_desc[$side]="commit $short"
  if [ "$ref" != "$short" ] && [ "$ref" != "$hash" ]; then side_desc[$side]+=" ($ref)"; fi
  side_desc[$side]+=": $subject"
  # The same commit on both sides (a noise check) needs one build only.
  if [ -n "${built_hash[$hash]:-}" ]; then
    side_dir[$side]="${built_hash[$hash]}"
    return
  fi
  src="$tmp/src-$side"
  bld="$tmp/build-$side"
  log="$tmp/build-$side.log"
  note "checking out $ref ($short) for the $side side"
  git -C "$root" worktree add --detach "$src" "$hash" >"$log" 2>&1 ||
    { cat "$log" >&2; die "git worktree add failed for $ref"; }
  worktrees+=("$src")
  if [ "$needs_hypra" -eq 1 ]; then
    has_target "$src" hypra_cli || die "commit $ref has no hypra program"
    targets+=(hypra_cli)
    if has_target "$src" hypra_pinned_clock; then targets+=(hypra_pinned_clock); fi
  fi
  if [ "$needs_advanced" -eq 1 ]; then
    has_target "$src" hypra_advanced || die "commit $ref has no hypra-advanced program; leave its runs out"
    targets+=(hypra_advanced)
  fi
  note "building $ref in Release (log: $log)"
  # Only the programs are built: the test suites would take most of the time on two cores.
  { cmake -S "$src" -B "$bld" -DCMAKE_BUILD_TYPE=Release &&
    cmake --build "$bld" -j"$jobs" --target "${targets[@]}"; } >>"$log" 2>&1 ||
    { tail -n 30 "$log" >&2; die "the build of $ref failed (end of its log above)"; }
  side_dir[$side]="$bld"
  built_hash[$hash]="$bld"
}
for side in old new; do
  if [ -n "${side_ref[$side]:-}" ]; then build_commit "$side" "${side_ref[$side]}"; fi
done

# hypra seeds from the clock. Both sides run its pinned-clock copy when both have one;
# otherwise both run the program itself with time() replaced through LD_PRELOAD, so that the
# two sides are measured the same way either way.
pinned=0
if [ "$needs_hypra" -eq 1 ]; then
  pinned=1
  for side in old new; do
    [ -x "${side_dir[$side]}/tests/driver/hypra_pinned_clock" ] || pinned=0
  done
fi
binary() {
  case "$2" in
    hypra)
      if [ "$pinned" -eq 1 ]; then
        printf '%s\n' "${side_dir[$1]}/tests/driver/hypra_pinned_clock"
      else
        printf '%s\n' "${side_dir[$1]}/hypra"
      fi ;;
    hypra-advanced) printf '%s\n' "${side_dir[$1]}/hypra-advanced" ;;
  esac
}
for side in old new; do
  for prog in hypra hypra-advanced; do
    if [ "$prog" = hypra ] && [ "$needs_hypra" -eq 0 ]; then continue; fi
    if [ "$prog" = hypra-advanced ] && [ "$needs_advanced" -eq 0 ]; then continue; fi
    bin="$(binary "$side" "$prog")"
    [ -x "$bin" ] || die "$side side: program not found: $bin"
  done
done

export HYPRA_PINNED_CLOCK="${HYPRA_PINNED_CLOCK:-1}"
# hypra-advanced without --seed reads the clock too, so it needs the same preloaded clock.
needs_shim=0
if [ "$needs_hypra" -eq 1 ] && [ "$pinned" -eq 0 ]; then needs_shim=1; fi
for run in "${runs[@]}"; do
  case "$run " in
    "hypra-advanced "*" --seed "*) ;;
    "hypra-advanced "*) needs_shim=1 ;;
  esac
done
shim="$tmp/pinned_clock.so"
if [ "$needs_shim" -eq 1 ]; then
  cat >"$tmp/pinned_clock.c" <<'EOF'
/* Every call of time() returns HYPRA_PINNED_CLOCK, so that clock-seeded runs repeat. */
#include <stdlib.h>
#include <time.h>

time_t time(time_t *out) {
  const char *text = getenv("HYPRA_PINNED_CLOCK");
  const time_t value = text != NULL ? (time_t)strtoll(text, NULL, 10) : (time_t)1;
  if (out != NULL) *out = value;
  return value;
}
EOF
  compiler=cc
  command -v cc >/dev/null 2>&1 || compiler=gcc
  "$compiler" -O2 -shared -fPIC -o "$shim" "$tmp/pinned_clock.c" ||
    die "cannot compile the clock-pinning library"
fi

# Other work on the machine makes the times noisy; the report shows how busy it was.
load_start="$(cut -d ' ' -f 1 /proc/loadavg 2>/dev/null || echo n/a)"

# Each side reads its own copy of the inputs, since the partition is written next to the input.
for side in old new; do
  mkdir -p "$tmp/run-$side"
  for inst in "${instance_list[@]}"; do cp "$bench_dir/$inst.hgr" "$tmp/run-$side/"; done
done

# Runs $prog "$graph" "${args[@]}" of side $1 (under valgrind when $2 is "callgrind") and moves
# the partition it wrote to $tmp/part-$1, its file name to part_name[$1].
declare -A part_name=() first_name=()
run_env=()
run_side() {
  local side="$1" mode="$2" graph="$tmp/run-$1/$inst.hgr" bin parts status=0 cmd=()
  bin="$(binary "$side" "$prog")"
  rm -f -- "$graph".part.*
  if [ "$mode" = callgrind ]; then
    cmd=(valgrind --tool=callgrind --callgrind-out-file="$tmp/callgrind.out")
  else
    cmd=(/usr/bin/time -f '%U %S %M' -o "$tmp/time-$side")
  fi
  env "${run_env[@]}" "${cmd[@]}" "$bin" "$graph" "${args[@]}" >"$tmp/log-$side" 2>"$tmp/err-$side" || status=$?
  if [ "$status" -ne 0 ]; then
    tail -n 20 "$tmp/log-$side" "$tmp/err-$side" >&2
    die "$side side: '$prog $inst.hgr ${args[*]}' exited with status $status (output above)"
  fi
  parts=("$graph".part.*)
  [ "${#parts[@]}" -eq 1 ] ||
    die "$side side: '$prog $inst.hgr ${args[*]}' wrote ${#parts[@]} partition files instead of one"
  part_name[$side]="${parts[0]##*/}"
  mv -- "${parts[0]}" "$tmp/part-$side"
}

median() {
  printf '%s\n' "$@" | sort -g |
    awk '{ v[NR] = $1 } END { printf "%.10g\n", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}
# new/old with $3 decimals; n/a when old is zero (too short to measure).
ratio() {
  awk -v n="$1" -v o="$2" -v d="${3:-3}" 'BEGIN { if (o + 0 == 0) print "n/a"; else printf "%.*f\n", d, n / o }'
}
fixed() { awk -v x="$1" -v d="$2" 'BEGIN { printf "%.*f\n", d, x }'; }
share() { awk -v s="$1" -v c="$2" 'BEGIN { if (c + 0 == 0) print "n/a"; else printf "%.1f\n", 100 * s / c }'; }
megabytes() { awk -v k="$1" 'BEGIN { printf "%.1f\n", k / 1024 }'; }
millions() { awk -v n="$1" 'BEGIN { printf "%.1fM\n", n / 1e6 }'; }
geomean() {
  printf '%s\n' "$@" | awk '$1 != "n/a" && $1 > 0 { s += log($1); n++ } END { if (n) printf "%.3f\n", exp(s / n); else print "n/a" }'
}
# Number of vertices whose part differs between two partition files.
vertices_differing() { paste -d ' ' "$1" "$2" | awk '$1 != $2' | wc -l; }

mismatch_dir=""
rows_md=()
rows_csv=()
cpu_ratios=()
mem_ratios=()
instr_ratios=()
mismatched_rows=0
nondeterministic=()
total=$((${#runs[@]} * ${#instance_list[@]}))
done_count=0

for run in "${runs[@]}"; do
  read -r -a words <<<"$run"
  prog="${words[0]}"
  args=("${words[@]:1}")
  run_env=()
  if [ "$needs_shim" -eq 1 ]; then
    if { [ "$prog" = hypra ] && [ "$pinned" -eq 0 ]; } ||
       { [ "$prog" = hypra-advanced ] && [[ " ${args[*]} " != *" --seed "* ]]; }; then
      run_env=(LD_PRELOAD="$shim")
    fi
  fi
  for inst in "${instance_list[@]}"; do
    done_count=$((done_count + 1))
    declare -A cpus=() syss=() rsss=()
    cpus=([old]="" [new]="")
    syss=([old]="" [new]="")
    rsss=([old]="" [new]="")
    differing_reps=0
    for ((rep = 1; rep <= reps; rep++)); do
      for side in old new; do
        run_side "$side" timed
        read -r user sys rss < <(tail -n 1 "$tmp/time-$side")
        cpu="$(awk -v u="$user" -v s="$sys" 'BEGIN { printf "%.2f", u + s }')"
        note "[$done_count/$total] $prog $inst.hgr ${args[*]}: $side, repetition $rep of $reps:" \
          "CPU ${cpu}s (sys ${sys}s), peak $(megabytes "$rss") MB"
        cpus[$side]+=" $cpu"
        syss[$side]+=" $sys"
        rsss[$side]+=" $rss"
        # A side whose own repetitions disagree is not deterministic: report it, since then a
        # difference between the sides proves nothing.
        if [ "$rep" -eq 1 ]; then
          cp "$tmp/part-$side" "$tmp/first-$side"
          first_name[$side]="${part_name[$side]}"
        elif [ "${first_name[$side]}" != "${part_name[$side]}" ] ||
             ! cmp -s "$tmp/first-$side" "$tmp/part-$side"; then
          nondeterministic+=("$side side: '$prog $inst.hgr ${args[*]}' repetition $rep")
        fi
      done
      if [ "${part_name[old]}" != "${part_name[new]}" ] || ! cmp -s "$tmp/part-old" "$tmp/part-new"; then
        differing_reps=$((differing_reps + 1))
        if [ -z "$mismatch_dir" ]; then
          mismatch_dir="$(mktemp -d "${TMPDIR:-/tmp}/hypra-compare-mismatch.XXXXXX")"
        fi
        stem="$mismatch_dir/$inst.$prog.$(tr ' ' '_' <<<"${args[*]}").rep$rep"
        cp "$tmp/part-old" "$stem.old.${part_name[old]}"
        cp "$tmp/part-new" "$stem.new.${part_name[new]}"
        {
          echo "!!! PARTITION MISMATCH !!! '$prog $inst.hgr ${args[*]}', repetition $rep:"
          echo "!!!   old wrote ${part_name[old]}, new wrote ${part_name[new]};" \
            "$(vertices_differing "$tmp/part-old" "$tmp/part-new") vertices in a different part"
          echo "!!!   both files kept in $mismatch_dir"
        } >&2
      fi
    done
    read -r -a c_old <<<"${cpus[old]}"
    read -r -a c_new <<<"${cpus[new]}"
    read -r -a s_old <<<"${syss[old]}"
    read -r -a s_new <<<"${syss[new]}"
    read -r -a r_old <<<"${rsss[old]}"
    read -r -a r_new <<<"${rsss[new]}"
    cpu_o=$(median "${c_old[@]}")
    cpu_n=$(median "${c_new[@]}")
    sys_o=$(median "${s_old[@]}")
    sys_n=$(median "${s_new[@]}")
    rss_o=$(median "${r_old[@]}")
    rss_n=$(median "${r_new[@]}")
    cpu_r=$(ratio "$cpu_n" "$cpu_o")
    mem_r=$(ratio "$rss_n" "$rss_o")
    share_o=$(share "$sys_o" "$cpu_o")
    share_n=$(share "$sys_n" "$cpu_n")
    cpu_ratios+=("$cpu_r")
    mem_ratios+=("$mem_r")

    ins_o=""
    ins_n=""
    ins_r=""
    if [ "$instructions" = on ]; then
      for side in old new; do
        note "[$done_count/$total] $prog $inst.hgr ${args[*]}: $side, counting instructions under callgrind"
        run_side "$side" callgrind
        count=$(sed -n 's/^==[0-9]*== Collected : \([0-9][0-9]*\)$/\1/p' "$tmp/err-$side" | tail -n 1)
        [ -n "$count" ] || die "$side side: no 'Collected :' line in callgrind's output ($tmp/err-$side)"
        if [ "$side" = old ]; then ins_o="$count"; else ins_n="$count"; fi
      done
      rm -f "$tmp/callgrind.out"
      ins_r=$(ratio "$ins_n" "$ins_o" 4)
      instr_ratios+=("$ins_r")
    fi

    if [ "$differing_reps" -eq 0 ]; then
      same=yes
    else
      same="**NO** ($differing_reps of $reps)"
      mismatched_rows=$((mismatched_rows + 1))
    fi
    row="| \`$prog ${args[*]}\` | $inst | $(fixed "$cpu_o" 3) | $(fixed "$cpu_n" 3) | $cpu_r"
    row+=" | $(fixed "$sys_o" 3) ($share_o%) | $(fixed "$sys_n" 3) ($share_n%)"
    row+=" | $(megabytes "$rss_o") | $(megabytes "$rss_n") | $mem_r"
    if [ "$instructions" = on ]; then
      row+=" | $(millions "$ins_o") | $(millions "$ins_n") | $ins_r"
    fi
    rows_md+=("$row | $same |")
    rows_csv+=("$prog,${args[*]},$inst,$reps,$cpu_o,$cpu_n,$cpu_r,$sys_o,$share_o,$sys_n,$share_n,$rss_o,$rss_n,$mem_r,$ins_o,$ins_n,$ins_r,$([ "$differing_reps" -eq 0 ] && echo yes || echo no),$differing_reps")
  done
done

# The report: a header naming the sides and the method, then one table row per run and instance.
if [ "$pinned" -eq 1 ]; then
  clock_note="hypra runs as its pinned-clock copy (tests/driver/hypra_pinned_clock)"
elif [ "$needs_hypra" -eq 1 ]; then
  clock_note="hypra runs with time() pinned through LD_PRELOAD (a side has no pinned-clock copy)"
else
  clock_note="no hypra runs"
fi
echo "## hypra: old vs new"
echo
echo "- old: ${side_desc[old]}"
echo "- new: ${side_desc[new]}"
echo "- inputs: ${instance_list[*]} from $bench_dir"
echo "- machine: $(nproc) cores, load average $load_start at the start, $(cut -d ' ' -f 1 /proc/loadavg 2>/dev/null || echo n/a) at the end"
echo "- $reps repetitions of every run on each side, alternating old and new; $clock_note, HYPRA_PINNED_CLOCK=$HYPRA_PINNED_CLOCK"
echo "- CPU: user + system seconds (GNU time), median; sys: median system seconds (share of the median CPU);"
echo "  peak: median peak resident set size in MB; ratios are new/old (below 1: new is faster or smaller)"
if [ "$instructions" = on ]; then
  echo "- instructions: one run per side under callgrind, in millions"
fi
echo
header="| run | instance | CPU s old | CPU s new | CPU new/old | sys s old | sys s new | peak MB old | peak MB new | peak new/old"
rule="|---|---|---:|---:|---:|---:|---:|---:|---:|---:"
if [ "$instructions" = on ]; then
  header+=" | instr old | instr new | instr new/old"
  rule+="|---:|---:|---:"
fi
echo "$header | same partition |"
echo "$rule|---|"
printf '%s\n' "${rows_md[@]}"
echo
summary="Geometric mean of the ratios over ${#rows_md[@]} rows: CPU $(geomean "${cpu_ratios[@]}"), peak memory $(geomean "${mem_ratios[@]}")"
if [ "$instructions" = on ]; then summary+=", instructions $(geomean "${instr_ratios[@]}")"; fi
echo "$summary."

if [ -n "$csv" ]; then
  {
    echo "program,args,instance,reps,cpu_old_s,cpu_new_s,cpu_ratio,sys_old_s,sys_share_old_pct,sys_new_s,sys_share_new_pct,peak_rss_old_kb,peak_rss_new_kb,peak_rss_ratio,instructions_old,instructions_new,instructions_ratio,same_partition,differing_reps"
    printf '%s\n' "${rows_csv[@]}"
  } >"$csv"
  note "wrote $csv"
fi

if [ "${#nondeterministic[@]}" -gt 0 ]; then
  echo
  echo "Warning: these repetitions wrote a different partition than the first repetition of the same side (a side that is not deterministic makes the comparison of partitions meaningless):"
  printf -- '- %s\n' "${nondeterministic[@]}"
fi
if [ "$mismatched_rows" -gt 0 ]; then
  echo
  echo "!!! PARTITION MISMATCH: on $mismatched_rows of ${#rows_md[@]} rows the new build wrote a different partition than the old one."
  echo "!!! Both sides must compute the same partition: this is a correctness bug of the new build."
  echo "!!! The differing partition files are kept in $mismatch_dir"
  echo "!!! PARTITION MISMATCH: $mismatched_rows rows differ; files in $mismatch_dir" >&2
  exit 3
fi
echo
echo "All ${#rows_md[@]} rows: old and new wrote the same partition on every repetition."
