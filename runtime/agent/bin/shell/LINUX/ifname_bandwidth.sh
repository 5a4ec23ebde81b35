#!/bin/sh
# Prints "NAME SPEED" for every interface with a known speed, in kilobits per second.
# shellcheck source=net_lib.sh
. "${0%/*}/net_lib.sh"

interfaces | while IFS= read -r name; do
  speed=$(speed_of "$name") && echo "$name $((speed * 1000))"
done
exit 0
