#!/usr/bin/env bash
# The gate beside the tests: style, layering, kernel paths, stray tests, shell scripts, static analysis of what changed.
#   scripts/check.sh [BUILD]      BUILD holds compile_commands.json (default build-test)
# ZEL_TIDY_BASE names the revision since which changed sources are analysed (default: the previous commit).
# Prints every finding with its place and exits 1 when there is one.
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1
build=${1:-build-test}
failed=0

# finding TITLE: fails with the lines of standard input, when there are any.
finding() {
  local lines
  lines=$(cat)
  [ -n "$lines" ] || return 0
  printf 'check: %s\n%s\n' "$1" "$lines" >&2
  failed=1
}

# The files of the project that match, whether committed yet or not; never what a build made.
sources() { git ls-files --cached --others --exclude-standard -- "$@"; }

check_style() {
  sources '*.h' '*.cpp' | xargs -r clang-format --dry-run 2>&1 | grep 'warning:'
}

check_layering() {
  local headers
  headers=$(cd libzel && printf '%s\n' *.h | paste -sd '|')
  sources 'LIB/*.h' 'LIB/*.cpp' | xargs -r grep -nE "#include ([\"<](\.\./)?libzel/|[\"<]($headers)[\">])"
}

check_kernel_paths() {
  sources 'LIB/*.cpp' 'libzel/*.cpp' |
    xargs -r grep -nE '\b(fopen|open|openat|opendir|setmntent|stat|stat64|lstat|access|statfs64|ifstream)\(' |
    grep -E '"/(proc|sys|etc/mtab|etc/sysconfig)' | grep -v fgHostPath
}

check_stray_tests() {
  sources 'tests/*.cpp' | grep -vE '^tests/(LIB/[a-z]+|libzel(/[a-z]+)?|system|docs)/[A-Za-z0-9_]+_test\.cpp$|^tests/(support|outside)/'
}

check_shell() {
  sources '*.sh' '.ci/run' 'runtime/*' | xargs -r grep -lE '^#!.*\b(ba)?sh\b' | xargs -r shellcheck -x 2>&1
}

check_tidy() {
  local base changed
  base=${ZEL_TIDY_BASE:-$(git rev-parse --verify -q HEAD~1)}
  changed=$({
    git diff --name-only --diff-filter=d "${base:-HEAD}" -- 'LIB/*.cpp' 'libzel/*.cpp'
    git ls-files --others --exclude-standard -- 'LIB/*.cpp' 'libzel/*.cpp'
  } | sort -u)
  [ -n "$changed" ] || return 0
  printf '%s\n' "$changed" | xargs -P "$(nproc)" -n 1 clang-tidy -p "$build" --quiet 2>/dev/null |
    grep -A3 -E '(warning|error):'
}

finding "not in the checked-in style (clang-format -i FILE)" < <(check_style)
finding "LIB/ includes a header of libzel/" < <(check_layering)
finding "a kernel path is opened without fgHostPath" < <(check_kernel_paths)
finding "a test file that no test program builds" < <(check_stray_tests)
finding "shellcheck" < <(check_shell)
finding "clang-tidy" < <(check_tidy)

[ $failed -eq 0 ] && echo "check: clean"
exit $failed
