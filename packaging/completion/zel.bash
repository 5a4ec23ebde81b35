# shellcheck shell=bash
# Completion of the tool zel for bash. Commands, options and areas are asked of the tool, whose help always has them.

# _zel_words PART [COMMAND]: the commands, options or areas that a help has.
_zel_words() {
  zel ${2:+"$2"} --help 2>/dev/null | awk -v part="$1" '
    /^[a-z]/ { here = $1; next }
    part == "commands" && /^  [a-z]/ && here ~ /^(zel:|usage:)/ { print $1 }
    part == "options" && /^  --[a-z]/ && here == "options" { print $1 }
    part == "areas" && /^  [a-z]/ && here ~ /^(areas|parts)$/ { for (i = 1; i <= NF; i++) print $i }'
}

# _zel_placeholder COMMAND OPTION: what follows the option, "DIR"; empty when nothing does.
_zel_placeholder() {
  zel "$1" --help 2>/dev/null | awk -v option="$2" '$1 == option && $2 ~ /^[A-Z]+$/ { print $2; exit }'
}

# _zel_formats COMMAND: those that the message about a wrong one lists.
_zel_formats() {
  zel "$1" --format '?' 2>&1 | sed -n 's/.*(formats: \(.*\))$/\1/p' | tr -d ,
}

# Complete by names of files, or of directories with -d.
_zel_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
}

_zel() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_zel_words commands) --help --version" -- "$word")
    return
  fi
  if [[ $before == --* ]]; then
    case $(_zel_placeholder "$command" "$before") in
    '') ;;
    DIR) _zel_files -d "$word" && return ;;
    FILE) _zel_files -f "$word" && return ;;
    FORMAT) mapfile -t COMPREPLY < <(compgen -W "$(_zel_formats "$command")" -- "$word") && return ;;
    *) return ;;
    esac
  fi
  words=$(_zel_words areas "$command")
  [[ $word != -* ]] || words=$(_zel_words options "$command")
  if [ -z "$words" ]; then
    _zel_files -f "$word"
    return
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -F _zel zel
