#!/usr/bin/env bash
# A table of what the GPU kernels take of a multiprocessor: registers of a thread, bytes spilled and bytes of stack, and how many
# blocks a multiprocessor then holds. Needs assemblers of the cards' maker, which the build does not; for each card the first is
# taken that knows it, of those in PATH, /usr/local/cuda*/bin and the folders of QV_PTXAS_PATH.
# Arguments: options for clang, such as -DQV_MIN_BLOCKS=3.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

mapfile -t assemblers < <({
    tr : '\n' <<<"$PATH" | sed 's#$#/ptxas#'
    printf '%s\n' /usr/local/cuda*/bin/ptxas
    tr : '\n' <<<"${QV_PTXAS_PATH:-}" | sed 's#$#/ptxas#'
} | while read -r each; do [ ! -x "$each" ] || echo "$each"; done)
if [ ${#assemblers[@]} = 0 ]; then
    echo "ptxas was found neither in PATH nor in /usr/local/cuda*/bin: no table" >&2
    exit 1
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
compile() { # TO OPTION...
    clang -x cuda --cuda-device-only -nocudainc -nocudalib --cuda-path=/nonexistent --cuda-gpu-arch=sm_60 \
        -Xclang -target-feature -Xclang +ptx60 -std=c++17 -O3 "${@:2}" -S plugins/ethash/kernels/EthashKernels.cu -o "$1"
}
compile "$folder/kernels.ptx" "$@"
compile "$folder/capability6.ptx" -DQV_CAPABILITY_6 "$@"

assemble() { # CARD PTX: with the first assembler that knows the card, which must then take the kernels
    local assembler
    for assembler in "${assemblers[@]}"; do
        [[ $("$assembler" --help) == *"'$1'"* ]] || continue
        "$assembler" -v -arch="$1" "$2" -o "$folder/kernels.cubin" 2>"$folder/log" || { cat "$folder/log" >&2; exit 1; }
        release=$("$assembler" --version | sed -n 's/.*release \([0-9.]*\).*/\1/p')
        return 0
    done
    return 1
}

# A multiprocessor holds 64 K registers, given to warps by 256. Of the card: threads, blocks and KB of shared memory that a
# multiprocessor holds, the bytes by which it is given to blocks and what each block takes besides (CUDA C++ Programming Guide,
# compute capabilities).
table() { # CARD THREADS BLOCKS SHARED GRAIN RESERVED
    awk -v card="$1" -v threads="$2" -v most="$3" -v memory="$4" -v grain="$5" -v reserved="$6" -v release="$release" '
        function up(value, step) { return int((value + step - 1) / step) * step }
        function least(a, b) { return a < b ? a : b }
        /Compiling entry function/ { split($0, quoted, "\047"); kernel = quoted[2] }
        /bytes stack frame/ { stack = $1; stores = $5; loads = $9 }
        /Used [0-9]+ registers/ {
            shared = 0
            for (i = 1; i <= NF; ++i) {
                if ($i == "Used") registers = $(i + 1)
                if ($i ~ /^smem/) shared = $(i - 2)
            }
            size = kernel ~ /build/ ? 256 : 128
            blocks = least(most, int(threads / size))
            blocks = least(blocks, int(int(65536 / up(registers * 32, 256) / 4) * 4 / (size / 32)))
            if (shared + reserved > 0) blocks = least(blocks, int(memory * 1024 / (up(shared, grain) + reserved)))
            printf "%-22s %-7s %9d %12d %11d %11d %13d %7d %7s\n", kernel, card, registers, stores, loads, stack, shared, blocks,
                release
        }' "$folder/log"
}

printf '%-22s %-7s %9s %12s %11s %11s %13s %7s %7s\n' kernel card registers spill-stores spill-loads stack-bytes \
    shared-bytes blocks ptxas
while read -r card limits; do
    ptx=$folder/kernels.ptx
    case $card in sm_6?) ptx=$folder/capability6.ptx ;; esac
    # shellcheck disable=SC2086 # limits are several words
    if assemble "$card" "$ptx"; then table "$card" $limits; else echo "no assembler here knows $card" >&2; fi
done <<'CARDS' | sort -s -k1,1
sm_60 2048 32 64 256 0
sm_61 2048 32 96 256 0
sm_70 2048 32 96 256 0
sm_75 1024 16 64 256 0
sm_80 2048 32 164 128 1024
sm_86 1536 16 100 128 1024
sm_89 1536 24 100 128 1024
sm_90 2048 32 228 128 1024
sm_100 2048 32 228 128 1024
sm_120 1536 24 100 128 1024
CARDS
