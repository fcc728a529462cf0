#!/bin/sh
# Installs a build into a temporary prefix and uses it as a user would:
#   1. the shared library: soname libquorva.so.1 -> libquorva.so.1.0.0, and exactly the functions
#      of the installed Quorva.h exported;
#   2. examples/asia_demo.c built by a CMake project with find_package(Quorva CONFIG), linked with
#      Quorva::quorva (shared) and Quorva::quorva_static, and run;
#   3. the same program built with the C compiler and pkg-config, shared and static, and run.
# Usage: install_test.sh BUILD_DIR SOURCE_DIR C_COMPILER [SANITIZE]
# SANITIZE is the build's sanitizer list (e.g. address,undefined): instrumented libraries need
# the sanitizer runtimes, so the programs are then compiled and linked with -fsanitize=SANITIZE.
set -eu

build_dir=$1
source_dir=$2
cc=$3
sanitize=${4:-}
san_flags=""
[ -n "$sanitize" ] && san_flags="-fsanitize=$sanitize"

work=$(mktemp -d "${TMPDIR:-/tmp}/quorva-install.XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
demo=$source_dir/examples/asia_demo.c

fail() {
  echo "install_test: FAILED: $*" >&2
  exit 1
}

# Runs a built program, which must exit with 0 and print the demo's nodes.
run_demo() {
  "$1" >"$work/out.txt" 2>&1 || { cat "$work/out.txt" >&2; fail "$1 exited with $?"; }
  grep -q 'Dyspnea' "$work/out.txt" || fail "$1 did not print the Asia net"
}

# needs_libquorva PROGRAM: whether the program loads libquorva.so.1 at run time.
needs_libquorva() {
  readelf -d "$1" | grep -q 'NEEDED.*\[libquorva\.so\.1\]'
}

echo "== cmake --install $build_dir --prefix $prefix"
cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log" 2>&1 \
  || { cat "$work/install.log" >&2; fail "cmake --install"; }
pc=$(find "$prefix" -name quorva.pc)
[ -n "$pc" ] || fail "no quorva.pc installed"
libdir=$(dirname "$(dirname "$pc")")

echo "== shared library: soname and exported symbols"
[ -f "$libdir/libquorva.so.1.0.0" ] || fail "no libquorva.so.1.0.0"
[ "$(readlink "$libdir/libquorva.so.1")" = libquorva.so.1.0.0 ] || fail "libquorva.so.1 link"
[ "$(readlink "$libdir/libquorva.so")" = libquorva.so.1 ] || fail "libquorva.so link"
readelf -d "$libdir/libquorva.so.1.0.0" | grep -q 'SONAME.*\[libquorva\.so\.1\]' \
  || fail "soname is not libquorva.so.1"
# Declarations start a line; #define lines and comments do not.
grep -E '^[A-Za-z]' "$prefix/include/Quorva.h" | grep -v '^#' \
  | grep -oE '[A-Za-z0-9_]+_(bn|vq|cs) *\(' | sed 's/ *($//' | sort -u >"$work/declared.txt"
nm -D --defined-only "$libdir/libquorva.so.1.0.0" | awk '{print $3}' | sort -u >"$work/exported.txt"
[ -s "$work/declared.txt" ] || fail "no functions found in Quorva.h"
if ! cmp -s "$work/declared.txt" "$work/exported.txt"; then
  echo "declared in Quorva.h (<) and exported (>) differ:" >&2
  diff "$work/declared.txt" "$work/exported.txt" | grep '^[<>]' | head -20 >&2
  fail "the exported symbols are not the API"
fi

echo "== find_package(Quorva CONFIG): shared and static"
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_PREFIX_PATH="$prefix" -DQUORVA_EXAMPLE="$demo" \
  -DCMAKE_C_FLAGS="$san_flags" -DCMAKE_EXE_LINKER_FLAGS="$san_flags" >"$work/cmake.log" 2>&1 \
  || { cat "$work/cmake.log" >&2; fail "configuring the find_package project"; }
cmake --build "$work/consumer" >"$work/cmake.log" 2>&1 \
  || { cat "$work/cmake.log" >&2; fail "building the find_package project"; }
run_demo "$work/consumer/demo_shared"
run_demo "$work/consumer/demo_static"
needs_libquorva "$work/consumer/demo_shared" || fail "Quorva::quorva is not the shared library"
needs_libquorva "$work/consumer/demo_static" && fail "Quorva::quorva_static loads libquorva.so"

echo "== pkg-config: shared and static"
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion quorva)" = 1.0.0 ] || fail "pkg-config --modversion"
# shellcheck disable=SC2046 # pkg-config prints several words
"$cc" $san_flags "$demo" -o "$work/pc_shared" $(pkg-config --cflags --libs quorva) \
  -Wl,-rpath,"$(pkg-config --variable=libdir quorva)" || fail "building with pkg-config"
run_demo "$work/pc_shared"
needs_libquorva "$work/pc_shared" || fail "pkg-config --libs does not link libquorva.so"
if [ -z "$sanitize" ]; then
  # A fully static program: --static must name every library the archive needs.
  # shellcheck disable=SC2046
  "$cc" -static "$demo" -o "$work/pc_static" $(pkg-config --static --cflags --libs quorva) \
    2>"$work/link.log" || { cat "$work/link.log" >&2; fail "static link with pkg-config --static"; }
  readelf -d "$work/pc_static" | grep -q NEEDED && fail "the -static program loads libraries"
else
  # Sanitizer runtimes cannot go into a fully static program: take the archive by name instead.
  # shellcheck disable=SC2046
  "$cc" $san_flags "$demo" -o "$work/pc_static" $(pkg-config --cflags quorva) \
    $(pkg-config --static --libs quorva | sed 's/-lquorva /-l:libquorva.a /') \
    || fail "linking libquorva.a with pkg-config --static"
  needs_libquorva "$work/pc_static" && fail "the static program loads libquorva.so"
fi
run_demo "$work/pc_static"
echo "install_test: all passed"
