#!/usr/bin/env bash
# Builds the fuzz targets with libFuzzer and runs each for a while, starting from its corpus. --seconds N (default 30)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=30
case "${1:-}" in
    "") ;;
    --seconds) seconds=${2:?--seconds needs a number} ;;
    *) echo "fuzz: unknown option $1 (--seconds N)" >&2 && exit 2 ;;
esac

[ -e build/fuzz/build.ninja ] || CC=clang CXX=clang++ cmake --preset fuzz >/dev/null
cmake --build build/fuzz --target fuzz_targets
failed=
for target in build/fuzz/tests/fuzz/*/*fuzz*; do
    name=$(basename "$(dirname "$target")")
    findings=build/fuzz/findings/$name log=build/fuzz/$name.log
    mkdir -p "$findings"
    echo "== $name, $seconds s"
    if "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -artifact_prefix="$findings/" -print_final_stats=1 \
        "$findings" "tests/fuzz/$name/corpus" >"$log" 2>&1; then
        grep -E '^(#[0-9]+.DONE|stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb))' "$log"
    else
        failed+=" $name"
        grep -vE '^(#[0-9]|stat::)' "$log" | tail -n 60
    fi
done
[ -z "$failed" ] || { echo "fuzz: failures in$failed; inputs in build/fuzz/findings/" >&2 && exit 1; }
