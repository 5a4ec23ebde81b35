#!/bin/sh
# Ends the command daemon of a scheduler home; a command that it runs is finished first.
#   cmd_scd_stop.sh HOME
home=${1:?usage: cmd_scd_stop.sh HOME}
pid_file=${home%/}/cmd_scd.pid

# A pid file may have outlived its daemon, and the pid may be another program's by now.
running() {
  [ -r "$pid_file" ] && grep -qs cmd_scd.sh "/proc/$(cat "$pid_file")/cmdline"
}

if running; then
  kill "$(cat "$pid_file")"
fi
rm -f -- "$pid_file"
