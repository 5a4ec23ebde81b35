# Functions of the interface scripts; sourced, never run.
# The speed of an interface is in megabits per second, as /sys/class/net/<if>/speed gives it.

net_dir=${ZEL_HOST_ROOT:-}/sys/class/net

# safe_name NAME: true for a name of letters, digits and ._-:@ only. Others may hold anything and are passed over.
safe_name() {
  case $1 in
  '' | . | .. | *[!A-Za-z0-9._:@-]*) return 1 ;;
  esac
}

# interfaces: the name of every interface but the loopback, one per line. The directory also holds files of drivers
# (bonding_masters), which have no index.
interfaces() {
  for path in "$net_dir"/*; do
    name=${path##*/}
    [ -e "$path/ifindex" ] && [ "$name" != lo ] && safe_name "$name" && printf '%s\n' "$name"
  done
  return 0
}

# speed_of NAME: megabits per second; nothing when the link is down or has no speed.
speed_of() {
  safe_name "$1" || return 1
  speed=$(cat "$net_dir/$1/speed" 2>/dev/null) || return 1
  case $speed in
  '' | *[!0-9]* | 0 | 4294967295) return 1 ;;
  esac
  echo "$speed"
}

# duplex_of NAME: full, half or unknown.
duplex_of() {
  safe_name "$1" || return 1
  duplex=$(cat "$net_dir/$1/duplex" 2>/dev/null)
  case $duplex in
  full | half) echo "$duplex" ;;
  *) echo unknown ;;
  esac
}
