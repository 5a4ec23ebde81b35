#!/bin/sh
# Has the disk inventory written to ../aproc/shell/DiskINVStrInfo.dat.
#   libinvdiskexe.sh 2 NUMBER
exec ../../utils/ETC/ShCmd 600 ./libinvinfo "${1:-2}" "${2:-1}"
