#!/usr/bin/env bash
# Every check of scripts/check.sh finds what it is for: the offence is planted in a copy of the tree, and what is allowed is
# not reported.
#   gate.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
copy=$scratch/tree
mkdir "$copy"
(cd "$source" && git ls-files --cached --others --exclude-standard | while read -r file; do [ ! -e "$file" ] || echo "$file"; done) |
  tar -C "$source" -cf - -T - | tar -C "$copy" -xf -
cd "$copy"
git init -q
git add -A
git -c user.name=gate -c user.email=gate@localhost commit -qm "the tree"

# What a check finds names what was planted, and a check that passes finds the copy clean: the whole of it is checked by ./test.sh.

# finds CHECK FILE TEXT...: the check fails with each of the texts once FILE has the lines of standard input at its end.
finds() {
  local check=$1 file=$2 output text
  mkdir -p "$(dirname "$file")"
  cat >>"$file"
  if output=$(scripts/check.sh --only "$check" 2>&1); then
    echo "gate: '$check' does not find what was planted in $file" >&2
    exit 1
  fi
  for text in "$file" "${@:3}"; do
    grep -qF -- "$text" <<<"$output" || { echo "gate: '$check' does not name '$text': $output" >&2 && exit 1; }
  done
  git clean -fdq
  git checkout -q .
  echo "finds: $check in $file ($(grep -c . <<<"$output") lines)"
}
# passes CHECK FILE: the check stays clean with the lines of standard input in FILE.
passes() {
  cat >>"$2"
  scripts/check.sh --only "$1" >/dev/null || { echo "gate: '$1' reports what is allowed in $2" >&2 && exit 1; }
  git clean -fdq
  git checkout -q .
  echo "passes: $1 in $2"
}
# lines COUNT LINE: the line so many times. A function of $1 lines in all; a table of $1 rows.
lines() { awk -v count="$1" -v line="$2" 'BEGIN { while (count-- > 0) print line }'; }
long_function() { echo "int planted() {" && lines "$(($1 - 2))" '    ;' && echo "}"; }
long_table() { echo "constexpr int planted[] = {" && lines "$1" '    1,' && echo "};"; }

finds style LIB/text/Planted.cpp <<<'int  planted( );'
finds first-line LIB/text/Planted.cpp <<<'int planted();'
finds edges LIB/text/Planted.cpp "LIB/text may not see libzel/kernel" <<<'#include "SSUtil.h"'
finds edges LIB/functions/Planted.cpp "LIB/functions may not see LIB/log" <<<'#include "VornLog.h"'
finds edges LIB/scheduler/Planted.cpp "LIB/scheduler may not see LIB/log" <<<'#include "VornLog.h"'
finds edges LIB/threads/Planted.cpp "LIB/threads may not see LIB/host" <<<'#include "host/HostOpen.h"'
finds edges libzel/disk/Planted.cpp "libzel/disk may not see libzel/network" <<<'#include "MM_NWT_Info.h"'
finds edges libzel/cpu/Planted.cpp "libzel/cpu may not see libzel/report" <<<'#include "ConsoleReport.h"'
finds edges libzel/scripts/Planted.cpp "libzel/scripts may not see libzel/disk" <<<'#include "MM_IO_Info.h"'
finds edges libzel/perftext/Planted.cpp "libzel/perftext may not see libzel/scripts" <<<'#include "scripts/InventoryFile.h"'
passes edges libzel/disk/Planted.cpp <<<'#include "scripts/InventoryFile.h"'

echo '#include "text/PlantedB.h"' >LIB/text/PlantedA.h
finds circles LIB/text/PlantedB.h "text/PlantedA.h" <<<'#include "text/PlantedA.h"'
# No two of these files include one another, but their rooms do: the general functions see texts.
echo '#include "NGFunctions.h"' >LIB/text/Planted.cpp
scripts/check.sh --only circles >/dev/null 2>output && echo "gate: 'circles' does not find two rooms" >&2 && exit 1
for room in LIB/text LIB/functions; do
  grep -qxF "$room" output || { echo "gate: 'circles' does not name $room: $(cat output)" >&2 && exit 1; }
done
git clean -fdq
echo "finds: circles of rooms"

finds kernel-paths libzel/cpu/Planted.cpp <<<'int planted() { return access("/proc/stat", 0); }'
raw_calls=('open("a", 0)' 'openat(3, "a", 0)' 'std::fopen("a", "r")' 'opendir("a")' 'statfs64("a", nullptr)' '::open("a", 0)'
  'fopen64("a", "r")' 'open64("a", 0)' 'setmntent("a", "r")' 'scandir("a", &names, nullptr, nullptr)'
  'std::filesystem::directory_iterator("a")')
finds raw-calls libzel/cpu/Planted.cpp "${raw_calls[@]/#/auto planted = }" < <(printf 'auto planted = %s;\n' "${raw_calls[@]}")
raw_files=('std::ifstream file("a");' 'std::ifstream file{"a"};'
  'for (const auto &entry : std::filesystem::directory_iterator{"a"}) {}')
finds raw-calls LIB/log/Planted.cpp "${raw_files[@]/#/:}" < <(printf '%s\n' "${raw_files[@]}")
passes raw-calls LIB/log/Planted.cpp <<<'int planted = 0; // open("a", 0) and "fopen(x, y)"'
passes raw-calls LIB/host/Planted.cpp <<<'int planted = open("a", 0);'
passes raw-calls libzel/kernel/Planted.cpp <<<'int planted = open("a", 0);'

shell_calls=('system("a")' 'popen("a", "r")' 'std::system("a")' 'posix_spawn(&pid, "a", nullptr, nullptr, v, e)'
  'posix_spawnp(&pid, "a", nullptr, nullptr, v, e)' 'execl("a", "b", nullptr)' 'execvpe("a", v, e)' 'fork()' 'vfork()')
finds shell-calls LIB/scheduler/Planted.cpp "${shell_calls[@]/#/auto planted = }" < <(printf 'auto planted = %s;\n' "${shell_calls[@]}")
finds shell-calls libzel/scripts/Planted.cpp <<<'auto planted = popen("a", "r");'
passes shell-calls LIB/scheduler/Planted.cpp <<<'int planted = 0; // after fork(), and "system(x)"'
passes shell-calls LIB/host/Shell.cpp <<<'static int planted = system("a");'

finds lengths libzel/cpu/Planted.cpp "a function of 81 lines" < <(long_function 81)
passes lengths libzel/cpu/Planted.cpp < <(long_function 80)
finds lengths libzel/cpu/Planted.cpp "401 lines" < <(lines 401 //)
passes lengths libzel/cpu/Planted.cpp < <(lines 400 //)
passes lengths libzel/cpu/Planted.cpp < <(long_table 500)

finds stray-tests tests/Planted_test.cpp <<<'// a test'
# shellcheck disable=SC2016 # what the check must see is the text
finds shell scripts/planted.sh < <(printf '#!/bin/bash\ncd $1\n')

if command -v clang-tidy >/dev/null && [ -e "$build/compile_commands.json" ]; then
  mkdir build-test
  sed "s|$source|$copy|g" "$build/compile_commands.json" >build-test/compile_commands.json
  ZEL_TIDY_BASE=HEAD finds tidy LIB/text/NStringLib.cpp <<<'int *planted() { return 0; }'
fi
scripts/check.sh --only nothing 2>/dev/null && echo "gate: an unknown check passes" >&2 && exit 1
echo "gate: every check finds its offence"
