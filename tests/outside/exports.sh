#!/usr/bin/env bash
# The shared libraries export the names that the public headers declare, all of them and no others.
#   exports.sh LIBRARIES HEADERS
set -euo pipefail
libraries=$1
headers=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The last name of a symbol, without its arguments and version: CPerfText::field(int) gives field.
last_names() { sed -e 's/@.*//' -e 's/(.*//' -e 's/<.*//' -e 's/.*:://' -e 's/^~//' | sort -u; }
# Functions and variables of the libraries' own names: not the standard library's, not the internals of namespace zel.
own() { grep -E ' [TDBR] ' | sed 's/^[0-9a-f]* [TDBR] //' | grep -vE '^(zel|std|__gnu_cxx)::|\(anonymous|^typeinfo|^vtable'; }

find "$headers" -name "*.h" -exec cat {} + | sed 's|//.*||' | grep -oE '[A-Za-z_][A-Za-z0-9_]*' | sort -u >"$scratch/declared"
for library in zel zelrt; do
  nm -DC --defined-only "$libraries/lib$library.so" | grep -v ' A ' >"$scratch/exported"
  sed 's/^[0-9a-f]* [A-Za-z] //' "$scratch/exported" | last_names >"$scratch/names"
  comm -23 "$scratch/names" "$scratch/declared" >"$scratch/undeclared"
  [ ! -s "$scratch/undeclared" ] || { echo "lib$library.so exports what no public header declares:" && cat "$scratch/undeclared" && exit 1; } >&2
  nm -C --defined-only "$libraries/lib$library.a" 2>/dev/null | own | sort -u >"$scratch/defined"
  sed 's/@.*//' "$scratch/exported" | own | sort -u >"$scratch/public"
  # Members of internal classes share names with public ones: a missing symbol counts when its outermost name is declared.
  comm -23 "$scratch/defined" "$scratch/public" | while read -r symbol; do
    outermost=${symbol%%(*}
    if grep -qx "${outermost%%::*}" "$scratch/declared"; then
      echo "lib$library.so does not export $symbol"
    fi
  done >"$scratch/missing"
  [ ! -s "$scratch/missing" ] || { cat "$scratch/missing" && exit 1; } >&2
  echo "lib$library.so: $(wc -l <"$scratch/exported") exported symbols, all of the public headers"
done
