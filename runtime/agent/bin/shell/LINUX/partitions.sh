#!/bin/sh
# Prints the disks and partitions of the kernel: "MAJOR MINOR BLOCKS NAME", blocks of one kilobyte.
partitions=${ZEL_HOST_ROOT:-}/proc/partitions
# The reader takes standard error for lines, too.
[ -r "$partitions" ] || exit 1
while read -r major minor blocks name _; do
  case $major$minor$blocks in
  '' | *[!0-9]*) continue ;;
  esac
  echo "$major $minor $blocks $name"
done <"$partitions"
