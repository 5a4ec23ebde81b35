#!/usr/bin/env bash
# Makes the seeds of the fuzz targets from the fixtures: DIRECTORY/TARGET/NAME, with the checked-in ones of fuzz/corpus.
#   scripts/fuzz_seeds.sh DIRECTORY
# A seed is the option bytes of its target (see the target), then its pieces with a file separator (0x1C) between them.
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:?usage: scripts/fuzz_seeds.sh DIRECTORY}
fixtures=tests/fixtures
absent='\035' # a file that does not exist

# seed TARGET NAME OPTIONS PIECE...: a piece is @FILE of the fixtures, or a text with the escapes of printf.
seed() {
  local target=$1 name=$2 options=$3 piece separator=''
  shift 3
  mkdir -p "$out/$target"
  {
    printf '%b' "$options"
    for piece; do
      printf '%b' "$separator"
      separator='\034'
      case $piece in
      @*) cat "$fixtures/${piece#@}" ;;
      *) printf '%b' "$piece" ;;
      esac
    done
  } >"$out/$target/$name"
}

# lines TARGET NAME FILE: every line of the fixture as a piece.
lines() {
  mkdir -p "$out/$1"
  tr '\n' '\034' <"$fixtures/$3" >"$out/$1/$2"
}

for kernel in linux-2.4.20 linux-2.6.18 linux-5.10 linux-6.1.0; do
  a=@$kernel/t0/proc b=@$kernel/t1/proc
  vmstat=$a/vmstat newer=$b/vmstat
  [ -e "$fixtures/${vmstat#@}" ] || { vmstat=$absent newer=$absent; }
  for options in '\000' '\001' '\002' '\004'; do
    seed cpu_fuzz "$kernel-${options#\\}" "$options" "$a/stat" "$b/stat" "$b/stat" '4\n' 'TORVCPU|cpu inventory\n'
  done
  for options in '\000' '\002' '\003'; do
    seed system_files_fuzz "$kernel-${options#\\}" "$options" "$a/stat" "$vmstat" "$a/loadavg" \
      '17 (sh) S 1 2 3 4 5 4194304 7 8 9 10 11\n' "$b/stat" "$newer" "$b/loadavg" '17 (sh) S 1 2 3 4 5 6 77 8 99 10\n'
  done
  for options in '\007' '\017' '\060'; do
    seed memory_fuzz "$kernel-${options#\\}" "$options" key "$b/meminfo" "$newer" "$b/stat" '67584\n' \
      '8192\n8192\n-1\n0\n' '12\n'
  done
done

scheduled='cpu0 0 0 0 0 0 0 5604425267399685 846739098984101'
for kernel in linux-5.10 linux-6.1.0 linux-6.18; do
  a=@$kernel/t0/proc b=@$kernel/t1/proc
  seed host_cpu_fuzz $kernel '' "$a/stat" '0-1\n' '2400000\n' "version 15\n$scheduled 7\n" '1\n' "$b/stat" '0-3,5\n' \
    '-1\n' "version 15\n$scheduled 8\n" '\n'
  seed host_load_fuzz $kernel '' "$a/loadavg" "$b/loadavg"
  seed host_vm_fuzz $kernel '' "$a/vmstat" "$b/vmstat"
  seed host_memory_fuzz $kernel '' "$a/meminfo" 'Node 0 MemTotal: 5 kB\n' 'numa_hit 5\n' '4\n' \
    'Filename Type Size Used Priority\n/dev/a\\\\040b partition 100 4 -2\n' '5\n' 'skx_edac\n' '6\n' 'slot 1\n' '8192\n' "$b/meminfo"
  seed host_interrupts_fuzz $kernel '' "$a/stat" '  CPU0 CPU1\n 24: 5 6 IO-APIC 5-edge acpi\nERR: 0\n' \
    '  CPU0 CPU1\nNET_RX: 4294967295 7\n' "$b/stat" '  CPU0 CPU1\n 24: 7 6 IO-APIC 5-edge acpi\nERR: 0\n'
  seed host_sampler_fuzz $kernel '' "$a/stat" '8 0 sda 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n' \
    'Inter-|\nface |\neth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n' '1 0 8:0 / / rw - ext4 /dev/sda rw\n' \
    '1 (a b) S 0 1 1 0 -1 4 5 6 7 8 9 10 11 12 20 0 1 0 30 40 50 60\n' '5 4 3 2 1 0 0\n' 'rchar: 5\n' 'a' '0::/a\n' \
    "$a/meminfo" "$a/vmstat"
