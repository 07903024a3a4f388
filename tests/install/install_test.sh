#!/usr/bin/env bash
# Installs the build tree into a scratch prefix, then builds and runs programs against it the
# ways a user would, each with the static and with the shared library:
#   c-cmake    a C-only CMake project (project(... LANGUAGES C)) through find_package(hypra);
#   cxx-cmake  a C++ CMake project through find_package(hypra);
#   c-pkgconf  a C program built with a plain cc command line from pkg-config's flags.
# Every program partitions a small hypergraph through the C interface and checks the cuts. Each
# prints one line "<way> <library>: cut 2, 4-way cut 4".
set -euo pipefail
build_dir="$1"
source_dir="$(cd "$(dirname "$0")" && pwd)"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
  echo "$*" >&2
  exit 1
}

prefix="$work/prefix"
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
test -x "$prefix/bin/hypra" || fail "hypra was not installed"
test -x "$prefix/bin/hypra-advanced" || fail "hypra-advanced was not installed"
test -f "$prefix/include/hypra.h" || fail "hypra.h was not installed"
shared=$(find "$prefix" -name 'libhypra.so.*.*' -type f | head -n 1)
static=$(find "$prefix" -name 'libhypra.a' | head -n 1)
pc=$(find "$prefix" -name hypra.pc | head -n 1)
test -n "$shared" || fail "libhypra.so was not installed"
test -n "$static" || fail "libhypra.a was not installed"
test -n "$pc" || fail "hypra.pc was not installed"
libdir=$(dirname "$static")

# The shared library exports the HYPRA_ entry points and nothing else, and needs nothing that
# its own dependencies do not provide.
others=$(nm -D --defined-only "$shared" | awk '{print $3}' | grep -v '^HYPRA_' || true)
[ -z "$others" ] || fail "libhypra.so exports more than the entry points:"$'\n'"$others"
# ... and every function the header declares.
declared=$(tr '\n' ' ' <"$prefix/include/hypra.h" | grep -o -E 'HYPRA_API[^;(]*\bHYPRA_[A-Za-z0-9_]+ *\(' |
           grep -o -E 'HYPRA_[A-Za-z0-9_]+ *\($' | tr -d ' (' | sort -u)
[ "$(wc -l <<<"$declared")" -ge 5 ] || fail "cannot read the declarations of hypra.h"
exported=$(nm -D --defined-only "$shared" | awk '{print $3}' | sort -u)
missing=$(comm -23 <(echo "$declared") <(echo "$exported"))
[ -z "$missing" ] || fail "libhypra.so does not export:"$'\n'"$missing"
if ldd -r "$shared" 2>&1 | grep -q 'undefined symbol'; then
  fail "libhypra.so has unresolved symbols:"$'\n'"$(ldd -r "$shared" 2>&1 | grep 'undefined symbol')"
fi
# The static library's own functions are the entry points or live in namespace hypra.
loose=$(nm -g --defined-only "$static" | awk '$2 == "T" {print $3}' | grep -v '^HYPRA_' | c++filt |
        grep -v '^hypra::' || true)
[ -z "$loose" ] || fail "libhypra.a defines functions outside namespace hypra:"$'\n'"$loose"

