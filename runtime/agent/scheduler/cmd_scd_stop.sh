#!/bin/sh
# Ends the command daemon of a scheduler home; a command that it runs is finished first.
#   cmd_scd_stop.sh HOME
home=${1:?usage: cmd_scd_stop.sh HOME}
# shellcheck source=cmd_scd_lib.sh
. "${0%/*}/cmd_scd_lib.sh"

home=$(home_path "$home") || exit 1
take_turn "$home" || exit 1
if pid=$(daemon_pid "$home"); then
  kill "$pid"
fi
rm -f -- "$home/cmd_scd.pid"
