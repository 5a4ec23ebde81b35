# Functions of the command daemon's scripts; sourced, never run.

# home_path HOME: the one path of a home, however it is written; fails when there is no such directory.
home_path() { CDPATH='' cd -P -- "$1" && pwd -P; }

# take_lock FILE [OPTION...]: holds the lock of FILE by descriptor 9 until the script ends; fails when a signal comes
# first, or by an option of flock. Who had it may have removed the file at his end: then it is made anew.
take_lock() {
  lock=$1
  shift
  while exec 9>>"$lock"; do
    flock "$@" 9 &
    wait $! || {
      kill $! 2>/dev/null
      return 1
    }
    held=$(stat -Lc %d:%i /dev/fd/9 2>/dev/null)
    [ -n "$held" ] && [ "$held" != "$(stat -c %d:%i -- "$lock" 2>/dev/null)" ] || return 0
  done
}

# take_turn HOME: starts and stops of a home follow one another, within 20 seconds.
take_turn() {
  turn=$1/cmd_scd.turn
  take_lock "$turn" -w 20 || return 1
  trap 'rm -f -- "$turn"' EXIT
}

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
