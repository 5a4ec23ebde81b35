#!/usr/bin/env bash
# No object of the two libraries uses another one that, over any number of others, uses it: each can be read, tested and
# linked after those it is built on.
#   circles.sh BUILD
set -euo pipefail
libraries=$1/lib
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# uses ARCHIVE...: "USER DEFINER SYMBOL" for what an object takes of another one. Inline functions and templates (nm: W, V, u)
# do not count: every object that uses them has its own.
uses() {
  nm -A --quiet "$@" | awk '
    NF < 2 { next } # between the archives
    { object = $1; sub(/:[0-9a-f]*$/, "", object); sub(/.*\//, "", object); symbol = $NF; kind = $(NF - 1) }
    kind ~ /^[TDBR]$/ { definer[symbol] = object }
    kind == "U" { used[object, symbol] = 1 }
    END {
      for (pair in used) {
        split(pair, part, SUBSEP)
        if (part[2] in definer && definer[part[2]] != part[1]) print part[1], definer[part[2]], part[2]
      }
    }' | sort
}

# circle_free ARCHIVE...: fails and prints the objects of a circle, each with what it uses of the others in it.
circle_free() {
  uses "$@" >"$scratch/uses" || return 1
  if cut -d ' ' -f 1,2 "$scratch/uses" | tsort >/dev/null 2>"$scratch/circle"; then
    return 0
  fi
  # The first circle that tsort names.
  sed 's/^tsort: //' "$scratch/circle" | awk '/loop/ { if (seen++) exit; next } { print }' >"$scratch/members"
  echo "objects that use each other in a circle:"
  awk 'NR == FNR { member[$1] = 1; next } $1 in member && $2 in member { print $1 " uses of " $2 ": " $3 }' \
    "$scratch/members" "$scratch/uses" | c++filt
  return 1
}

circle_free "$libraries/libzelrt.a" "$libraries/libzel.a" || exit 1
objects=$(cut -d ' ' -f 1,2 "$scratch/uses" | tr ' ' '\n' | sort -u | wc -l)
# Objects are known by their file name, which is unique in a library.
for library in zelrt zel; do
  twins=$(ar t "$libraries/lib$library.a" | sort | uniq -d)
  [ -z "$twins" ] || { echo "lib$library.a has two objects named $twins" >&2 && exit 1; }
done
echo "no circle: $objects objects, $(wc -l <"$scratch/uses") uses of each other"

# The check finds a circle over three objects beside the libraries, and one of data, and nothing in a chain.
# object NAME: compiles the lines of standard input into an object of the scratch archive.
object() { c++ -x c++ -c -o "$scratch/$1.o" - && ar rc "$scratch/libplanted.a" "$scratch/$1.o"; }
object First <<<'int second(); int first() { return second(); }'
object Second <<<'extern int third; int second() { return third; }'
object Third <<<'int third = 1;'
circle_free "$libraries/libzelrt.a" "$libraries/libzel.a" "$scratch/libplanted.a"
object Third <<<'int first(); int third = first();'
if found=$(circle_free "$libraries/libzelrt.a" "$libraries/libzel.a" "$scratch/libplanted.a"); then
  echo "a planted circle is not found" >&2
  exit 1
fi
for text in 'First.o uses of libplanted.a:Second.o: second()' 'Second.o uses of libplanted.a:Third.o: third' \
  'Third.o uses of libplanted.a:First.o: first()'; do
  grep -qF "$text" <<<"$found" || { echo "the planted circle is not named by '$text': $found" >&2 && exit 1; }
done
echo "finds a planted circle"
