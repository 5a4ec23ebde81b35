#!/bin/sh
# Prints "TORVSC|NAME|SPEED|DUPLEX" for every interface with a known speed: kilobits per second; 1 half duplex, 2 full
# duplex, 0 unknown.
# shellcheck source=net_lib.sh
. "${0%/*}/net_lib.sh"

interfaces | while IFS= read -r name; do
  speed=$(speed_of "$name") || continue
  case $(duplex_of "$name") in
  full) duplex=2 ;;
  half) duplex=1 ;;
  *) duplex=0 ;;
  esac
  echo "TORVSC|$name|$((speed * 1000))|$duplex"
done
exit 0
