#!/usr/bin/env bash
# The example agent beside a mount that stops answering: it goes on sampling, leaves the mount out, reports it again once
# it answers, and ends when it is asked to, also while the mount hangs.
#   agent_mount.sh SOURCE BUILD
# Exit status 77 where nothing can be mounted.
set -euo pipefail

# Starts itself again below the server of the mount, which has the mount in a namespace of its own.
if [ -z "${ZEL_TEST_FUSE:-}" ]; then
  mount=$(mktemp -d)
  status=0
  ZEL_TEST_MOUNT=$mount "$2/bin/zel_test_fuse" "$mount" -- "$0" "$@" || status=$?
  rmdir "$mount"
  exit $status
fi

# shellcheck source=tests/outside/agent_kit.sh
. "$(dirname "$0")/agent_kit.sh"
# The leak check of a sanitizer stops every thread at the end of a program, and one that waits for a dead mount does not stop.
export ASAN_OPTIONS=detect_leaks=0:$ASAN_OPTIONS
trap 'kill -CONT "$ZEL_TEST_FUSE"; cleanup' EXIT

# The records of one task: number and seconds in the first line, the rows below it.
filesystem_records() { received mount | grep -c ' filesystem '; }
has_filesystem_records() { [ "$(filesystem_records)" -ge "$1" ]; }
# Whether the last filesystem record names the mount.
last_names_mount() {
  awk -v mount="$ZEL_TEST_MOUNT" '
    / filesystem [0-9]+ [0-9]+$/ { inside = 1; named = 0; next }
    /^[^ ]/ { inside = 0 }
    inside && index($0, mount) { named = 1 }
    END { exit !named }' "$scratch/mount.out"
}
longest_pause() { received mount | awk '$4 == "load" { if (time && $5 - time > longest) longest = $5 - time; time = $5 } END { print longest + 0 }'; }

stage_home mount
start_receiver mount 0
start_agent mount_run
eventually "filesystem record" has_filesystem_records 1
last_names_mount || fail "the mount is not in the first filesystem record"

# A base cycle of 1 s gives a filesystem record every 12 s.
kill -STOP "$ZEL_TEST_FUSE"
eventually "filesystem record while the mount hangs" has_filesystem_records 2
! last_names_mount || fail "the mount that hangs is in the filesystem record"
kill -CONT "$ZEL_TEST_FUSE"
eventually "filesystem record with the mount again" has_filesystem_records 3
last_names_mount || fail "the mount that answers again is not in the filesystem record"
[ "$(longest_pause)" -le 8 ] || fail "the mount held the samples for $(longest_pause) seconds"

kill -STOP "$ZEL_TEST_FUSE"
eventually "filesystem record while the mount hangs again" has_filesystem_records 4
stopped_at=$SECONDS
stop_agent
[ $((SECONDS - stopped_at)) -le 8 ] || fail "the agent took $((SECONDS - stopped_at)) seconds to end"
echo "agent_mount: at most $(longest_pause) seconds between two samples of 1 second"
