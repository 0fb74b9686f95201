#!/usr/bin/env bash
# Runs a test whose scripted peer stands behind somebody who decrypts: tls-front.sh DEVPOOL TEST.EXE [OPTIONS...]
# The test finds both ports in QV_TLS_FRONT.
set -euo pipefail
devpool=$1 root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)"
[ -x "$devpool" ] || { echo "tls-front.sh: $devpool is missing; ./dev test builds it" >&2 && exit 1; }
log=$(mktemp)
peer=$((20000 + $$ % 10000))
"$devpool" --port 0 --algorithm toy --tls self-signed --tls-before "$peer" >"$log" 2>&1 &
front=$!
trap 'kill "$front" 2>/dev/null || true; wait; rm -f "$log"' EXIT
port=
for _ in $(seq 200); do
    port=$(sed -n 's/.*listening on [0-9.]*:\([0-9]*\).*/\1/p' "$log")
    [ -z "$port" ] || break
    sleep 0.05
done
export QV_TLS_FRONT="$port $peer"
"$root/scripts/wine-run" "${@:2}"
