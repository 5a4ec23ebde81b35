#!/bin/sh
# Starts the command daemon of a scheduler home, once. Its commands run in the working directory of this script.
#   cmd_scd_start.sh HOME
home=${1:?usage: cmd_scd_start.sh HOME}
home=${home%/}
here=${0%/*}
# shellcheck source=cmd_scd_lib.sh
. "$here/cmd_scd_lib.sh"

if daemon_pid "$home" >/dev/null; then
  exit 0
fi
rm -f -- "$home/cmd_scd.pid"
"$here/cmd_scd.sh" "$home" </dev/null >/dev/null 2>&1 &
# Without its pid on record nobody could end it.
echo $! >"$home/cmd_scd.pid" || {
  kill $!
  exit 1
}