done
nfs='device s:/a mounted on /a\\040b with fstype nfs4 statvers=1.1\n\topts:\trw,vers=4.2,rsize=4096,proto=tcp,sec=sys\n\tage:\t9\n'
nfs+='\tcaps:\tcaps=0x3f,wtmult=512\n\tnfsv4:\tbm0=0x1,pnfs=not configured,lease_time=90\n\tevents:\t1 2 3\n\tbytes:\t1 2 3\n'
nfs+='\tRPC iostats version: 1.1  p/v: 100003/4 (nfs)\n\txprt:\ttcp 8 0 1 0 1 5 5 0 5 0 2 6 5\n\tper-op statistics\n'
nfs+='\t        READ: 9 9 0 5 5 1 2 3 0\n\n'
seed host_nfs_fuzz two '' "$nfs" 'net 1 2 3 4\nrpc 5 6 7\nproc4 3 1 2 3\n' \
  'rc 1 2 3\nfh 1 0\nio 5 6\nth 8 0\nra 32 0 0 0 0 0 0 0 0 0 0 7\nproc4ops 4 0 0 0 5\n' "device x mounted on /x with fstype ext4\n$nfs" \
  'rpc 9 9 9\n' 'rc 2 3 4\n'
mounted='23 1 8:1 / / rw - xfs /dev/sda1 rw\n'
counted='13 1 0x01 4\nname type data\nhits 4 3260286\nfree 3 -5\n'
seed host_volumes_fuzz two '' "$mounted" 'data one\n' '16384\n' '5\n' '7\n' '9\n' 'rw 5 6\nvnodes 1 2 3 4 5 6 7 8\n' "$counted" \
  'ONLINE\n' '12 3\nnread wtime wcnt\n1 2 3\n' '1 2\nname type data\ndataset_name 7 tank/a\nwrites 4 1\n' "$mounted" '\n' '1\n' '5\n' '8\n' \
  '9\n' 'rw 4294967295 7\n' "$counted" 'SUSPENDED\n' '12 3\nnread\n5\n' '1 2\nname type data\ndataset_name 7 tank/a\nwrites 4 0\n'
seed host_fibrechannel_fuzz two '' 'Online\n' '16 Gbit\n' '4 Gbit, 16 Gbit\n' '0x5\n' '0x7\n' '0x9\n' 'Online\n' '8 Gbit\n' \
  '4 Gbit, 16 Gbit\n' '0x6\n' '0xffffffffffffffff\n' '0x4\n'
n=@linux-6.18/t0/proc/net
dev='head\nhead\n bond0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n'
port='4: ACTIVE\n'
seed host_interfaces_fuzz two '' "$dev" 'active-backup 1\n' 'eth0 eth1\n' '10000\n' 'full\n' '0x1443\n' '0x1\n' 'DEVTYPE=bond\n' 'up\n' '3\n' \
  '16.31.1014\n' "$port" '100 Gb/sec (4X EDR)\n' '0x3\n' '5\n' '6\n' '7\n' "$dev" '802.3ad 4\n' 'eth0\n' '-1\n' 'unknown\n' '0x1443\n' '1\n' '' \
  'down\n' '4\n' '16.31.1014\n' '1: DOWN\n' '2.5 Gb/sec (1X SDR)\n' '0\n' '9\n' 'N/A (no PMA)\n' '7\n'
track='entries found\n00000021 00000007\n'
conn='head\n 0: 0100007F:1F90 00000000:0000 0A 00000000:00000003 00:00000000 00000000 0 0 1\n'
balancer='head\nhead\n 16AA370 E33656E5 0 51D8C8883AB3 0\n'
servers='head\nhead\nhead\nTCP  C0000201:0CEA wlc\n  -> C0000202:0CEA Tunnel 100 248 2\n'
servers+='TCP  [2001:0db8:0000:0000:0000:0000:0000:0001]:0050 rr\n  -> [2001:0db8:0000:0000:0000:0000:0000:0002]:0050 Route 1 2 3\n'
servers+='FWM  10001000 wlc\n  -> C0000202:0CEA Masq 1 2 3\n'
seed host_protocols_fuzz linux-6.18 '' $n/{snmp,netstat,snmp6,sockstat,sockstat6,softnet_stat} \
  'head\n192.0.2.1 0x1 0x2 02:fc:00:00:00:05 * eth0\n' "$track" "$conn" "$conn" '123\n' '1 2 3\n' "$balancer" "$servers" \
  $n/{snmp,netstat,snmp6,sockstat,sockstat6,softnet_stat} 'head\n' "$track" "$conn" "$conn" '123\n' '1 2 3\n' "$balancer" "$servers" \
  '\030\000\000\000\024\000\002\000\000\000\000\000\000\000\000\000abcdefgh'
