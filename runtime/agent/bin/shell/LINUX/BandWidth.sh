#!/bin/sh
# Writes the speed of one interface, in megabits per second, into a file; without a known speed there is no file.
#   BandWidth.sh INTERFACE FILE
# shellcheck source=net_lib.sh
. "${0%/*}/net_lib.sh"

# What was there, if only a pipe, is not written into.
rm -f -- "$2"
if speed=$(speed_of "$1"); then
  echo "$speed" >"$2"
fi
