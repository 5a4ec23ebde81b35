#!/usr/bin/env bash
# Compares the families node_systemd_* of this tree with those of Debian's prometheus-node-exporter, value by value, on a real
# systemd: one of a user, with units of its own, in namespaces where its bus is that of the system. Nothing outside sees it.
#   metrics_systemd.sh SOURCE BUILD
set -euo pipefail
source=$1
build=$2
peer=prometheus-node-exporter

skip() {
  echo "metrics_systemd: skipped, $*"
  exit 77
}

# The units, in the namespaces: one of each state, and names and kinds that are easily wrong.
unit() {
  printf '[Unit]\nDefaultDependencies=no\n%b\n' "$2" >"$SYSTEMD_UNIT_PATH/$1"
}
units() {
  unit default.target 'Wants=dbus.service good.service bad.service slow.service reloads.service stops.service odd\\x2dname.service \\
missing.service masked.service tick.timer never.timer hello.socket'
  unit dbus.socket '[Socket]\nListenStream=%t/bus'
  unit dbus.service "Requires=dbus.socket\n[Service]\nType=notify\nExecStart=$(command -v dbus-daemon) --config-file=/run/bus.conf \
--address=systemd: --nofork --nopidfile --systemd-activation"
  unit good.service '[Service]\nExecStart=/bin/sleep 100'
  unit bad.service '[Service]\nExecStart=/bin/false'
  unit slow.service '[Service]\nType=oneshot\nExecStart=/bin/sleep 100'
  unit reloads.service '[Service]\nExecStart=/bin/sleep 100\nExecReload=/bin/sleep 100'
  unit stops.service '[Service]\nExecStart=/bin/sleep 100\nExecStop=/bin/sleep 100'
  unit 'odd\x2dname.service' '[Service]\nType=exec\nExecStart=/bin/sleep 100'
  unit tick.service '[Service]\nType=oneshot\nExecStart=/bin/true'
  unit tick.timer '[Timer]\nOnActiveSec=1ms\nAccuracySec=1ms'
  unit never.timer '[Timer]\nUnit=tick.service\nOnActiveSec=1day'
  unit hello.socket '[Socket]\nListenStream=%t/hello\nAccept=yes\nMaxConnections=2'
  unit hello@.service '[Service]\nExecStart=/bin/sleep 100\nStandardInput=socket'
  ln -s /dev/null "$SYSTEMD_UNIT_PATH/masked.service"
}

if [ "${3:-}" = inside ]; then
  mount -t cgroup2 none /sys/fs/cgroup || skip "control groups of version 2 cannot be mounted"
  mount -t tmpfs none /run
  mkdir -p /run/systemd/system /run/units /run/home
  mkdir -m 700 /run/user
  export XDG_RUNTIME_DIR=/run/user HOME=/run/home SYSTEMD_UNIT_PATH=/run/units LC_ALL=C.UTF-8
  export DBUS_SYSTEM_BUS_ADDRESS=unix:path=/run/user/bus DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/bus
  cat >/run/bus.conf <<'END'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:path=/run/user/bus</listen><auth>EXTERNAL</auth><policy context="default">
<allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy></busconfig>
END
  units
  /usr/lib/systemd/systemd --user >/run/systemd.log 2>&1 &
  exec python3 "$source/tests/outside/metrics_systemd.py" "$build/bin/zel" $peer $! /run/systemd.log
fi

[ -x "$build/bin/zel" ] || skip "$build/bin/zel is not built"
[ -x /usr/lib/systemd/systemd ] || skip "systemd is not installed (Debian: apt-get install systemd)"
for tool in python3 dbus-daemon $peer unshare; do
  command -v "$tool" >/dev/null || skip "$tool is not installed (Debian: apt-get install python3 dbus-daemon $peer util-linux)"
done
[[ $(ldd "$build/bin/zel") == *libsystemd* ]] || skip "this zel is built without libsystemd (Debian: apt-get install libsystemd-dev)"
groups=$(awk '$3 == "cgroup2" { print $2; exit }' /proc/mounts)
own=$groups/zel-systemd-$$
if [ -z "$groups" ] || ! mkdir "$own" 2>/dev/null; then
  skip "no control group of version 2 can be made: that takes root"
fi

# The processes of a namespace that has ended take a moment to leave.
trap 'for _ in 1 2 3 4 5; do find "$own" -depth -type d -exec rmdir {} + 2>/dev/null && break; sleep 0.1; done' EXIT
status=0
(
  echo "$BASHPID" >"$own/cgroup.procs" || skip "a process cannot be moved into a control group"
  unshare --cgroup --mount --propagation private --pid --fork --mount-proc --kill-child true || skip "namespaces take root"
  exec unshare --cgroup --mount --propagation private --pid --fork --mount-proc --kill-child "$0" "$source" "$build" inside
) || status=$?
exit $status