y=@linux-6.18/t0/proc/sys
seed serve_request_fuzz prometheus '\004' /metrics localhost:9100 \
  'application/openmetrics-text;version=1.0.0,text/plain;version=0.0.4;q=0.5,*/*;q=0.1' gzip
seed serve_request_fuzz token '\001' '/api/v1/sample?areas=cpu%2Cdisks&rates=true' 10.0.0.1 application/json \
  'zstd, identity;q=0' 'Bearer 0123456789abcdef'
seed serve_request_fuzz stream '\006' 'http://db1.example/api/v1/stream?every=2s&areas=load' '[::1]:9100' text/event-stream
seed serve_textfile_fuzz families '' '# HELP a_total A \\\\ b.\n# TYPE a_total counter\na_total{x="1",y="\\""} 1e3\nb NaN\n'
seed serve_textfile_fuzz histogram '' \
  '# TYPE h histogram\nh_bucket{le="+Inf"} 4\nh_sum 2.5\nh_count 4\n# TYPE s summary\ns{quantile="0.5"} 1\n'
seed host_limits_fuzz linux-6.18 '' $y/fs/file-nr $y/fs/dentry-state $y/kernel/sem $y/kernel/pid_max \
  @linux-6.18/t0/proc/loadavg '    0:     9 8/8 3/1000000 40/25000000\n' 'key\n 0 1 600\n' \
  'entries  allocs\n0000001a 00000001\n'
seed host_gpus_fuzz two '' 'DRIVER=amdgpu\nPCI_ID=1002:73BF\nPCI_SLOT_NAME=0000:03:00.0\n' 'active\n' '47\n' '9000\n' \
  '4000\n' '0: 500Mhz\n1: 2475Mhz *\n' '16.0 GT/s PCIe\n' 'ue: 2\nce: 11\n' '54000\n' 'edge\n' '1\n' \
  'drm-driver:\tamdgpu\ndrm-client-id:\t26\ndrm-pdev:\t0000:03:00.0\ndrm-memory-vram: 5 KiB\ndrm-engine-gfx:\t7 ns\n' \
  'DRIVER=amdgpu\nPCI_ID=1002:73BF\nPCI_SLOT_NAME=0000:03:00.0\n' 'suspended\n'
pressure='some avg10=0.00 avg60=7.99 avg300=13.40 total=233938024\n'
seed host_pressure_fuzz two '' "$pressure" "full${pressure#some}" "$pressure" ''
seed host_sensors_fuzz two '\377\377\017\000' '-45123\n' '262143000000\n' '262143328850\n' 'critical\n' '\377\377\017\000-5\n' '7\n' '9\n' 'hot\n'
cgroup() { # USAGE READ: of its files those that have another form than a number
  printf '%s\0' 'populated 1\nfrozen 0\n' 'nr_descendants 0\nnr_dying_descendants 3\n' \
    "usage_usec $1\nuser_usec 4\nsystem_usec 5\nnr_periods 6\nnr_throttled 2\nthrottled_usec 7\n" '4096\n' '8192\n' '0\n' \
    'anon 4096\nfile 0\npgfault 9\n' 'low 0\nmax 1\noom_kill 0\n' "8:0 rbytes=$2 wbytes=1 rios=2 wios=3 dbytes=0 dios=0\n" \
    '3\n' 'max 0\n' "$pressure" "full${pressure#some}" "$pressure" '50000 100000\n' '100\n' '0\n' '0\n' 'max\n' 'max\n' 'max\n' '50\n'
}
mapfile -d '' -t cgroup_before < <(cgroup 10 512)
mapfile -d '' -t cgroup_after < <(cgroup 20 1024)
seed host_cgroups_fuzz two '' 'cpu memory\n' '' "${cgroup_before[@]}" 'cpu memory\n' '' "${cgroup_after[@]}"
array='md6 : active raid1 sdb2[2](F) sdc[1](S) sda2[0]\n      266828397 blocks [2/1] [U_]\n'
array+='      [=>..]  recovery = 20.6% (54860247/266828397) finish=17.0min speed=259783K/sec\n'
written='rate:\t\t4.0k/sec\ntarget:\t\t1.0G\nproportional:\t-2.5M\nintegral:\t0.0k\nchange:\t\t-1.5k/sec\n'
seed host_storage_fuzz two '' "$array" 'E:ID_MODEL=a\nE:ID_ATA_ROTATION_RATE_RPM=7200\n' '1\n' '500\n' 'live\n' 'x\n' \
  '1.5k\n' '5\n' '2.0M\n' "$written" '4.5k\n' 'md6 : inactive sda2[0](S)\n      19 blocks\n' 'E:DM_NAME=b\n' '0\n' '900\n' \
  'dead\n' '' '0.0k\n' '6\n' '0.0k\n' '' '4.6k\n'
