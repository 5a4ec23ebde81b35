#!/bin/sh
# Writes the name of the newest log file of a day into ../aproc/shell/recentlogfile.dat; without one the file is empty.
#   recentlogfile.sh YYYYMMDD
# ZEL_LOG_DIR names the log directory (default: the working directory).
result=../aproc/shell/recentlogfile.dat
case $1 in
'' | *[!0-9]*) exit 1 ;;
esac

newest=
newest_time=
for file in "${ZEL_LOG_DIR:-.}/$1"_*.log; do
  # Nanoseconds of the last change, for a regular file.
  time=$(stat -c '%A %.9Y' -- "$file" 2>/dev/null) || continue
  case $time in
  -*) time=${time#* } ;;
  *) continue ;;
  esac
  time=${time%.*}${time#*.}
  if [ -z "$newest" ] || [ "$time" -gt "$newest_time" ]; then
    newest=$file
    newest_time=$time
  fi
done
rm -f -- "$result.tmp"
{ [ -z "$newest" ] || echo "${newest##*/}"; } >"$result.tmp" && mv -fT -- "$result.tmp" "$result" && exit 0
rm -f -- "$result.tmp"
exit 1
