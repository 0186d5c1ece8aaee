#!/usr/bin/env bash
# Installs the library into a scratch prefix and builds a separate project against it
# with find_package(customvrx) and CMAKE_PREFIX_PATH, then runs that project's program.
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

# The installed library carries no rpath of its own.
library=$(find "$prefix" -name 'libcustomvrx.so.*.*' -type f)
if readelf -d "$library" | grep -q -E 'RPATH|RUNPATH'; then
  echo "installed library has an rpath: $(readelf -d "$library" | grep -E 'RPATH|RUNPATH')"
  exit 1
fi

cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_BUILD_TYPE=Release >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer" >"$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }

# The program runs on the installed copy, not on the build tree's.
output=$(LD_DEBUG=libs "$work/consumer/consumer" 2>"$work/loader.log")
[ "$output" = "C = [58 64; 139 154]" ] || { echo "unexpected output: $output"; exit 1; }
grep -q "calling init: $prefix/.*libcustomvrx.so" "$work/loader.log" || {
  echo "the program did not load $prefix's library:"; grep customvrx "$work/loader.log"; exit 1; }
echo "installed CMake package builds and runs a program with find_package"
