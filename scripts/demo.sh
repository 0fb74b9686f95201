#!/usr/bin/env bash
# The main job on embedded defaults: a local pool, two simulated cards, the CPU plug-in and the real miner.
# --shares N   shares to be accepted (default 10)
# --seconds N  give up after N seconds (default 240)
# --keep       go on until interrupted
# --tls        over an encrypted connection, to a certificate that is named by its fingerprint
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/wine-env.sh

shares=10 seconds=240 keep= tls=()
while [ $# -gt 0 ]; do
    case "$1" in
        --shares) shares=${2:?--shares needs a number} && shift 2 ;;
        --seconds) seconds=${2:?--seconds needs a number} && shift 2 ;;
        --keep) keep=yes && shift ;;
        --tls) tls=(--tls self-signed) && shift ;;
        *) echo "demo: unknown option $1 (--shares N, --seconds N, --keep, --tls)" >&2 && exit 2 ;;
    esac
done

folder=build/demo
pool_log=$folder/pool.log pool_stats=$folder/pool.json screenshot=$folder/screenshot.png
pool_pid= miner_pid= own_display=
window() { scripts/wine-run build/windows/tools/miner-window.exe "$@"; }

finish() {
    [ -z "$miner_pid" ] || window close >/dev/null 2>&1 || true
    [ -z "$pool_pid" ] || kill "$pool_pid" 2>/dev/null || true
    [ -z "$own_display" ] || wine_stop >/dev/null 2>&1
}
trap finish EXIT

start_pool() {
    build/tools/devpool --port 0 --mode auto --difficulty 4000 --interval 20 --stats "$pool_stats" "${tls[@]}" >"$pool_log" 2>&1 &
    pool_pid=$!
    for _ in $(seq 100); do
        port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$pool_log" | head -1)
        [ -z "$port" ] || return 0
        kill -0 "$pool_pid" 2>/dev/null || break
        sleep 0.1
    done
    echo "demo: the local pool did not start:" >&2
    cat "$pool_log" >&2
    exit 1
}

server() { # what the miner is told
    local fingerprint
    fingerprint=$(sed -n 's/^certificate sha256=//p' "$pool_log")
    [ -z "$fingerprint" ] && echo 127.0.0.1 || echo "ssl://127.0.0.1#sha256=$fingerprint"
}

