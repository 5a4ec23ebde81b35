#!/usr/bin/env bash
# The gate beside the tests. Prints every finding with its place and exits 1 when there is one.
#   scripts/check.sh [BUILD]           every check; BUILD holds compile_commands.json (default build-test)
#   scripts/check.sh --fast            all but the static analysis: what a commit can wait for
#   scripts/check.sh --only NAME...    the named checks
# Checks: style first-line edges circles kernel-paths raw-calls shell-calls lengths stray-tests shell tidy
# ZEL_TIDY_BASE names the revision since which changed sources are analysed (default: the previous commit).
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1

fast=(style first-line edges circles kernel-paths raw-calls shell-calls lengths stray-tests shell)
wanted=("${fast[@]}" tidy)
build="build-test"
case ${1:-} in
--fast) wanted=("${fast[@]}") ;;
--only) wanted=("${@:2}") ;;
*) build=${1:-$build} ;;
esac
failed=0

# The files of the project that match, whether committed yet or not; never what a build made.
sources() {
  git ls-files --cached --others --exclude-standard -- "$@" | while read -r file; do [ ! -e "$file" ] || echo "$file"; done
}
# What is built from C++ for a host, in contrast to tests and benchmarks.
product() {
  sources 'LIB/*.h' 'LIB/*.cpp' 'libzel/*.h' 'libzel/*.cpp' 'host/*.h' 'host/*.cpp' 'export/*.h' 'export/*.cpp' \
    'history/*.h' 'history/*.cpp' 'zel/*.h' 'zel/*.cpp' 'runtime/*.h' 'runtime/*.cpp' 'examples/*.h' 'examples/*.cpp'
}

check_style() {
  sources '*.h' '*.cpp' | xargs -r clang-format --dry-run 2>&1 | grep 'warning:'
}

# The first line of a source file says what the file is.
check_first_line() {
  sources '*.h' '*.cpp' | while read -r file; do
    head -n 1 "$file" | grep -q '^// *[^ ]' || echo "$file:1: no comment that says what the file is"
  done
}

# Which room may include which. Everything else is an edge that points up or sideways.
allowed_edges='
LIB/(log|scheduler|nfs) LIB/(functions|containers|host|threads|text)
LIB/(functions|containers) LIB/(host|threads|text)
LIB/(host|threads) LIB/text
LIB/host LIB/threads
libzel/[a-z]+ LIB/[a-z]+
libzel/(kernel|perftext) libzel/(rates|records)
libzel/scripts libzel/(perftext|records|rates|kernel)
libzel/(cpu|memory|disk|filesystem|network|process|adapter|hardware) libzel/(scripts|perftext|records|rates|kernel)
libzel/report libzel/(cpu|memory|disk|filesystem|network|process|adapter|hardware|scripts|perftext|records|rates|kernel)
main (LIB|libzel)/[a-z]+
host (LIB/[a-z]+|libzel/kernel)
export (host|LIB/text)
history host
zel (host|export|history|LIB/(text|host|threads))
'
check_edges() {
  scripts/edges.sh | awk -v allowed="$allowed_edges" '
    BEGIN { count = split(allowed, rules, "\n") }
    {
      for (i = 1; i <= count; ++i)
        if (rules[i] != "" && ($1 " " $2) ~ ("^" rules[i] "$"))
          next
      print $3 " includes " $4 ": " $1 " may not see " $2
    }'
}

# Files that include one another, and rooms that do.
check_circles() {
  scripts/edges.sh --rooms | tsort 2>&1 >/dev/null | sed 's/^tsort: //'
  sources 'LIB/*.h' 'libzel/*.h' 'host/*.h' 'export/*.h' 'history/*.h' 'zel/*.h' | xargs -r grep -H '^#include "' |
    sed -E 's/^([^:]*):#include "([^"]*)".*/\1 \2/' | while read -r file included; do
    for place in LIB/ libzel/ ''; do
      [ ! -e "$place$included" ] || { echo "$file $place$included" && break; }
    done
  done | tsort 2>&1 >/dev/null | sed 's/^tsort: //'
}

check_kernel_paths() {
  sources 'LIB/*.cpp' 'libzel/*.cpp' |
    xargs -r grep -nE '\b(fopen|open|openat|opendir|setmntent|stat|stat64|lstat|access|statfs64|ifstream)\(' |
    grep -E '"/(proc|sys|etc/mtab|etc/sysconfig)' | grep -v fgHostPath
}

