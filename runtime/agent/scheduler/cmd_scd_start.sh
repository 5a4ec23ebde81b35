#!/bin/sh
# Starts the command daemon of a scheduler home, once.
#   cmd_scd_start.sh HOME
home=${1:?usage: cmd_scd_start.sh HOME}
home=${home%/}
pid_file=$home/cmd_scd.pid
here=${0%/*}

# A pid file may have outlived its daemon, and the pid may be another program's by now.
running() {
  [ -r "$pid_file" ] && grep -qs cmd_scd.sh "/proc/$(cat "$pid_file")/cmdline"
}

if running; then
  exit 0
fi
"$here/cmd_scd.sh" "$home" </dev/null >/dev/null 2>&1 &
echo $! >"$pid_file"
