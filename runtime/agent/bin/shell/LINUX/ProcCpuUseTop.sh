#!/bin/sh
# Prints the CPU percent of one process, as the last run of top_info found it.
#   ProcCpuUseTop.sh PID
case $1 in
'' | *[!0-9]*) exit 1 ;;
esac
while read -r pid percent; do
  if [ "$pid" = "$1" ]; then
    echo "$percent"
    exit 0
  fi
done <../aproc/shell/top_info.dat
exit 1
