#!/bin/sh
# Writes the duplex mode of one interface ("Full", "Half" or "Unknown") into a result file, in one step.
#   NICDuplexInfoLinux.sh INTERFACE TEMPORARY-FILE RESULT-FILE
# shellcheck source=net_lib.sh
. "${0%/*}/net_lib.sh"

duplex=$(duplex_of "$1") || exit 1
rm -f -- "$2"
case $duplex in
full) echo Full ;;
half) echo Half ;;
*) echo Unknown ;;
esac >"$2" && mv -fT -- "$2" "$3"