seed host_identity_fuzz two '' '5.00 6.00\n' 'ID=debian\nNAME="a \\\\"b\\\\""\n' 'host\n' '6.00 7.00\n'

disks() { # NAME OPTIONS COUNTERS STAT COUNTERS STAT
  seed disk_fuzz "$1" "$2" sda "$3" "$4" "$discovered" "$5" "$6" "$discovered" 'sda 45.30\nsdb 120\n' \
    'TORVDISK|INDEX\003\037~NAME\003\037~\n' 'TORVDISK|other inventory\n'
}
discovered='   8     0   17921835 sda\n   8     1    1048576 sda1\n   3     0    8257032 hda rio rmerge 1 2 3 4 5 1\n'
machine='cpu  1 2 3 4 5 6 7\n'
for options in '\000' '\002'; do
  seed cpu_fuzz "many-${options#\\}" "$options" "\\036\\377${machine}cpu0 1 2 3 4 5 6 7\\ncpu1 1 2 3 4 5\\n" \
    "\\036\\377${machine}cpu0 11 12 13 14 15 6 7\\ncpu1 1 2 3 4 5\\n"
done
seed system_files_fuzz many '\000' "\\036\\377intr $(printf '12345 %.0s' {1..60})\\nctxt 5\\n"
disk='   8       0 sda 1 2 3 4 5 6 7 8 9 10 11\n 259       1 nvme0n1p1 1 2 3 4 5 6 7 8 9 10 11\n'
for options in '\000' '\004' '\024'; do
  disks "many-${options#\\}" "$options" "\\036\\200$disk" '' "\\036\\300$disk" ''
done
for kernel in linux-6.1.0 linux-2.6.32; do
  for options in '\000' '\004' '\024' '\040' '\010' '\104'; do
    disks "$kernel-${options#\\}" "$options" "@$kernel/t0/proc/diskstats" '' "@$kernel/t1/proc/diskstats" ''
  done
  lines disk_lines_fuzz "$kernel" "$kernel/t1/proc/diskstats"
done
for options in '\001' '\005' '\025'; do
  disks "linux-2.4.21-${options#\\}" "$options" @linux-2.4.21/t0/proc/partitions '' @linux-2.4.21/t1/proc/partitions ''
done
for options in '\002' '\006' '\026'; do
  disks "linux-2.2.26-${options#\\}" "$options" @linux-2.2.26/t0/proc/partitions @linux-2.2.26/t0/proc/stat \
    @linux-2.2.26/t1/proc/partitions @linux-2.2.26/t1/proc/stat
done
seed mount_table_fuzz mountinfo '' '1 0 8:1 / / rw shared:1 - ext4 /dev/sda1 rw\n2 1 0:40 /a\\040b /m ro - tmpfs  rw\n3 2 0:41 / /m/b rw - nfs4 s:/x rw\n4 2 0:42 / /m rw - tmpfs t rw\n'
seed mount_table_fuzz mounts '' @linux-6.1.0/t0/etc/mtab
lines disk_lines_fuzz linux-2.4.21 linux-2.4.21/t1/proc/partitions
lines disk_lines_fuzz linux-2.2.26 linux-2.2.26/t1/proc/partitions

