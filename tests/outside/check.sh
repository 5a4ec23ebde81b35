#!/usr/bin/env bash
# Installs the build into a prefix, then builds and runs a program against it in the three ways that users link.
#   check.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null

echo "find_package(zel)"
cmake -S "$source/tests/outside" -B "$scratch/package" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/package" >/dev/null
"$scratch/package/outside"

echo "pkg-config zel"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zel.pc)")
export PKG_CONFIG_PATH
read -ra flags <<<"$(pkg-config --define-variable=prefix="$prefix" --cflags --libs zel)"
g++ -std=c++20 "$source/tests/outside/program.cpp" -o "$scratch/pkgconfig" "${flags[@]}"
"$scratch/pkgconfig"

echo "the source tree"
g++ -std=c++20 -I "$source/libzel" -I "$source/LIB" "$source/tests/outside/program.cpp" -o "$scratch/tree" \
  "$build/lib/libzel.a" "$build/lib/libzelrt.a" -ltirpc -lpthread
"$scratch/tree"

echo "every public header compiles alone"
for header in "$prefix"/include/zel/*.h; do
  echo "#include \"$header\"" | g++ -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I "$prefix/include/zel" -x c++ -
done
