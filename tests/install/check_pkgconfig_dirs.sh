#!/usr/bin/env bash
# The pkg-config file names full directories for any prefix and library directory:
# /usr with Debian's multiarch directory (no -L or rpath beyond what the system has), a
# scratch prefix laid out the same way (built and run through pkg-config), an absolute
# library directory, and a prefix given with a trailing slash.
set -euo pipefail
build_dir=$1
source_dir=$2
arch=x86_64-linux-gnu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "$*"; exit 1; }

# write <destdir> <prefix> <libdir> <includedir>
write() {
  cmake -DVRX_PC_DESTDIR="$1" -DVRX_PC_PREFIX="$2" -DVRX_PC_LIBDIR="$3" -DVRX_PC_INCLUDEDIR="$4" \
        -DVRX_PC_VERSION=0.1.0 -DVRX_PC_ARCH=$arch -P "$source_dir/cmake/write_pkgconfig.cmake" >/dev/null
}
# expect <pc directory> <pkg-config arguments...> = <exact output>
expect() {
  local dir=$1; shift
  local args=() want
  while [ "$1" != "=" ]; do args+=("$1"); shift; done
  want=$2
  local got
  got=$(PKG_CONFIG_PATH="$dir" PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 \
        pkg-config "${args[@]}" customvrx | sed 's/ *$//')
  [ "$got" = "$want" ] || fail "pkg-config ${args[*]} in $dir: got '$got', want '$want'"
}

# /usr with the multiarch directory, staged under a DESTDIR: the loader searches there already.
write "$work/stage" /usr lib/$arch include
pc_dir=$work/stage/usr/lib/$arch/pkgconfig
[ -f "$pc_dir/customvrx.pc" ] || fail "no $pc_dir/customvrx.pc"
expect "$pc_dir" --variable=libdir = /usr/lib/$arch
expect "$pc_dir" --libs = "-L/usr/lib/$arch -lcustomvrx"
expect "$pc_dir" --cflags = "-I/usr/include"
expect "$pc_dir" --modversion = 0.1.0

# An absolute library directory and a trailing slash on the prefix give the same directories.
write "$work/stage2" /usr/ /usr/lib/$arch /usr/include
cmp "$pc_dir/customvrx.pc" "$work/stage2/usr/lib/$arch/pkgconfig/customvrx.pc" || fail "absolute directories differ"

# A scratch prefix with the multiarch layout: the installed files moved there, the tour
# built with pkg-config's flags and run from that directory.
prefix=$work/multiarch
cmake --install "$build_dir" --prefix "$work/plain" >/dev/null
mkdir -p "$prefix/lib/$arch" "$prefix/include"
cp -P "$work/plain"/lib/libcustomvrx.so* "$prefix/lib/$arch/"
cp "$work/plain/include/customvrx.h" "$prefix/include/"
rm -rf "$work/plain"
write "" "$prefix" lib/$arch include
pc_dir=$prefix/lib/$arch/pkgconfig
expect "$pc_dir" --libs = "-L$prefix/lib/$arch -Wl,-rpath,$prefix/lib/$arch -lcustomvrx"
expect "$pc_dir" --cflags = "-I$prefix/include"
flags=$(PKG_CONFIG_PATH="$pc_dir" pkg-config --cflags --libs customvrx)
cc -std=c99 -Wall -Werror "$source_dir/examples/tour.c" $flags -o "$work/tour"
output=$(LD_DEBUG=libs "$work/tour" 2>"$work/loader.log")
grep -q "row major    C = \[58 64; 139 154\]  correct" <<<"$output" || fail "tour output: $output"
grep -q "calling init: $prefix/lib/$arch/libcustomvrx.so" "$work/loader.log" || fail "tour did not load $prefix's library"
echo "pkg-config file is right for /usr with multiarch and for a multiarch scratch prefix"
