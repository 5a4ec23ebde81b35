#!/bin/sh
# Writes the name of the newest log file of a day into ../aproc/shell/recentlogfile.dat; without one the file is empty.
#   recentlogfile.sh YYYYMMDD
# ZEL_LOG_DIR names the log directory (default: the working directory).
result=../aproc/shell/recentlogfile.dat
case $1 in
'' | *[!0-9]*) exit 1 ;;
esac

newest=
for file in "${ZEL_LOG_DIR:-.}/$1"_*.log; do
  [ -f "$file" ] || continue
  if [ -z "$newest" ] || [ -n "$(find "$file" -prune -newer "$newest")" ]; then
    newest=$file
  fi
done
{ [ -z "$newest" ] || echo "${newest##*/}"; } >"$result.tmp" && mv -f "$result.tmp" "$result"
