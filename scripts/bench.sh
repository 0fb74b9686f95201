#!/usr/bin/env bash
# Every figure beside a bare reference measured in the same run, because absolute times mean little on a shared machine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/wine-env.sh
wine_environment

build() { cmake --preset "$1" >/dev/null && cmake --build "build/$1" --target "${@:2}"; }
build windows Quorvel-Miner Office2013 VisualStudio2012 net_bench tls_bench empty_dialog idle_plugin sim_nvcuda sim_nvml \
    miner-window open_time bare_controls bare_tick
build host-release stratum_bench ethash_bench control_bench devpool

printf '\n== One mining.notify line: framing, parse, work block; beside a bare parse of the same line (native)\n'
build/host-release/bench/stratum/stratum_bench

printf '\n== Light cache, items and hashes on one core; beside the plain forms, one at a time (native)\n'
build/host-release/bench/ethash/ethash_bench

printf '\n== One update report for 16 GPUs; beside printf of the same numbers (native, goal: under 30 us)\n'
build/host-release/bench/control/control_bench

printf '\n== From pool line to answer on the wire; beside a bare event-select echo (under Wine)\n'
scripts/wine-run build/windows/bench/net/net_bench.exe

printf '\n== One encrypted line to the work block; beside a bare decryption of it (under Wine)\n'
tests/unit/net/tls-front.sh build/host-release/tools/devpool/devpool build/windows/bench/net/tls_bench.exe

printf '\n== Size of the executable (goal: under 4 MB)\n'
stat -c '%s bytes  %n' build/windows/bin/Quorvel-Miner.exe

folder=build/bench
pool_pid=
finish() {
    [ -z "$pool_pid" ] || kill "$pool_pid" 2>/dev/null || true
}
trap finish EXIT

wine_pid() { # image name; the one in this prefix, and not the scripts that have started it
    local pid
    for pid in $(pgrep -f "^[^ ]*$1\\.exe"); do
        if tr '\0' '\n' <"/proc/$pid/environ" 2>/dev/null | grep -qxF "WINEPREFIX=$WINEPREFIX"; then echo "$pid"; fi
    done | head -1
}
private_kb() { # image name: pages that the process has to itself and has written
    awk '/^Private_Dirty:/ {sum += $2} END {print sum}' "/proc/$(wine_pid "$1")/smaps_rollup"
}
cpu_ns() { # image name: what its threads have computed so far
    awk '{sum += $1} END {printf "%.0f\n", sum}' /proc/"$(wine_pid "$1")"/task/*/schedstat
}
measure_seconds=20
cpu_per_second() { # image name: milliseconds of CPU in a second, over many ticks
    local before
    before=$(cpu_ns "$1")
    sleep "$measure_seconds"
    awk -v a="$before" -v b="$(cpu_ns "$1")" -v s="$measure_seconds" 'BEGIN {printf "%.2f", (b - a) / 1e6 / s}'
}

card() { # index: a section of SimGpus.ini
    sed -n '/^\[Gpu0\]/,/^$/p' sim/SimGpus.ini |
        sed "s/^\[.*/[Gpu$1]/; s/^Uuid=.*/Uuid=$(printf '%032x' $(($1 + 1)))/; s/^PciBus=.*/PciBus=$(($1 + 1))/; s/^NvmlIndex=.*/NvmlIndex=$1/"
}
place_miner() { # cards, state: 1 starts to mine, 0 does not
    local i gpus=
    rm -rf "$folder/Settings" && mkdir -p "$folder/Settings"
    sed -n '/^\[Driver\]/,/^$/p' sim/SimGpus.ini >"$folder/SimGpus.ini"
    for ((i = 0; i < $1; i++)); do
        card "$i" >>"$folder/SimGpus.ini"
        gpus+=$(printf '<Gpu ID="%032x"/>' $((i + 1)))
    done
    cat >"$folder/Settings/ConfigMiner.xml" <<XML
<MinerConfig DefaultWorkerName="bench"><Pools><Pool ID="1" Name="Pool" Server="127.0.0.1" Port="$port" WalletUser="0x0" Algo="9"/></Pools>
<Configurations><Config PrimaryPoolID="1" SecondaryPoolID="-1"><Gpus>$gpus</Gpus></Config></Configurations></MinerConfig>
XML
    # No logs, as at a first start: the thread of each log costs about a megabyte of stack under Wine.
    echo "<RuntimeSettings MiningState=\"$2\"/>" >"$folder/Settings/RuntimeSettingsMiner.xml"
}
start_miner() {
    scripts/wine-run "$folder/Quorvel-Miner.exe" >"$folder/miner.log" 2>&1 &
    scripts/wine-run build/windows/tools/miner-window.exe wait >/dev/null
    sleep 10 # logged in, first job handled, everything settled
}
end_program() { kill "$(wine_pid "$1")" 2>/dev/null || true; }
stop_miner() { scripts/wine-run build/windows/tools/miner-window.exe close >/dev/null; }

