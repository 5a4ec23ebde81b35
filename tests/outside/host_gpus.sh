#!/usr/bin/env bash
# The NVIDIA GPUs of `zel show gpus` beside nvidia-smi, value by value: at rest, and with a load where PyTorch can make
# one. Prints every pair. Skipped (77), with the reason, on a host without such a GPU.
#   tests/outside/host_gpus.sh SOURCE BUILD
set -uo pipefail

source=$1
zel=$2/bin/zel

skip() {
  echo "skipped: $1"
  exit 77
}

[ -x "$zel" ] || skip "there is no $zel"
for program in python3 nvidia-smi; do
  command -v $program >/dev/null || skip "$program is not installed"
done
smi=$(nvidia-smi --query-gpu=uuid --format=csv,noheader 2>&1) || skip "nvidia-smi shows no GPU: $smi"

python3 "$source/tests/outside/host_gpus.py" "$zel"
