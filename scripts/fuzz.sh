#!/usr/bin/env bash
# Builds the fuzz targets with libFuzzer and runs each for a while, starting from its corpus. --seconds N (default 30)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=30
[ "${1:-}" = --seconds ] && seconds=${2:?--seconds needs a number}

[ -e build/fuzz/build.ninja ] || CC=clang CXX=clang++ cmake --preset fuzz >/dev/null
cmake --build build/fuzz --target fuzz_targets
for target in build/fuzz/tests/fuzz/*/*fuzz*; do
    name=$(basename "$(dirname "$target")")
    findings=build/fuzz/findings/$name
    mkdir -p "$findings"
    echo "== $name, $seconds s"
    "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -artifact_prefix="$findings/" -print_final_stats=1 \
        "$findings" "tests/fuzz/$name/corpus" 2>&1 | tail -n 8
done
