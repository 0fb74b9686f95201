#!/usr/bin/env bash
# Starts the servers that the test of encrypted connections connects to, and runs it: tls-pools.sh DEVPOOL TEST.EXE
# The test finds them in QV_TLS_POOLS: "name port fingerprint" each, a ';' behind it.
set -euo pipefail
devpool=$1 test=$2 root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)"
[ -x "$devpool" ] || { echo "tls-pools.sh: $devpool is missing; ./dev test builds it" >&2 && exit 1; }
folder=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; wait; rm -rf "$folder"' EXIT

start() { # name, options...
    local name=$1
    shift
    "$devpool" --port 0 --algorithm toy --interval 0 "$@" >"$folder/$name" 2>&1 &
    pids+=($!)
}
start good --tls good --tls-root "$folder/root.der"
start stranger --tls good
start split --tls self-signed --split
start expired --tls expired
start other --tls other-name
start self --tls self-signed
start new --tls self-signed --tls-version 1.3
start flood --tls self-signed --tls-flood
start silent --tls self-signed --tls-silent
start plain
for bytes in 1 5 6 100 400 600; do start "cut$bytes" --tls self-signed --tls-close-after "$bytes"; done

pools=
for _ in $(seq 200); do
    pools=
    for log in "$folder"/*; do
        case "$log" in *.der) continue ;; esac
        port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$log")
        fingerprint=$(sed -n 's/.*sha256=\([0-9a-f]*\).*/\1/p' "$log")
        [ -n "$port" ] || continue 2 && pools+="$(basename "$log") $port ${fingerprint:--};"
    done
    break
done
export QV_TLS_POOLS=$pools QV_TLS_ROOT="Z:$folder/root.der"
"$root/scripts/wine-run" "$test"
