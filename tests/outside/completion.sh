#!/usr/bin/env bash
# Completion of the tool for bash, as a shell calls it.
#   completion.sh SOURCE BUILD
set -euo pipefail
source=$1
PATH=$2/bin:$PATH
# shellcheck source=packaging/completion/zel.bash
. "$source/packaging/completion/zel.bash"

failed=0
# expect WORDS EXPECTED: the last of the words is completed to these.
expect() {
  read -ra COMP_WORDS <<<"$1"
  [[ $1 != *' ' ]] || COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _zel || true
  local found=${COMPREPLY[*]-}
  [ "$found" = "$2" ] || { echo "completion: '$1' gives '$found', not '$2'" >&2 && failed=1; }
}
complete -p zel | grep -q -- '-F _zel' || { echo "completion: not registered" >&2 && failed=1; }
expect "zel sho" "show"
expect "zel --v" "--version"
expect "zel x" ""
expect "zel show inter" "interrupts interfaces"
expect "zel show --cou" "--count"
expect "zel show --format js" "json"
expect "zel show --format l" "line"
expect "zel list --format " "table json csv"
expect "zel hardware --format " "table json"
expect "zel show --count 1" ""
expect "zel show --rates mem" "memory"
expect "zel list --ra" "--rates"
expect "zel show --root /usr/share/d" "$(compgen -d /usr/share/d | paste -sd ' ')"
[ -n "$(compgen -d /usr/share/d)" ] || { echo "completion: no directories to complete" >&2 && failed=1; }
exit $failed
