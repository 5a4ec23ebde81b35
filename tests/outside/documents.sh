#!/usr/bin/env bash
# Compiles every C++ program of the documents against the source tree and runs it, and the shell lines, in a staged home.
#   documents.sh SOURCE BUILD
# A block that opens with ```cpp is a whole program, one that opens with ```sh is run line by line; both have to succeed.
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mkdir -p "$scratch/build/bin" "$scratch/blocks"
cp "$build"/bin/{ShCmd,libinvinfo,libzelinfo} "$scratch/build/bin/"
"$source/scripts/stage.sh" "$scratch/build"
home=$scratch/build/home/agent/bin
PATH=$build/bin:$PATH # for zel

# Every block into a file of its own: README.md-12.cpp for the one that opens in line 12.
for document in "$source"/README.md "$source"/docs/{format,metrics,embedding,operation,host,hardware,zel}.md; do
  awk -v stem="$scratch/blocks/$(basename "$document")" '
    /^```/ { file = file == "" && $1 ~ /^```(cpp|sh)$/ ? stem "-" NR "." substr($1, 4) : ""; next }
    file != "" { print > file }' "$document"
done

failed=0
complain() {
  echo "documents: $1: $2" >&2
  failed=1
}

# run NAME COMMAND...: what it prints is shown; nothing at all counts as a failure when the text has a print in it.
run() {
  local name=$1
  shift
  (cd "$home" && ../../utils/ETC/ShCmd 30 "$@") >"$scratch/output" 2>&1 || complain "$name" "exit status $?"
  head -5 "$scratch/output" | tr -d '\003\037'
  [ -s "$scratch/output" ] || ! grep -q 'std::printf\|std::puts\|libzelinfo' "$scratch/blocks/$name" || complain "$name" "prints nothing"
}

find "$scratch/blocks" -name '*.cpp' -print0 | xargs -0 -P 2 -I {} \
  g++ -std=c++20 -Wall -Wextra -Werror -I "$source/libzel" -I "$source/LIB" -I "$source" {} -o {}.run \
  "$build/lib/libzelhost.a" "$build/lib/libzel.a" "$build/lib/libzelrt.a" -ltirpc -lpthread

programs=0
for program in "$scratch"/blocks/*.cpp; do
  programs=$((programs + 1))
  echo "== $(basename "$program")"
  run "$(basename "$program")" "$program.run"
done
lines=0
for block in "$scratch"/blocks/*.sh; do
  lines=$((lines + 1))
  echo "== $(basename "$block")"
  run "$(basename "$block")" bash -euo pipefail "$block"
done

# Fewer of them mean that the extraction finds nothing any more.
[ $programs -ge 9 ] || complain "documents" "$programs programs"
[ $lines -ge 4 ] || complain "documents" "$lines shell blocks"
# The program that logs: its message is in its file.
grep -q 'MM_CPU_Info.*read failed' "$home"/*_monitor.log || complain "embedding.md" "no log line"
exit $failed
