#!/bin/sh
# The command daemon: runs what is saved as shcmd_KEY.cmd in its home, one command after another, and removes the file.
# Started by cmd_scd_start.sh.
#
# A command file is a shell line that is run with the daemon's rights, so only regular files that belong to the daemon's
# user and that nobody else may write are run; others are left alone.
home=${1:?usage: cmd_scd.sh HOME}
cd "$home" || exit 1
stop=0
trap 'stop=1' TERM INT

# trusted FILE: a regular file of ours that only we may write.
trusted() {
  [ -n "$(find "$1" -prune -type f -user "$(id -u)" ! -perm -020 ! -perm -002 2>/dev/null)" ]
}

while [ $stop -eq 0 ]; do
  for file in shcmd_*.cmd; do
    [ $stop -eq 0 ] || break
    trusted "$file" || continue
    mv -f -- "$file" "$file.run" || continue
    sh "./$file.run"
    rm -f -- "$file.run"
  done
  sleep 1 &
  wait $!
done
