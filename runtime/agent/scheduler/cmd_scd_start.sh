#!/bin/sh
# Starts the command daemon of a scheduler home, once. Its commands run in the working directory of this script.
#   cmd_scd_start.sh HOME
home=${1:?usage: cmd_scd_start.sh HOME}
here=${0%/*}
# shellcheck source=cmd_scd_lib.sh
. "$here/cmd_scd_lib.sh"

home=$(home_path "$home") || exit 1
take_turn "$home" || exit 1
if daemon_pid "$home" >/dev/null; then
  exit 0
fi
rm -f -- "$home/cmd_scd.pid"
"$here/cmd_scd.sh" "$home" </dev/null >/dev/null 2>&1 9>&- &
# Without its pid on record nobody could end it.
echo $! >"$home/cmd_scd.pid" || {
  kill $!
  exit 1
}
# A stop that follows at once must find it: the daemon is there when its command line is.
for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
  daemon_pid "$home" >/dev/null && exit 0
  sleep 0.05
done
exit 1