# check <label> <program> static|shared: runs the program and checks how it was linked. A program
# linked with the archive must not need libhypra.so, and every symbol it leaves undefined must be
# bound to a versioned symbol of a system library (the C library, the C++ runtime, libgcc), with
# nothing left for the loader to miss.
check() {
  local label="$1" program="$2" kind="$3" out needed
  test -x "$program" || fail "$label: $program was not built"
  needed=$(readelf -d "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  if [ "$kind" = static ]; then
    ! grep -q '^libhypra\.so' <<<"$needed" || fail "$label: linked with libhypra.so, not the archive"
    local loose_refs
    loose_refs=$(nm -u "$program" | awk '$1 == "U" {print $2}' |
                 grep -v -E '@(GLIBC|GLIBCXX|CXXABI|GCC)_' || true)
    [ -z "$loose_refs" ] || fail "$label: undefined symbols not bound to a library:"$'\n'"$loose_refs"
  else
    grep -q '^libhypra\.so\.1$' <<<"$needed" || fail "$label: does not load libhypra.so.1"
  fi
  if ldd -r "$program" 2>&1 | grep -q -E 'undefined symbol|not found'; then
    fail "$label: unresolved at load time:"$'\n'"$(ldd -r "$program" 2>&1)"
  fi
  out=$("$program") || fail "$label: the program failed: $out"
  echo "$label $kind: $out"
}

# The CMake projects, compiled as strictly as the library itself.
for lang in c cxx; do
  cmake -S "$source_dir/consumer_$lang" -B "$work/consumer_$lang" -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS="-Wall -Wextra -Werror" \
        -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >"$work/configure_$lang.log" 2>&1 ||
    fail "$lang-cmake: configuring failed:"$'\n'"$(cat "$work/configure_$lang.log")"
  cmake --build "$work/consumer_$lang" >"$work/build_$lang.log" 2>&1 ||
    fail "$lang-cmake: building failed:"$'\n'"$(cat "$work/build_$lang.log")"
  for kind in static shared; do
    check "$lang-cmake" "$work/consumer_$lang/${lang}_$kind" "$kind"
  done
done

# pkg-config with a plain cc command line. The shared library: Libs alone, and an rpath for the
# loader, since the prefix is not a system directory. The header is included with -I here (the
# CMake projects see it as a system header), so it is held to C99 with -pedantic too.
export PKG_CONFIG_PATH
PKG_CONFIG_PATH="$(dirname "$pc")"
strict=(-std=c99 -Wall -Wextra -pedantic -Werror)
# shellcheck disable=SC2046
cc "${strict[@]}" "$source_dir/consumer_c/main.c" $(pkg-config --cflags --libs hypra) \
   -Wl,-rpath,"$(pkg-config --variable=libdir hypra)" -o "$work/c_pkgconf_shared"
check c-pkgconf "$work/c_pkgconf_shared" shared
# The static library: with both libraries beside each other -lhypra takes the shared one, so this
# links in a copy of the prefix that holds only the archive, as a static-only installation does;
# --static adds Libs.private, which must be all the archive needs.
cp -a "$prefix" "$work/static_prefix"
rm -f "$work/static_prefix/${libdir#"$prefix"/}"/libhypra.so*
PKG_CONFIG_PATH="$(dirname "$work/static_prefix/${pc#"$prefix"/}")"
# shellcheck disable=SC2046
cc "${strict[@]}" "$source_dir/consumer_c/main.c" $(pkg-config --static --cflags --libs hypra) \
   -o "$work/c_pkgconf_static"
check c-pkgconf "$work/c_pkgconf_static" static
# Without --static the archive's needs are missing: the link must fail, or Libs.private would
# not be doing anything.
# shellcheck disable=SC2046
if cc "$source_dir/consumer_c/main.c" $(pkg-config --cflags --libs hypra) \
      -o "$work/c_pkgconf_nostatic" 2>/dev/null; then
  fail "c-pkgconf: the archive linked without Libs.private; the test no longer tells anything"
fi

# The C-only project once more with clang, when there is one: the runtime the package names
# must be found by either compiler driver.
if command -v clang >/dev/null 2>&1; then
  CC=clang cmake -S "$source_dir/consumer_c" -B "$work/consumer_c_clang" \
        -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure_clang.log" 2>&1 ||
    fail "c-cmake (clang): configuring failed:"$'\n'"$(cat "$work/configure_clang.log")"
  cmake --build "$work/consumer_c_clang" >"$work/build_clang.log" 2>&1 ||
    fail "c-cmake (clang): building failed:"$'\n'"$(cat "$work/build_clang.log")"
  check "c-cmake-clang" "$work/consumer_c_clang/c_static" static >/dev/null
  check "c-cmake-clang" "$work/consumer_c_clang/c_shared" shared >/dev/null
fi
echo "all consumers built and ran"
