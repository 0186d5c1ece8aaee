#!/usr/bin/env bash
# Installs the library into a scratch prefix and builds the tour against it with pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig"
flags=$(pkg-config --cflags --libs customvrx)
cc -std=c99 -Wall -Werror "$source_dir/examples/tour.c" $flags -o "$prefix/tour"
output=$("$prefix/tour")
grep -q "row major    C = \[58 64; 139 154\]  correct" <<<"$output"
echo "installed library links and runs through pkg-config"