sizes='\000\377\377\377\000\377\377\000\000\377\000\000\000\377\377\000\000\377\000\000\000'
for options in '\000' '\103' '\040' '\044' '\060'; do
  seed filesystem_fuzz "linux-6.1.0-${options#\\}" "$options$sizes\\002\\001\\002" proc '' tmpfs @linux-6.1.0/t0/etc/mtab \
    '/vmfs/volumes/a 10485760 4194304 6291456 40 a\n/vmfs/b 5000000 1 2 nan b\n'
done
mounts='/dev/sda1 / ext4 rw 0 0\nfiler:/export /mnt/a\\\\040b nfs rw 0 0\n/dev/sdb1 /mnt/a\\\\040b/c ext3 rw 0 0\n'
seed filesystem_fuzz nfs "\\044$sizes\\001\\001\\001" '' '' '' "$mounts" ''

seed filesystem_fuzz connection "\\050$sizes\\001\\001\\001" '' '' '' "$mounts" ''
seed filesystem_fuzz long "\\000$sizes\\001\\001\\001" '' '' '' \
  "/dev/sdb1 /mnt/$(printf 'x%.0s' {1..1500}) ext4 rw 0 0\\n/dev/$(printf 'y%.0s' {1..1500}) /z ext4 rw 0 0\\n" ''
seed filesystem_fuzz many "\\000$sizes\\001\\001\\001" '' '' '' '\036\377/dev/sdb1 /mnt/x ext4 rw 0 0\n' ''

seed interfaces_fuzz linux-6.1.0 '' '  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16' @linux-6.1.0/t0/proc/net/dev
bandwidths='TORVSC|eth0|1000000|2\nTORVSC|bond0|10000|1\neth1 100\n'
inventory='TORVNIC|INDEX\003\037~NAME\003\037~\003\037|1\003\037~eth7\003\037~\n'
for options in '\000' '\001' '\005' '\035' '\055' '\102' '\111' '\205'; do
  seed network_fuzz "linux-6.1.0-${options#\\}" "$options" "$bandwidths" 'eth0\nbond0\nbond0.100\n' '1000\n' \
    'Ethernet Channel Bonding\nCurrently Active Slave: eth1\n' "$inventory" "$inventory" @linux-6.1.0/t0/proc/net/dev \
    @linux-6.1.0/t1/proc/net/dev @linux-6.1.0/t1/proc/net/dev eth0 'Duplex: Full\n'
done

header='Inter-| Receive | Transmit\n face |bytes packets compressed\n'
many="\\036\\200${header}  eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\\n"
seed network_fuzz many '\001' '\036\377TORVSC|eth0|1|2\n' '' '' '' "\\036\\377TORVNIC|a\\003\\037~" "$inventory" "$many" "$many"
seed network_fuzz old '\100' '' '' '' '' '' '' '' '' '' 'eth0;x' 'Full\n'

for pid in 1 2 7421; do
  p=@linux-6.1.0/t0/proc/$pid
  seed process_lines_fuzz "linux-6.1.0-$pid" '' "$p/stat" "$p/statm" "$p/io" "$p/cmdline"
done
scan() { # KERNEL t0|t1 PID: the pieces of one scan, into the array "pieces"
  local proc=@$1/$2/proc file
  pieces+=("@linux-6.1.0/$2/proc/meminfo" "$proc/uptime" "$proc/stat")
  for file in stat statm io cmdline; do
    if [ -e "$fixtures/${proc#@}/$3/$file" ]; then pieces+=("$proc/$3/$file"); else pieces+=('1 2 3 4 5 6 7\n'); fi
  done
  pieces+=('4194304 (java) b) R 1 2 3 4 5 6 7 8 9 10 11 12 13 14 20 0 1 0 500 1000000 200 18446744073709551615 1 1 1 1 1 0 0 0 0 0\n'
    '100 50 20 1 0 9 0\n' 'rchar: 1\nread_bytes: 4096\nwrite_bytes: 0\ncancelled_write_bytes: 0\n' 'java\000-jar\000x\000'
    ' 17\n 4194304\n' '12.5\n' 'guest\003\037~1\003\037~\n')
}
for options in '\000' '\001' '\002' '\020' '\010' '\104'; do
  pieces=() && scan linux-6.1.0 t0 7421 && scan linux-6.1.0 t1 7421
  seed process_fuzz "linux-6.1.0-${options#\\}" "$options" "${pieces[@]}"
