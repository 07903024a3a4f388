# Shared by the benchmark scripts that run hypra-advanced on named files of a benchmark folder;
# sourced, not run. The caller sets `root` (the repository) before sourcing it.

# Ends the calling script with a message unless every FILE.hgr of the list is readable in DIR:
#   bench_require_inputs SCRIPT DIR "FILE ..."
bench_require_inputs() {
  local script=$1 dir=$2 f
  for f in $3; do
    [ -r "$dir/$f.hgr" ] || { echo "$script: cannot read $dir/$f.hgr" >&2; exit 1; }
  done
}

# Builds hypra-advanced in the Release tree and sets `prog` to it.
bench_build_program() {
  cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$root/build" -j"$(nproc)" --target hypra_advanced >/dev/null
  prog="$root/build/hypra-advanced"
}

# Prints the pins of a hypergraph file: the vertices listed on its hyperedge lines, without the
# weight that formats 1 and 11 (the header's third number) put first on each. Comment lines (%)
# may come anywhere; vertex weight lines after the hyperedges are not counted.
bench_count_pins() {
  awk '/^%/ { next }
       !started { started = 1; weighted = ($3 == 1 || $3 == 11); nh = $1; next }
       nh > 0 { pins += NF - weighted; nh-- }
       END { print pins + 0 }' "$1"
}
