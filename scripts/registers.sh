#!/usr/bin/env bash
# A table of what the GPU kernels take of a multiprocessor: registers of a thread, bytes spilled and bytes of stack. Needs the
# assembler of the cards' maker, which the build does not. Arguments: options for clang, such as -DQV_MIN_BLOCKS=3.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

assembler=$(command -v ptxas || true)
if [ -z "$assembler" ] && [ -x /usr/local/cuda/bin/ptxas ]; then assembler=/usr/local/cuda/bin/ptxas; fi
if [ -z "$assembler" ]; then
    echo "ptxas was found neither in PATH nor in /usr/local/cuda/bin: no table" >&2
    exit 1
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
clang -x cuda --cuda-device-only -nocudainc -nocudalib --cuda-path=/nonexistent --cuda-gpu-arch=sm_60 \
    -Xclang -target-feature -Xclang +ptx60 -std=c++17 -O3 "$@" \
    -S plugins/ethash/kernels/EthashKernels.cu -o "$folder/kernels.ptx"

printf '%-22s %-7s %9s %12s %11s %11s %13s\n' kernel card registers spill-stores spill-loads stack-bytes shared-bytes
for card in sm_75 sm_80 sm_86 sm_89 sm_90; do
    "$assembler" -v -arch="$card" "$folder/kernels.ptx" -o "$folder/kernels.cubin" 2>"$folder/log"
    awk -v card="$card" '
        /Function properties/ { kernel = $NF }
        /bytes stack frame/ { stack = $1; stores = $5; loads = $9 }
        /Used [0-9]+ registers/ {
            shared = 0
            for (i = 1; i <= NF; ++i) {
                if ($i == "Used") registers = $(i + 1)
                if ($i ~ /^smem/) shared = $(i - 2)
            }
            printf "%-22s %-7s %9d %12d %11d %11d %13d\n", kernel, card, registers, stores, loads, stack, shared
        }' "$folder/log"
done | sort -s -k1,1
