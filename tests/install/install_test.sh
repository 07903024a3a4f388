#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then builds and runs a separate project against
# it twice: through find_package(hypra) and through pkg-config.
set -euo pipefail
build_dir="$1"
source_dir="$(cd "$(dirname "$0")" && pwd)"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
test -x "$work/prefix/bin/hypra"
test -f "$work/prefix/include/hypra.h"
# The shared library exports the HYPRA_ entry points and nothing else.
shared=$(find "$work/prefix" -name 'libhypra.so.*' -type f | head -n 1)
test -n "$shared"
others=$(nm -D --defined-only "$shared" | awk '{print $3}' | grep -v '^HYPRA_' || true)
if [ -n "$others" ]; then
  echo "libhypra.so exports more than the entry points:" >&2
  echo "$others" >&2
  exit 1
fi
# The static library's own functions are the entry points or live in namespace hypra.
static=$(find "$work/prefix" -name 'libhypra.a' | head -n 1)
loose=$(nm -g --defined-only "$static" | awk '$2 == "T" {print $3}' | grep -v '^HYPRA_' | c++filt |
        grep -v '^hypra::' || true)
if [ -n "$loose" ]; then
  echo "libhypra.a defines functions outside namespace hypra:" >&2
  echo "$loose" >&2
  exit 1
fi

cmake -S "$source_dir/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer"

pcdir=$(dirname "$(find "$work/prefix" -name hypra.pc | head -n 1)")
flags=$(PKG_CONFIG_PATH="$pcdir" pkg-config --cflags --libs hypra)
# shellcheck disable=SC2086
cc "$source_dir/consumer/main.c" $flags -o "$work/pkgconfig_consumer"
# -lhypra finds the shared library first; the loader is told where it was installed.
LD_LIBRARY_PATH="$(dirname "$pcdir")" "$work/pkgconfig_consumer"