done
repeat='\036\240'
for options in '\000' '\001' '\002' '\004'; do
  pieces=() && scan linux-6.1.0 t0 7421 && scan linux-6.1.0 t1 7421
  pieces[6]="$repeat/usr/bin/command --with=many --arguments\\000 -x \\000" # the command line of each process
  pieces[10]="$repeat=====================================================================\\000"
  seed process_fuzz "long-${options#\\}" "$options" "${pieces[@]}"
done
for options in '\040' '\041' '\072'; do
  pieces=() && scan linux-2.4.20 t0 77 && scan linux-2.4.20 t1 77
  seed process_fuzz "linux-2.4.20-${options#\\}" "$options" "${pieces[@]}"
done

pieces=()
for time in t0 t1 t1; do
  for host in host3 host4; do
    for file in port_name port_state statistics/fcp_{input,output}_{megabytes,requests}; do
      pieces+=("@linux-2.6.32/$time/sys/class/fc_host/$host/$file")
    done
  done
done
long="\\036\\1770x21" # texts that are cut to their fields
seed hba_fuzz long '\000' "$long" "$long" "$long" 1 1 1 "$long" "$long" 1 1 1 1 "$long" "$long" "$long" 2 2 2 "$long" \
  "$long" 2 2 2 2 "$long" "$long" "$long" 3 3 3 "$long" "$long" 3 3 3 3 "$long" "$long" "$long"
for options in '\000' '\001'; do
  seed hba_fuzz "linux-2.6.32-${options#\\}" "$options" "${pieces[@]}" 0x21000024ff123456 'TORVHBACARD|card a\n' \
    'TORVHBAPORT|port a\n'
done

for options in '\000' '\001' '\011' '\002'; do
  seed inventory_fuzz "lines-${options#\\}" "$options" 'TORVCPU|one cpu\n' '\nHEADER\nTORVDISK||two disks\n' \
    'x\000TORVHBA|a\003\037~b\n'
  seed inventory_fuzz "long-${options#\\}" "$options" '\036\377TORVCPU|a long inventory ' '\036\377TORVDISK|b' \
    '\036\377 TORVHBA|c\n'
done
seed host_hardware_fuzz card '' '1af4  Red Hat, Inc.\n\t1041  Virtio network\n\t\t1af4 0001  Card\nC 02  Network\n\t00  Ethernet\n' \
  'processor\t: 0\nmodel name\t: CPU\nflags\t\t: aes vmx\naddress sizes\t: 46 bits physical, 48 bits virtual\n' '0x020000\n' \
  '0x1af4\n' '0x1041\n' '0x1af4\n' '0x0001\n' '8.0 GT/s PCIe\n' '16\n' '0000:00:01\n' '0\n' '0-1\n' '1\n' '48K\n' '0-1\n' \
  'Node 0 MemTotal: 5 kB\n' '0-1,4\n' '23\n' 'Maker\n' '\006\000\000\000\001' '0\n' '25000\n'
# A memory module, an array and a socket, with and without an entry point.
tables=''
tables+='\021\050\001\000\000\000\000\000\000\000\000\000\377\177\000\000\001\002\032\000\000\200\014\000\000\000\000\000'
tables+='\000\000\001\000\000\000\000\000\000\000\000\000\101\061\000\102\000\000\020\027\002\000\000\000\000\000\000\000'
tables+='\200\000\000\002\000\000\000\000\000\000\001\000\000\000\000\004\060\003\000\001\000\000\000\000\000\000\000\000'
tables+='\000\000\000\000\213\000\000\000\000\000\000\101\000\000\000\000\000\000\000\000\000\000\377\000\000\000\000\000'
tables+='\000\040\001\000\000\000\000\103\120\125\061\000\000\177\004\000\000\000\000'
seed host_smbios_fuzz table "\\000$tables"
seed host_smbios_fuzz entry '\030\137\123\115\063\137\315\030\003\003\000\001\000\203\000\000\000\000\000\000\000\000\000\000\000'"$tables"
seed hardware_fuzz linux-2.4.21 '' 'desc: "Intel Corp.|82545EM Gigabit"\n' @linux-2.4.21/t0/etc/sysconfig/hwconf \
  @linux-2.4.21/t0/proc/pci

