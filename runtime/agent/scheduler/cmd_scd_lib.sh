# Functions of the command daemon's scripts; sourced, never run.

# home_path HOME: the one path of a home, however it is written; fails when there is no such directory.
home_path() { CDPATH='' cd -P -- "$1" && pwd -P; }

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
