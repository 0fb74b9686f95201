#!/usr/bin/env bash
# Every figure beside a bare reference measured in the same run, because absolute times mean little on a shared machine.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/wine-env.sh
wine_environment

build() { cmake --preset "$1" >/dev/null && cmake --build "build/$1" --target "${@:2}"; }
build windows Quorvel-Miner Office2013 VisualStudio2012 net_bench empty_dialog template_plugin sim_nvcuda sim_nvml
build host-release stratum_bench ethash_bench control_bench devpool

printf '\n== One mining.notify line: framing, parse, work block; beside a bare parse of the same line (native)\n'
build/host-release/tests/bench/stratum/stratum_bench

printf '\n== Hashes from the light cache: items one at a time; beside several at a time (native)\n'
build/host-release/tests/bench/ethash/ethash_bench

printf '\n== One update report for 16 GPUs; beside printf of the same numbers (native, goal: under 30 us)\n'
build/host-release/tests/bench/control/control_bench

printf '\n== From pool line to answer on the wire; beside a bare event-select echo (under Wine)\n'
scripts/wine-run build/windows/tests/bench/net/net_bench.exe

printf '\n== Size of the executable (goal: under 4 MB)\n'
stat -c '%s bytes  %n' build/windows/bin/Quorvel-Miner.exe

printf '\n== Private memory; beside an empty dialog (under Wine, goal: at most 1.5 times)\n'
folder=build/bench
pool_pid=
finish() {
    [ -z "$pool_pid" ] || kill "$pool_pid" 2>/dev/null || true
}
trap finish EXIT

wine_pid() { pgrep -f "^[^ ]*$1\\.exe" | head -1; } # not of the scripts that have started it
private_kb() { # image name: pages that the process has to itself and has written
    local pid
    pid=$(wine_pid "$1")
    awk '/^Private_Dirty:/ {sum += $2} END {print sum}' "/proc/$pid/smaps_rollup"
}

rm -rf "$folder" && mkdir -p "$folder/Algos" "$folder/Settings" "$folder/Styles"
cp build/windows/bin/Quorvel-Miner.exe build/windows/sim/*.dll sim/SimGpus.ini "$folder/"
cp build/windows/sdk-template/*.dll "$folder/Algos/"
cp build/windows/Styles/*.dll "$folder/Styles/"
sync # else the pages of the fresh copies count as written by the process
build/host-release/tools/devpool/devpool --port 0 --mode 0 >"$folder/pool.log" 2>&1 &
pool_pid=$!
until port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$folder/pool.log") && [ -n "$port" ]; do sleep 0.1; done
uuid=$(sed -n 's/^Uuid=\([0-9a-fA-F]*\).*/\1/p' sim/SimGpus.ini | head -1)
cat >"$folder/Settings/ConfigMiner.xml" <<XML
<MinerConfig DefaultWorkerName="bench"><Pools><Pool ID="1" Name="Pool" Server="127.0.0.1" Port="$port" WalletUser="0x0" Algo="9"/></Pools>
<Configurations><Config PrimaryPoolID="1" SecondaryPoolID="-1"><Gpus><Gpu ID="$uuid"/></Gpus></Config></Configurations></MinerConfig>
XML
# No logs, as at a first start: the thread of each log costs about a megabyte of stack under Wine.
echo '<RuntimeSettings MiningState="1"/>' >"$folder/Settings/RuntimeSettingsMiner.xml"

scripts/wine-run build/windows/tests/bench/memory/empty_dialog.exe &
scripts/wine-run "$folder/Quorvel-Miner.exe" &
scripts/wine-run build/windows/tools/miner-window.exe wait
sleep 10 # logged in, first job handled, everything settled
dialog=$(private_kb empty_dialog) miner=$(private_kb Quorvel-Miner)
awk -v a="$miner" -v b="$dialog" 'BEGIN {printf "miner, mining with the template plug-in: %d kB   empty dialog: %d kB   ratio %.2f\n", a, b, a / b}'
scripts/wine-run build/windows/tools/miner-window.exe close
kill "$(wine_pid empty_dialog)" 2>/dev/null || true
