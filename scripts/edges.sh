#!/usr/bin/env bash
# The includes of the libraries as edges between rooms: one line "FROM TO FILE INCLUDED" each, edges within a room left out.
# A room is a folder below LIB/ or libzel/; host/, export/, history/ and zel/ are one room each. A public header belongs to
# the room of the source of its name; what has no source of its own is listed below.
#   scripts/edges.sh [--rooms]        --rooms: only "FROM TO", each once
set -euo pipefail
cd "$(dirname "$0")/.."

git ls-files --cached --others --exclude-standard -- 'LIB/*.h' 'LIB/*.cpp' 'libzel/*.h' 'libzel/*.cpp' \
  'host/*.h' 'host/*.cpp' 'export/*.h' 'export/*.cpp' 'history/*.h' 'history/*.cpp' 'zel/*.h' 'zel/*.cpp' |
  while read -r file; do [ ! -e "$file" ] || printf '%s\n' "$file"; done | awk -v rooms="${1:-}" '
  function stem(path) { sub(/.*\//, "", path); sub(/\.[a-z]+$/, "", path); return path }
  function folder(path) { sub(/\/[^\/]*$/, "", path); return path }
  function room(path) {
    if (path !~ /^(LIB|libzel)\/[^\/]*$/)
      return path ~ /^(LIB|libzel)\// ? folder(path) : substr(path, 1, index(path, "/") - 1)
    return path in placed ? placed[path] : (path ~ /\.h$/ && stem(path) in source ? source[stem(path)] : folder(path))
  }
  BEGIN {
    placed["LIB/Queue.h"] = "LIB/containers"
    placed["libzel/NamedList.h"] = "libzel/records"
    placed["libzel/Settings.h"] = placed["libzel/Settings.cpp"] = "libzel/kernel"
    placed["libzel/ConsoleReport.h"] = "libzel/report"
    placed["libzel/HardwareConfig.h"] = "libzel/hardware"
    placed["libzel/Zel.h"] = placed["libzel/main.cpp"] = "main"
  }
  {
    files[++count] = $0
    known[$0] = 1
    if ($0 ~ /^(LIB|libzel)\/.*\/.*\.cpp$/)
      source[stem($0)] = folder($0)
  }
  END {
    for (i = 1; i <= count; ++i)
      while ((getline line < files[i]) > 0) {
        if (line !~ /^#include "/)
          continue
        split(line, quoted, "\"")
        included = ""
        split("LIB/ libzel/", places, " ")
        for (p = 1; p <= 2; ++p)
          if ((places[p] quoted[2]) in known)
            included = places[p] quoted[2]
        if (included == "" && quoted[2] in known)
          included = quoted[2]
        if (included == "" || room(files[i]) == room(included))
          continue
        if (rooms == "")
          print room(files[i]), room(included), files[i], included
        else if (!seen[room(files[i]) " " room(included)]++)
          print room(files[i]), room(included)
      }
  }' | sort
