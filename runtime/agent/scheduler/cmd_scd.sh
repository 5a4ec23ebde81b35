#!/bin/sh
# The command daemon: runs what is saved as shcmd_KEY.cmd in its home, one command after another, in the working
# directory in which it was started, and removes the file. Started by cmd_scd_start.sh; ends with its home.
#
# A command file is a shell line that is run with the daemon's rights, so only regular files that belong to the daemon's
# user and that nobody else may write are run; others are left alone. So is an empty one: its command is being written.
#
# One daemon works for a home at a time: the one that holds the lock. What the daemon starts does not get its
# descriptor, so that the lock ends with the daemon.
home=${1:?usage: cmd_scd.sh HOME}
# shellcheck source=cmd_scd_lib.sh
. "${0%/*}/cmd_scd_lib.sh"
user=$(id -u)
stop=0
trap 'stop=1' TERM INT

# trusted FILE: a regular file of ours that only we may write, and not empty.
trusted() {
  case $(stat -c %A:%u:%s -- "$1" 2>/dev/null) in
  -????[!w]??[!w]?:"$user":[1-9]*) return 0 ;;
  *) return 1 ;;
  esac
}

# A former daemon may still be at its last command.
take_lock "$home/cmd_scd.lock" || exit 1

# What a daemon that was killed had begun is not begun again.
rm -f -- "$home"/shcmd_*.cmd.run

while [ $stop -eq 0 ] && [ -d "$home" ]; do
  for file in "$home"/shcmd_*.cmd; do
    [ $stop -eq 0 ] || break
    trusted "$file" || continue
    mv -fT -- "$file" "$file.run" || continue
    /bin/sh "$file.run" 9>&-
    rm -f -- "$file.run"
  done
  sleep 1 9>&- &
  wait $! || kill $!
done
rm -f -- "$home/cmd_scd.lock"
