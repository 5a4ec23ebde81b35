# shellcheck shell=bash
# shellcheck disable=SC2016,SC2154
# The package of the tool in a root of its own: what it brings, what an upgrade keeps, and what its scripts ask systemd
# for. Part of packages.sh, whose functions and names it uses.

settings=$root/etc/zel/zel.toml
wanted=etc/systemd/system/multi-user.target.wants/zel.service

# A package as the next version would be: other settings, the same program.
newer_package() {
  dpkg-deb --raw-extract "${packages[3]}" "$scratch/newer"
  sed -i 's/^Version: .*/Version: 9.0-1/' "$scratch/newer/DEBIAN/control"
  echo "# What the next version says." >>"$scratch/newer/etc/zel/zel.toml"
  dpkg-deb --build -Znone --root-owner-group "$scratch/newer" "$scratch/newer.deb" >/dev/null
}

# calls SCRIPT ARGUMENTS: what a script of the package asks a running systemd for.
calls() {
  local script=$1
  shift
  : >"$scratch/calls"
  CALLS=$scratch/calls PATH=$scratch/systemd:$PATH unshare --mount bash -euc '
    mount -t tmpfs tmpfs /run
    mkdir -p /run/systemd/system
    script=$1
    shift
    sh "$script" "$@"' - "$scratch/control/$script" "$@"
  paste -sd, "$scratch/calls"
}

# expect_calls SCRIPT ARGUMENTS EXPECTED
expect_calls() {
  local found
  found=$(calls "${@:1:$#-1}")
  [ "$found" = "${*: -1}" ] || fail "${*:1:$#-1} asks for '$found', not '${*: -1}'"
}

scripts_with_systemd() {
  local command
  if ! unshare --mount mount -t tmpfs tmpfs /run 2>/dev/null; then
    echo "packages: the scripts are not tried with systemd: no mounts are allowed here"
    return
  fi
  dpkg-deb --control "${packages[3]}" "$scratch/control"
  mkdir "$scratch/systemd"
  for command in systemctl deb-systemd-invoke deb-systemd-helper; do
    # Answers of deb-systemd-helper: what nobody has enabled is not enabled.
    printf '#!/bin/sh\necho "%s $*" >>"$CALLS"\ncase "$*" in *was-enabled*) exit 1 ;; esac\n' $command \
      >"$scratch/systemd/$command"
    chmod +x "$scratch/systemd/$command"
  done
  local known="deb-systemd-helper debian-installed zel.service,deb-systemd-helper unmask zel.service"
  known+=",deb-systemd-helper --quiet was-enabled zel.service,deb-systemd-helper update-state zel.service"
  expect_calls postinst configure "" "$known,systemctl --system daemon-reload"
  expect_calls postinst configure 1.0.0-1 "$known,systemctl --system daemon-reload,deb-systemd-invoke try-restart zel.service"
  expect_calls prerm upgrade 9.0-1 ""
  expect_calls prerm remove "deb-systemd-invoke stop zel.service"
  expect_calls postrm remove "systemctl --system daemon-reload"
  expect_calls postrm upgrade 9.0-1 ""
}

expect_removed_tool() {
  [ -s "$settings" ] || fail "removal took the settings along"
  [ ! -e "$root/usr/bin/zel" ] || fail "removal leaves the tool behind"
}

echo "the tool and its service"
[ "$(chroot "$root" /usr/bin/zel --version)" = "$("$build/bin/zel" --version)" ] || fail "the installed tool has another version"
chroot "$root" /usr/bin/zel check >"$scratch/plan" || fail "the installed settings are wrong: $(cat "$scratch/plan")"
grep -q 'listens on 127.0.0.1:9100: only programs of this machine' "$scratch/plan" || fail "as installed: $(cat "$scratch/plan")"
[ ! -e "$root/$wanted" ] || fail "the installation enables the service"
[ "$(find "$root/usr/share/doc/zel/examples" -name 'host.*' | wc -l)" = 3 ] || fail "the examples are incomplete"
for page in man1/zel man1/zel-show man1/zel-list man1/zel-hardware man1/zel-serve man1/zel-check man5/zel.toml; do
  [ -s "$root/usr/share/man/$page.${page:3:1}.gz" ] || fail "there is no manual page $page"
done
program=$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$(find "$root" -name zel.service)")
[ -x "$root$program" ] || fail "the service starts '$program', which is not installed"

# The administrator enables the service and changes its settings: an upgrade leaves both alone.
DPKG_ROOT=$root DPKG_MAINTSCRIPT_PACKAGE=zel deb-systemd-helper enable zel.service
[ -L "$root/$wanted" ] || fail "the service cannot be enabled"
newer_package
echo "# What the administrator says." >>"$settings"
in_root --force-confold --install "$scratch/newer.deb"
[ "$(dpkg-query --admindir="$root/var/lib/dpkg" --show --showformat='${Status} ${Version}' zel)" = "install ok installed 9.0-1" ] ||
  fail "the upgrade is not complete"
grep -q 'administrator says' "$settings" || fail "the upgrade has overwritten the settings"
grep -q 'next version says' "$settings.dpkg-dist" || fail "the upgrade has not brought the new settings beside the old ones"
[ -L "$root/$wanted" ] || fail "the upgrade has disabled the service"
scripts_with_systemd
