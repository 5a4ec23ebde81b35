#!/bin/sh
# Writes the datastores of a VMware host into a file: "DEVICE TOTAL USED AVAILABLE USAGE MOUNT-POINT", kilobytes and percent.
#   VMWare_FS.sh FILE
result=$1
[ -n "$result" ] || exit 1

datastores() {
  while read -r device mount type _; do
    case $device$type in
    *vmfs*) ;;
    *) continue ;;
    esac
    # A mount table writes blanks as \040; a datastore line has no place for them.
    case $device$mount in
    *\\*) continue ;;
    esac
    case $device in
    *vmfs*) ;;
    *) device=/vmfs/${device#/} ;;
    esac
    df -P -k -- "${ZEL_HOST_ROOT:-}$mount" 2>/dev/null | {
      read -r _
      read -r _ total used available usage _ && echo "$device $total $used $available ${usage%\%} $mount"
    }
  done <"${ZEL_HOST_ROOT:-}/proc/mounts"
  return 0
}

rm -f -- "$result.tmp"
datastores >"$result.tmp" && mv -fT -- "$result.tmp" "$result" && exit 0
rm -f -- "$result.tmp"
exit 1