answers() { (: <"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

free_port() { # a port that nobody listens on
    local port
    while :; do
        port=$((20000 + RANDOM % 20000))
        answers "$port" || break
    done
    echo "$port"
}

prepare_miner() {
    rm -rf "$folder/miner"
    mkdir -p "$folder/miner/Settings"
    cp -r build/Quorvel-Miner/. "$folder/miner/"
    cp build/sim/* "$folder/miner/"
    control_port=$(free_port)
    cat >"$folder/miner/Settings/RuntimeSettingsMiner.xml" <<XML
<?xml version="1.0" encoding="utf-8"?>
<RuntimeSettings HostPort="$control_port" ControlState="1">
  <Logging MainLog="1" ConnectionLog="1"/>
</RuntimeSettings>
XML
    cat >"$folder/configuration.json" <<JSON
{
    "pools": [
        {"id": 1, "name": "Local pool", "server": "$(server)", "port": $port, "algo": 2,
         "wallet": "0x0000000000000000000000000000000000000000", "password": "x"}
    ],
    "config": [
        {"primary-poolid": 1, "secondary-poolid": 1, "gpus": "all"}
    ]
}
JSON
}

control() { XDG_STATE_HOME=$PWD/$folder/state build/tools/quorvel-control "$@" --rig "127.0.0.1:$control_port"; }

# The control channel opens a moment after the window.
wait_for_control() {
    for _ in $(seq 200); do
        ! answers "$control_port" || return 0
        sleep 0.1
    done
    return 1
}

# As an owner does it from afar: name the rig, send pools and configurations, start.
configure_and_start() {
    wait_for_control && control worker demo && control configure "$folder/configuration.json" ||
        { echo "demo: the miner did not obey its controller" >&2 && return 1; }
    # The plug-in makes its light cache first, which takes up to a minute on a slow machine.
    control start --wait 120 || { echo "demo: the miner does not hash: the line above says what is known" >&2 && return 1; }
    control status
}

# A display of the user's is used; without one the miner runs in an X server of our own.
start_display() {
    local user_display=${DISPLAY:-}
    wine_environment
    display_alive || own_display=yes
    if [ -z "$user_display" ]; then
        wine_start
        return
    fi
    if [ ! -e "$wine_state/ready" ]; then # the prefix is made out of sight
        wine_start
        wine_stop
    fi
    own_display=
    export QV_DISPLAY=$user_display
}

accepted() { grep -c "^share accepted" "$pool_log" || true; }

show_new_lines() { # prints the pool's lines since the last call
    local total
    total=$(wc -l <"$pool_log")
    [ "$total" -gt "$shown" ] && sed -n "$((shown + 1)),${total}p" "$pool_log"
    shown=$total
}

wait_for_shares() {
    local end=$((SECONDS + seconds))
    shown=0
    while [ -n "$keep" ] || [ "$(accepted)" -lt "$shares" ]; do
        show_new_lines
        kill -0 "$pool_pid" 2>/dev/null || { echo "demo: the pool ended" >&2 && return 1; }
        kill -0 "$miner_pid" 2>/dev/null || { echo "demo: the miner ended" >&2 && return 1; }
        [ -n "$keep" ] || [ $SECONDS -lt $end ] || { echo "demo: $seconds seconds passed" >&2 && return 1; }
        sleep 0.5
    done
    show_new_lines
}

# Sums A, S and R over the miner's own closing lines, one for each GPU.
miner_counts() {
    cat "$folder"/miner/Logs/Quorvel-Miner_*.log | sed -n 's/.*GPU#[0-9-]*: A:\([0-9]*\) - S:\([0-9]*\) R:\([0-9]*\).*/\1 \2 \3/p' |
        awk '{a += $1; s += $2; r += $3} END {print a + 0, s + 0, r + 0}'
}

# Accepted, rejected and, among these, stale: from the pool's summary.
pool_counts() {
    tr -d ' \n' <"$pool_stats" |
        sed -n 's/^{"accepted":\([0-9]*\),"rejected":{"total":\([0-9]*\),.*"stale":\([0-9]*\).*/\1 \2 \3/p'
}

summarise() {
    local a s r pool_accepted pool_rejected pool_stale
    read -r a s r < <(miner_counts)
    read -r pool_accepted pool_rejected pool_stale < <(pool_counts)
    printf '\n== Summary\n'
    sed -n 's/.*Mining stopped\. \(GPU#.*\)/  miner: \1/p' "$folder"/miner/Logs/Quorvel-Miner_*.log | tr -d '\r'
    printf '  miner: %s accepted, %s stale, %s rejected\n' "$a" "$s" "$r"
    printf '  pool:  %s accepted, %s rejected\n' "$pool_accepted" "$pool_rejected"
    printf '  picture: %s, logs: %s\n' "$screenshot" "$folder/miner/Logs"
    # A share that crosses a new job on its way is stale: on a busy machine that happens.
    [ "$pool_stale" -eq 0 ] || echo "  $pool_stale rejected by the pool as stale: its job was replaced while the share was on its way"
    [ "$r" -le "$pool_stale" ] && [ "$pool_rejected" -eq "$pool_stale" ] || { echo "demo: shares were rejected" >&2 && return 1; }
    # An answer that was on its way while the miner closed its connection is counted by the pool alone.
    local unseen=$((pool_accepted - a))
    [ "$unseen" -eq 0 ] || echo "  $unseen accepted by the pool while the miner closed its connection"
    [ "$unseen" -ge 0 ] && [ "$unseen" -le 2 ] || { echo "demo: the counts do not agree" >&2 && return 1; }
    [ "$a" -ge "$shares" ] || { echo "demo: fewer than $shares shares" >&2 && return 1; }
    echo "  mined $a real shares; the cards and the pool are simulated, the hashing is not"
}

mkdir -p "$folder"
start_display
start_pool
prepare_miner
if [ -n "$keep" ]; then
    echo "== Mining at 127.0.0.1:$port until interrupted; build/tools/quorvel-control status --rig 127.0.0.1:$control_port"
else
    echo "== Mining at 127.0.0.1:$port until $shares shares are accepted (at most $seconds s)"
fi
scripts/wine-run "$folder/miner/Quorvel-Miner.exe" &
miner_pid=$!
window wait || { echo "demo: the miner's window did not open" >&2 && exit 1; }
result=0
configure_and_start || exit 1
wait_for_shares || result=1
import -window root -trim +repage "$screenshot" || echo "demo: no picture could be taken" >&2
window close || echo "demo: the miner's window did not close" >&2
wait "$miner_pid" || true
miner_pid=
kill "$pool_pid" && wait "$pool_pid" || true
pool_pid=
summarise || result=1
exit "$result"