seed log_file_fuzz recent '\004' '20231114_agent_3.log\n' 20231101_old.log myagent 'a message\n' 1234
seed log_file_fuzz size '\050' '20231114;x.log\n' x.log plain 'a message' 12345678
cpuinfo='vendor_id\t: Vendor\nmodel name\t: Model 8\ncpu MHz\t\t: 2400.000\n'
seed inventory_program_fuzz host '' "$cpuinfo" 0 0 1 Data 32K 2400000 2097152 model vendor serial '[none] mq' 2 \
  00:16:3e:00:00:01 1000 full 1500 up '' 0x21000024ff123456 0x20000024ff123456 Online 'name x' '8 Gbit' m f s

seed zel_config_fuzz types '' '# a\n[show]\ntext = "a"\ntime = "1s"\nnumber = 3\nswitch = true\nlist = ["a", "b"]\n[metrics]\nlist = "all"\nnumber = 0x10\n'
seed zel_config_fuzz wrong '' 'text = 1\n[shwo]\n[show]\nnumber = "3"\nlist = [1, [2], {a = 1}]\nswitch = 1.5\ntime = 2026-11-22T07:32:00Z\ntxt = """a\n"""\n'
seed zel_config_fuzz deep '' '\036\377a.' '[[a]]\n[a.b]\nc.d.e = [[[[1]]]]\n'
seed log_mode_fuzz groups '' 'NORMAL:LAB:14|ERROR:UNI,TCP:LIB|NOLOG:LAB:3|DEBUG:ALL:ALL'
seed log_mode_fuzz word '' DEBUG
seed tokenisers_fuzz lines '' 'a|b||c "Intel Corp' '|' 1.3.6.1
seed tokenisers_fuzz identifiers '' 1.3.6.1.4.1 .. 1.3.6.1.4.10
seed scanners_fuzz fields '\010' '8 0 sda -5 18446744073709551615 7' sda
seed scanners_fuzz limits '\077' '-9223372036854775809 0xFFFFFFFFFFFFFFFFF\n+7\n' '0x'
for type in 0 1 2 3 4 5 6 7 10 11 12; do
  seed values_fuzz "type-$type" "$(printf '\\%03o\\040\\000' "$type")" '-123456789012345678901.5'
done
seed general_functions_fuzz address '' 192.168.0.1 /proc/stat
seed general_functions_fuzz name '' 'a[b-c]*.inv' value
seed scheduler_fuzz long '' '\036\377key' command '\036\377../'
seed scheduler_fuzz command '' cpu_inv_1 './libinvinfo 1 2&' ../aproc/scheduler
# shellcheck disable=SC2016 # what a shell must not see
seed scheduler_fuzz wild '' 'key;$(x)' 'echo `a`' '/tmp/a b;c'
for options in '\002' '\006'; do
  seed buffer_files_fuzz "files-${options#\\}" "$options" 20231114-BUF_1.buf '\37720231115-BUNF_99.buf' '\001BUF' \
    '\001one\003\037^' two
done
table='NAME\003\037~USED\003\037~\003\037|CPUS\003\037~1.00\003\037~'
seed perf_text_fuzz table '\000' "$table" 'a\003\037~b' 'c\000d' 1e300
seed perf_text_fuzz push '\020' "key\\003\\037]4.4.1.0\\003\\037^12\\003\\037^\\003\\037]4.5.11.0\\003\\037^$table" nan
seed sslist_fuzz operations '\000\005\001\004\002\005\003\003\004\000\005\005\006\005\007\004\003\002\010\000\000\001'
seed object_list_fuzz operations '\002\001\000\005\001\003\002\005\003\007\004\005\005\003\007\000\010\000\010\007\034\001\002\200\003'
seed object_buffer_fuzz objects '\001\000\021\042\003\004\020\022\377'
seed object_buffer_fuzz names '\000\000' eth0 '\001eth1' '\002eth0' '\003' '\000eth2'

for directory in fuzz/corpus/*/; do
  [ -d "$directory" ] || continue
  mkdir -p "$out/$(basename "$directory")"
  cp "$directory"* "$out/$(basename "$directory")/"
done
