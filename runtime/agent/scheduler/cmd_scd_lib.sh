# Functions of the command daemon's scripts; sourced, never run.

# daemon_pid HOME: the pid of the daemon that runs for HOME; fails when there is none. A pid file may have outlived its
# daemon, and the pid may be another program's by now.
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
