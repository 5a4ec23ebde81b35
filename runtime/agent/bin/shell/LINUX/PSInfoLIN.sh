#!/bin/sh
# Prints the pid of every process, one per line.
for path in "${ZEL_HOST_ROOT:-}"/proc/[0-9]*; do
  [ -e "$path/stat" ] && echo "${path##*/}"
done
exit 0
