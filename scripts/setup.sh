#!/usr/bin/env bash
# Installs the Debian packages that a task needs and this machine lacks; does nothing when none is missing.
#   scripts/setup.sh build|test|bench|fuzz|package
set -euo pipefail

task=${1:?usage: scripts/setup.sh build|test|bench|fuzz|package}

# package file-that-shows-it-is-there
build="g++ /usr/bin/g++
cmake /usr/bin/cmake
make /usr/bin/make
ninja-build /usr/bin/ninja
pkg-config /usr/bin/pkg-config
libtirpc-dev /usr/include/tirpc/rpc/rpc.h
libtirpc-common /etc/netconfig
libcli11-dev /usr/include/CLI/CLI.hpp
nlohmann-json3-dev /usr/include/nlohmann/json.hpp
libtomlplusplus-dev /usr/include/toml++/toml.h
libgnutls28-dev /usr/include/gnutls/gnutls.h
libsystemd-dev /usr/include/systemd/sd-bus.h
libmicrohttpd-dev /usr/include/microhttpd.h
zlib1g-dev /usr/include/zlib.h
libzstd-dev /usr/include/zstd.h"
test="$build
libgtest-dev /usr/include/gtest/gtest.h
libgmock-dev /usr/include/gmock/gmock.h
clang-format /usr/bin/clang-format
clang-tidy /usr/bin/clang-tidy
shellcheck /usr/bin/shellcheck
iproute2 /usr/sbin/ip
rpcbind /usr/sbin/rpcbind
procps /usr/bin/ps
python3 /usr/bin/python3
sysstat /usr/bin/iostat
lm-sensors /usr/bin/sensors
nfs-common /usr/sbin/mountstats
groff-base /usr/bin/groff
dpkg-dev /usr/bin/dpkg-shlibdeps
file /usr/bin/file
dmidecode /usr/sbin/dmidecode
btrfs-progs /usr/bin/btrfs
xfsprogs /usr/sbin/mkfs.xfs
pciutils /usr/bin/lspci
pci.ids /usr/share/misc/pci.ids
ethtool /usr/sbin/ethtool
prometheus-node-exporter /usr/bin/prometheus-node-exporter
prometheus /usr/bin/promtool
python3-prometheus-client /usr/lib/python3/dist-packages/prometheus_client
curl /usr/bin/curl
openssl /usr/bin/openssl
zstd /usr/bin/zstd
systemd /usr/lib/systemd/systemd
dbus-daemon /usr/bin/dbus-daemon
lintian /usr/bin/lintian"
package="$build
dpkg-dev /usr/bin/dpkg-shlibdeps
file /usr/bin/file
lintian /usr/bin/lintian"
bench="$build
libbenchmark-dev /usr/include/benchmark/benchmark.h
iproute2 /usr/bin/ip"
fuzz="$build
clang /usr/bin/clang++
libclang-rt-14-dev /usr/lib/llvm-14/lib/clang/14.0.6/include/fuzzer/FuzzedDataProvider.h"

case $task in
build) wanted=$build ;;
test) wanted=$test ;;
bench) wanted=$bench ;;
fuzz) wanted=$fuzz ;;
package) wanted=$package ;;
*) echo "setup: no task '$task'" >&2 && exit 2 ;;
esac

missing=()
while read -r package file; do
  [ -e "$file" ] || [ -e "/${file#/usr/}" ] || missing+=("$package")
done <<<"$wanted"
[ ${#missing[@]} -gt 0 ] || exit 0

install="apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
if ! command -v apt-get >/dev/null; then
  echo "setup: '$task' needs what this machine lacks: ${missing[*]} (Debian's package names)." >&2
  echo "setup: there is no apt-get here; install their equivalents by hand and start again." >&2
  exit 1
fi
if [ "$(id -u)" -ne 0 ]; then
  echo "setup: '$task' needs what this machine lacks: ${missing[*]}. Installing it takes root:" >&2
  echo "  sudo sh -c '$install'" >&2
  exit 1
fi

echo "setup: installing what '$task' needs and this machine lacks: ${missing[*]} (a minute or two)"
log=$(mktemp)
if ! DEBIAN_FRONTEND=noninteractive sh -c "$install" >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "setup: the installation failed; its whole output is in $log. The command was:" >&2
  echo "  $install" >&2
  exit 1
fi
rm -f "$log"
