#!/usr/bin/env bash
# Installs the build into a prefix, then builds and runs programs against it in the ways that users link: by the CMake
# package, by pkg-config and by hand, against the archives and, when they were built, the shared libraries.
#   check.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "outside: $*" >&2
  exit 1
}
# compile SOURCE OUTPUT FLAGS...
compile() { g++ -std=c++20 -O0 "$1" -o "$2" "${@:3}"; }
# uses_libzel PROGRAM: whether it loads the shared library.
uses_libzel() { grep -q 'NEEDED.*libzel\.so\.1' <<<"$(readelf -d "$1")"; }

DESTDIR=$scratch cmake --install "$build" >/dev/null
prefix=$scratch$(sed -n 's/^CMAKE_INSTALL_PREFIX:.*=//p' "$build/CMakeCache.txt")
archive=$(find "$prefix" -name libzel.a)
libraries=$(dirname "$archive")
headers=$prefix/include/zel
shared=$(find "$prefix" -name libzel.so)
export LD_LIBRARY_PATH=$libraries

echo "the home kit, whole and runnable"
home=$(dirname "$(find "$prefix" -path '*/home/utils')")
diff -r "$source/runtime/utils/INSTALL" "$home/utils/INSTALL"
diff -r "$source/runtime/agent/bin/shell" "$home/agent/bin/shell"
diff -r "$source/runtime/agent/scheduler" "$home/agent/scheduler"
diff "$source/runtime/README.md" "$home/README.md"
# The directories that change may be elsewhere on the installed system; this copy has one of its own.
cp -r "$home" "$scratch/kit"
rm -rf "$scratch/kit/agent/aproc"
mkdir -p "$scratch/kit/agent/aproc/shell"
(cd "$scratch/kit/agent/bin" && ../../utils/ETC/ShCmd 30 ./libinvinfo 1 1 && grep -q TORVCPU ../aproc/shell/CpuINVStrInfo.dat)

echo "the driver, outside a home and in one"
# Its home is the one beside it. The directories that change may belong elsewhere, where nothing is installed here.
rm -rf "$home/agent/aproc"
mkdir -p "$home/agent/aproc/shell" "$scratch/somewhere/host/proc"
echo "7.25 1.00 1.00 1/2 3" >"$scratch/somewhere/host/proc/loadavg"
(cd "$scratch/somewhere" && ZEL_HOST_ROOT=host "$prefix/bin/libzelinfo" 2 0 1) >"$scratch/driver.out" 2>&1
grep -q ' 1Min:  7.25' "$scratch/driver.out" || fail "a relative host root is not kept: $(cat "$scratch/driver.out")"
[ -e "$home/agent/aproc/shell/IFName_bandwidth.dat" ] || fail "the driver does not use its home"
[ "$(ls "$scratch/somewhere")" = host ] || fail "the driver writes where it is started"
rm "$home/agent/aproc/shell/IFName_bandwidth.dat"
(cd "$scratch/kit/agent/bin" && "$prefix/bin/libzelinfo" 2 0 1) >"$scratch/driver.out" 2>&1
[ -e "$scratch/kit/agent/aproc/shell/IFName_bandwidth.dat" ] || fail "the driver leaves the home that it is started in"
[ ! -e "$home/agent/aproc/shell/IFName_bandwidth.dat" ] || fail "the driver uses two homes"

echo "find_package(zel)"
cmake -S "$source/tests/outside" -B "$scratch/package" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/package" >/dev/null
for program in "$scratch"/package/outside{,_archive,_host}; do
  "$program"
done
! uses_libzel "$scratch/package/outside_archive" || fail "zel::zel_archive is not the archive"

echo "the example, alone"
cmake -S "$(find "$prefix" -path '*examples/agent')" -B "$scratch/agent" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/agent" >/dev/null
mkdir -p "$scratch/home/agent/bin" "$scratch/home/agent/buffer"
(cd "$scratch/home/agent/bin" && exec timeout -s INT --preserve-status 2 "$scratch/agent/agent") >"$scratch/records" 2>&1
grep -aq ' load ' "$scratch/records"

echo "pkg-config zel"
PKG_CONFIG_PATH=$libraries/pkgconfig
export PKG_CONFIG_PATH
read -ra flags <<<"$(pkg-config --cflags --libs zel)"
compile "$source/tests/outside/program.cpp" "$scratch/pkgconfig" "${flags[@]}"
"$scratch/pkgconfig"

echo "pkg-config zelhost: the C++ library and libc are enough"
read -ra host_flags <<<"$(pkg-config --cflags --libs zelhost)"
compile "$source/tests/outside/host_program.cpp" "$scratch/host" "${host_flags[@]}"
"$scratch/host"
! readelf -d "$scratch/host" | grep NEEDED | grep -vE 'lib(stdc\+\+|m|gcc_s|c)\.so|ld-linux' ||
  fail "a program with the typed model needs more than the C++ library and libc"

echo "the archives, by hand: a program and the driver"
by_hand=(-I "$source/libzel" -I "$source/LIB" "$build/lib/libzel.a" "$build/lib/libzelrt.a" -ltirpc -lpthread)
compile "$source/tests/outside/program.cpp" "$scratch/archive" "${by_hand[@]}"
"$scratch/archive"
compile "$source/libzel/main.cpp" "$scratch/driver" "${by_hand[@]}"
grep -q '15Min' <<<"$("$scratch/driver" 2 0 1 2>&1)"

if [ -n "$shared" ]; then
  echo "the shared libraries: a program with every inline function of the public headers, and the driver"
  for program in pkgconfig package/outside; do
    uses_libzel "$scratch/$program" || fail "$program does not use the shared library"
  done
  compile "$source/tests/outside/program.cpp" "$scratch/inlines" -fkeep-inline-functions "${flags[@]}"
  "$scratch/inlines"
  # The driver is part of the tree: it may use inline functions of the inside, but only the exported ones of the libraries.
  compile "$source/libzel/main.cpp" "$scratch/driver" -I "$source/libzel" -I "$source/LIB" "${flags[@]}"
  grep -q '15Min' <<<"$("$scratch/driver" 2 0 1 2>&1)"
  "$source/tests/outside/exports.sh" "$libraries" "$headers"
fi

echo "every installed header compiles alone, and Zel.h includes those of the collectors"
mapfile -t installed < <(find "$headers" -name '*.h' | sort)
for header in "${installed[@]}"; do
  echo "#include \"$header\"" | g++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I "$headers" -x c++ -
done
diff <(printf '%s\n' "${installed[@]}" | grep -v "^$headers/host/") \
  <(g++ -std=c++20 -MM -I "$headers" "$headers/Zel.h" | tr -s '[:space:]' '\n' | grep -F "$headers/" | sort)

echo "the tool"
[ "$("$prefix/bin/zel" --version)" = "zel $(sed -n 's/^project(zel VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")" ] ||
  fail "zel --version: $("$prefix/bin/zel" --version)"

echo "the manual pages"
mapfile -t manuals < <(find "$prefix" -path '*/man[15]/*.gz')
pages=("$source"/man/*.in)
[ ${#manuals[@]} -eq ${#pages[@]} ] || fail "manual pages: ${manuals[*]}"
if command -v groff >/dev/null; then
  for manual in "${manuals[@]}"; do
    zcat "$manual" | groff -man -ww -Tutf8 2>"$scratch/manual.err" >/dev/null
    [ ! -s "$scratch/manual.err" ] || fail "$manual: $(cat "$scratch/manual.err")"
  done
else
  echo "groff is not installed: the manual pages are not read (Debian: apt-get install groff-base)"
fi
