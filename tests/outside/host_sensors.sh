#!/usr/bin/env bash
# What the machine measures and how it keeps the time, beside lm-sensors, adjtimex as python calls it, and
# systemd-detect-virt. Where the machine has no chips, a tree of some stands in for them in a mount namespace of its own.
#   tests/outside/host_sensors.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel
program=$source/tests/outside/host_sensors.py
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
  echo "skipped: $1"
  exit 77
}
[ -x "$zel" ] || skip "there is no $zel"
command -v python3 >/dev/null || skip "python3 is not installed"

python3 "$program" time "$zel" || exit 1
if command -v systemd-detect-virt >/dev/null; then
  python3 "$program" virtualisation "$zel" || exit 1
else
  echo "systemd-detect-virt is not installed: nothing to compare the virtual machine with"
fi

command -v sensors >/dev/null || skip "sensors is not installed (Debian: apt-get install lm-sensors)"
if [ -e /sys/class/hwmon/hwmon0 ]; then
  echo "the chips of this machine"
  python3 "$program" sensors "$zel" live || exit 1
fi

# Chips of a tree, where those of the machine would be.
python3 "$program" tree "$scratch/tree" || exit 1
# shellcheck disable=SC2016 # for the shell inside
unshare --mount --propagation private bash -c '
  set -e
  mount --bind "$1/tree/sys/devices/platform" /sys/devices/platform
  mount --bind "$1/tree/sys/class" /sys/class' inside "$scratch" 2>/dev/null ||
  skip "a mount namespace with other chips cannot be made here"
# shellcheck disable=SC2016
unshare --mount --propagation private bash -c '
  set -e
  mount --bind "$1/tree/sys/devices/platform" /sys/devices/platform
  mount --bind "$1/tree/sys/class" /sys/class
  exec python3 "$2" sensors "$3" tree' inside "$scratch" "$program" "$(realpath "$zel")"
