# Functions of the command daemon's scripts; sourced, never run.

# home_path HOME: the one path of a home, however it is written; fails when there is no such directory.
home_path() { CDPATH='' cd -P -- "$1" && pwd -P; }

# take_turn HOME: starts and stops of a home follow one another. The turn is a lock on the directory itself, held by
# descriptor 8 until the script ends; fails when it does not come within 20 seconds.
take_turn() { exec 8<"$1" && flock -w 20 8; }

# daemon_pid HOME: the pid of the daemon that runs for HOME, a path of home_path; fails when there is none. A pid file may
# have outlived its daemon, and the pid may be another program's by now.
daemon_pid() {
  [ -f "$1/cmd_scd.pid" ] && read -r pid <"$1/cmd_scd.pid" || return 1
  case $pid in
  '' | *[!0-9]*) return 1 ;;
  esac
  case $({ tr '\0' ' ' <"/proc/$pid/cmdline"; } 2>/dev/null) in
  *"/cmd_scd.sh $1 ") echo "$pid" ;;
  *) return 1 ;;
  esac
}
