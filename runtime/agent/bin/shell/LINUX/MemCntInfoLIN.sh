#!/bin/sh
# Writes the size of every memory module, in megabytes, one per line, into ../aproc/shell/MemCntInfo.dat.
#
# The firmware's module records (DMI type 17) are readable by root only; for others, and without firmware records, the
# memory controllers of the kernel's EDAC drivers are asked. A host that tells neither gets an empty file.
root=${ZEL_HOST_ROOT:-}
result=../aproc/shell/MemCntInfo.dat

# word FILE OFFSET BYTES: an unsigned little-endian number of a binary file.
word() {
  value=0
  scale=1
  for byte in $(od -An -v -t u1 -j "$2" -N "$3" "$1" 2>/dev/null); do
    value=$((value + byte * scale))
    scale=$((scale * 256))
  done
  echo $value
}

# dmi_size FILE: megabytes of the module of one record; 0 for an empty slot.
dmi_size() {
  size=$(word "$1" 12 2)
  case $size in
  0 | 65535) echo 0 ;;
  32767) echo $(($(word "$1" 28 4) & 2147483647)) ;;
  *)
    if [ $((size & 32768)) -ne 0 ]; then
      echo $(((size & 32767) / 1024))
    else
      echo "$size"
    fi
    ;;
  esac
}

module_sizes() {
  found=0
  for record in "$root"/sys/firmware/dmi/entries/17-*/raw; do
    [ -r "$record" ] || continue
    found=1
    dmi_size "$record"
  done
  [ $found -eq 0 ] || return 0
  for size in "$root"/sys/devices/system/edac/mc/mc*/dimm*/size "$root"/sys/devices/system/edac/mc/mc*/rank*/size; do
    [ -r "$size" ] && cat "$size"
  done
  return 0
}

rm -f -- "$result.tmp"
module_sizes >"$result.tmp" && mv -fT -- "$result.tmp" "$result" && exit 0
rm -f -- "$result.tmp"
exit 1