# code_lines PATTERN: of the files that standard input names, the lines whose code matches; comments and texts in quotes are
# no code.
code_lines() {
  # shellcheck disable=SC2016 # the variables are those of awk
  xargs -r awk -v pattern="$1" '{
      code = $0
      gsub(/"([^"\\]|\\.)*"/, "\"\"", code)
      sub(/\/\/.*/, "", code)
      gsub(/\/\*[^*]*\*\//, "", code)
    }
    code ~ pattern { print FILENAME ":" FNR ":" $0 }'
}

# Files are opened in one place, which decides on flags, waiting and ownership. A function of our own may be named open().
check_raw_calls() {
  local functions='((f|fre)?open(64)?|openat(2|64)?|creat(64)?|opendir|scandir(at)?(64)?|setmntent|statv?fs(64)?)[(]([^)]|$)'
  local types='([io]?fstream|(recursive_)?directory_iterator)( +[A-Za-z_]+)?[({]'
  sources 'LIB/*.h' 'LIB/*.cpp' 'libzel/*.h' 'libzel/*.cpp' | grep -vE '^(LIB/host|libzel/kernel)/' |
    code_lines "(^|[^A-Za-z0-9_.>:]|[^a-z]::|std::)$functions|(std|filesystem)::$types"
}

# Commands are started in one place, which decides on the shell and on what its pipe inherits.
check_shell_calls() {
  sources 'LIB/*.h' 'LIB/*.cpp' 'libzel/*.h' 'libzel/*.cpp' | grep -vxF LIB/host/Shell.cpp |
    code_lines '(^|[^A-Za-z0-9_])(system|popen|posix_spawnp?|exec[lv][pe]*|v?fork)[(]'
}

check_lengths() {
  product | xargs -r awk -f scripts/lengths.awk
}

check_stray_tests() {
  sources 'tests/*.cpp' |
    grep -vE '^tests/(LIB/[a-z]+|libzel(/[a-z]+)?|host(/[a-z]+)?|export(/[a-z]+)?|history|zel(/[a-z]+)?|system|docs)/[A-Za-z0-9_]+_test\.cpp$|^tests/(support|outside)/'
}

check_shell() {
  sources '*.sh' '.ci/run' 'scripts/*' 'runtime/*' | xargs -r grep -lE '^#!.*\b(ba)?sh\b' | sort -u | xargs -r shellcheck -x 2>&1
}

check_tidy() {
  local base changed
  base=${ZEL_TIDY_BASE:-$(git rev-parse --verify -q HEAD~1)}
  changed=$({
    git diff --name-only --diff-filter=d "${base:-HEAD}" -- 'LIB/*.cpp' 'libzel/*.cpp' 'host/*.cpp' 'export/*.cpp' \
      'history/*.cpp' 'zel/*.cpp'
    git ls-files --others --exclude-standard -- 'LIB/*.cpp' 'libzel/*.cpp' 'host/*.cpp' 'export/*.cpp' 'history/*.cpp' \
      'zel/*.cpp'
  } | sort -u)
  [ -n "$changed" ] || return 0
  printf '%s\n' "$changed" | xargs -P "$(nproc)" -n 1 clang-tidy -p "$build" --quiet 2>/dev/null |
    grep -A3 -E '(warning|error):'
}

# run NAME: the findings of one check, under its heading.
run() {
  case $1 in
  style) heading="not in the checked-in style (clang-format -i FILE)" lines=$(check_style) ;;
  first-line) heading="a source file does not begin with a comment" lines=$(check_first_line) ;;
  edges) heading="an include that points up or sideways (docs/architecture.md)" lines=$(check_edges) ;;
  circles) heading="files or rooms that include one another" lines=$(check_circles) ;;
  kernel-paths) heading="a kernel path is opened without fgHostPath" lines=$(check_kernel_paths) ;;
  raw-calls) heading="a file is opened outside LIB/host and libzel/kernel" lines=$(check_raw_calls) ;;
  shell-calls) heading="a command is started outside LIB/host/Shell.cpp" lines=$(check_shell_calls) ;;
  lengths) heading="too long" lines=$(check_lengths) ;;
  stray-tests) heading="a test file that no test program builds" lines=$(check_stray_tests) ;;
  shell) heading="shellcheck" lines=$(check_shell) ;;
  tidy) heading="clang-tidy" lines=$(check_tidy) ;;
  *) echo "check: there is no check '$1'" >&2 && exit 2 ;;
  esac
  [ -n "$lines" ] || return 0
  printf 'check: %s\n%s\n' "$heading" "$lines" >&2
  failed=1
}

for name in "${wanted[@]}"; do
  run "$name"
done
[ $failed -eq 0 ] && echo "check: clean"
exit $failed
