#!/usr/bin/env bash
# Makes the Debian packages, reads their control data, installs them into a root of their own, runs the driver and the tool
# there, upgrades the tool, and removes all of them again.
#   packages.sh BUILD [DIRECTORY]      DIRECTORY keeps the packages, and lintian looks at all of them
set -euo pipefail
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
directory=${2:-$scratch}
root=$scratch/root

skipped=
fail() {
  echo "packages: $*" >&2
  exit 1
}

skip() {
  echo "packages: skipped, $*"
  exit 77
}
# ends: all passed that could be tried.
ends() {
  [ -z "$skipped" ] || skip "all but this passes: $skipped"
  exit 0
}
for tool in cpack dpkg dpkg-shlibdeps file; do
  command -v "$tool" >/dev/null || skip "$tool is not installed (Debian: cmake, dpkg-dev, file)"
done
[ -w "$build" ] || skip "the build belongs to somebody else: CPack writes its lists of files there"
[ -e "$build/CPackConfig.cmake" ] || skip "the build is not configured for packages, as the preset \"package\" is"
cpack --config "$build/CPackConfig.cmake" -B "$directory" >"$scratch/cpack.log" 2>&1 || fail "$(cat "$scratch/cpack.log")"
! grep -i 'warning' "$scratch/cpack.log" >&2 || fail "CPack warns"
packages=("$directory"/libzel1_*.deb "$directory"/libzel-dev_*.deb "$directory"/zelinfo_*.deb "$directory"/zel_*.deb)

echo "control data"
field() { dpkg-deb --field "$directory/$1"_*.deb "$2"; }
for package in libzel1 zelinfo zel; do
  grep -q 'libc6 (>=' <<<"$(field $package Depends)" || fail "$package does not depend on the C library"
done
version=$(field libzel1 Version)
for package in libzel-dev zelinfo; do
  grep -qF "libzel1 (= $version)" <<<"$(field $package Depends)" || fail "$package does not depend on its library"
done

if command -v lintian >/dev/null; then
  echo "lintian"
  # Only uploads to Debian itself close a report of theirs. The archives of the library take it long.
  checked=("${packages[3]}")
  [ $# -lt 2 ] || checked=("${packages[@]}")
  [ "$(id -u)" -ne 0 ] || set -- --allow-root
  lintian --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "$@" "${checked[@]}"
else
  skipped="its check by lintian, which is not installed (scripts/setup.sh package installs it)"
fi

if [ "$(id -u)" -ne 0 ]; then
  echo "not root: the packages are unpacked, not installed"
  for package in "${packages[@]}"; do
    dpkg-deb --extract "$package" "$root"
  done
  libraries=$(dirname "$(find "$root/usr/lib" -name libzel.so.1)")
  grep -q '^Usage:' <<<"$(LD_LIBRARY_PATH=$libraries "$root/usr/bin/libzelinfo" 2>&1)"
  ends
fi

# A root with the system libraries, env and a few kernel files, but no shell and no package of Debian's.
mkdir -p "$root"/var/lib/dpkg/{info,updates,triggers} "$root"/{proc,etc/systemd/system,var/lib/systemd}
touch "$root"/var/lib/dpkg/{status,available}
cp /proc/loadavg /proc/cpuinfo "$root/proc/"
for file in /usr/bin/env $(ldd "$build/bin/libzelinfo" "$build/bin/zel" | grep -o '/[^ ]*' | grep -v "^$build"); do
  install -D "$file" "$root$file"
done
# Scripts of packages run outside the root: the linker's cache of this machine is not theirs.
mkdir "$scratch/bin"
ln -s /bin/true "$scratch/bin/ldconfig"
in_root() {
  PATH=$scratch/bin:$PATH dpkg --root="$root" --force-depends --force-script-chrootless --log=/dev/null "$@" >"$scratch/dpkg.log" 2>&1 ||
    fail "$(cat "$scratch/dpkg.log")"
}
files() { (cd "$root" && find . -path ./var/lib/dpkg -prune -o -print | sort); }
files >"$scratch/before"

echo "installation"
in_root --install "${packages[@]}"

echo "the driver and its home"
libraries=$(cd "$root" && dirname "$(find usr/lib -name libzel.so.1)")
export LD_LIBRARY_PATH=/$libraries
at_home() { chroot "$root" /usr/bin/env -C /usr/libexec/zel/home/agent/bin ../../utils/ETC/ShCmd 30 "$@"; }
at_home ./libzelinfo 2 0 2 2>&1 | grep -c ' 1Min: ' | grep -qx 2
inventory=$root/var/lib/zel/aproc/shell/CpuINVStrInfo.dat
at_home ./libinvinfo 1 1
grep -q '^TORVCPU|' "$inventory"

# shellcheck source=tests/outside/packages_tool.sh
. "$(dirname "$0")/packages_tool.sh"

echo "removal"
in_root --remove zelinfo libzel-dev libzel1 zel
expect_removed_tool
[ -s "$inventory" ] || fail "removal took the inventory along"
kept=$root/var/lib/zel/hardware.json
echo "{}" >"$kept"
in_root --purge zelinfo libzel-dev libzel1 zel
[ ! -e "$inventory" ] || fail "the purge leaves what the collectors wrote"
[ -s "$kept" ] || fail "the purge took a file of the administrator along"
rm -r "$(dirname "$kept")"
files | diff "$scratch/before" - >&2 || fail "files stay behind"
ends