rm -rf "$folder" && mkdir -p "$folder/Algos" "$folder/Styles"
cp build/windows/bin/Quorvel-Miner.exe build/windows/sim/*.dll build/windows/bench/dialog/bare_controls.exe "$folder/"
cp build/windows/bench/dialog/idle_plugin.dll "$folder/Algos/"
cp build/windows/Styles/*.dll "$folder/Styles/"
sync # else the pages of the fresh copies count as written by the process
build/host-release/tools/devpool/devpool --port 0 --mode 0 >"$folder/pool.log" 2>&1 &
pool_pid=$!
until port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$folder/pool.log") && [ -n "$port" ]; do sleep 0.1; done

printf '\n== From start to a painted window (under Wine, goal: at most 1.5 times the reference)\n'
place_miner 2 0
empty=build/windows/bench/memory/empty_dialog.exe
open_time() { # name, program, reference's name, reference
    local output
    output=$(scripts/wine-run build/windows/bench/dialog/open_time.exe 9 "$1" "$(windows_path "$2")" "$3" "$(windows_path "$4")" 2>"$folder/open.log")
    grep ratio <<<"$output"
}
windows_path() { echo "Z:$(realpath "$1")" | tr / '\\'; }
open_time miner "$folder/Quorvel-Miner.exe" 'empty dialog' "$empty"
open_time miner "$folder/Quorvel-Miner.exe" 'its bare dialog' "$folder/bare_controls.exe"
open_time 'its bare dialog' "$folder/bare_controls.exe" 'empty dialog' "$empty"

printf '\n== Private memory, mining with a plug-in that hashes nothing (under Wine, goal: at most 1.5 times the empty dialog)\n'
scripts/wine-run "$empty" >/dev/null 2>&1 &
scripts/wine-run "$folder/bare_controls.exe" >/dev/null 2>&1 &
place_miner 2 1
start_miner
awk -v a="$(private_kb Quorvel-Miner)" -v b="$(private_kb empty_dialog)" -v c="$(private_kb bare_controls)" 'BEGIN {
    printf "miner: %d kB   empty dialog: %d kB   ratio %.2f\n", a, b, a / b
    printf "its bare dialog, with nothing behind it: %d kB   ratio %.2f\n", c, a / c}'
stop_miner
end_program empty_dialog
end_program bare_controls

printf '\n== CPU of one tick (a second) with 16 simulated cards, mining (under Wine, goal: under 5 ms)\n'
scripts/wine-run build/windows/bench/dialog/bare_tick.exe 150 >/dev/null 2>&1 &
for cards in 16 2; do
    place_miner "$cards" 1
    start_miner
    printf 'miner, %d cards: %s ms\n' "$cards" "$(cpu_per_second Quorvel-Miner)"
    stop_miner
done
printf 'a bare window that draws 150 texts: %s ms\n' "$(cpu_per_second bare_tick)"
end_program bare_tick

printf '\n== CPU of the open dialog with 2 cards, not mining (under Wine, goal: under 10 ms a second, 1 %% of a core)\n'
scripts/wine-run "$empty" >/dev/null 2>&1 &
place_miner 2 0
start_miner
printf 'miner: %s ms   empty dialog: %s ms\n' "$(cpu_per_second Quorvel-Miner)" "$(cpu_per_second empty_dialog)"
stop_miner
end_program empty_dialog
