#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs every benchmark program once with the least work that still plays each case through, so
# a benchmark that no longer runs fails CI instead of going unseen. The figures mean nothing.
#   bash bench/check.sh [BUILD_DIR]       default: build/release
set -euo pipefail
build=$(cd "${1:-build/release}" && pwd)
bench=$build/bench
here=$(cd "$(dirname "$0")" && pwd)
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

failed=()
# Runs one program quietly; its output is shown only when it fails.
check() {
    local name=$1
    shift
    local start=$SECONDS
    if "$@" >"$scratch/out" 2>&1; then
        echo "bench check: $name ran ($((SECONDS - start)) s)"
    else
        echo "bench check: $name FAILED ($*):" >&2
        grep -E 'ERROR OCCURRED|"error_message"' "$scratch/out" >&2 || tail -n 20 "$scratch/out" >&2
        failed+=("$name")
    fi
}

# A Google Benchmark program succeeds even when a case stops with an error; its JSON says so.
gbench() {
    "$@" --benchmark_out="$scratch/result.json" --benchmark_out_format=json &&
        ! grep -A1 '"error_occurred": true' "$scratch/result.json"
}

check kelvane_bench gbench "$bench/kelvane_bench" --benchmark_min_time=0
check kelvane_ui_bench gbench "$bench/kelvane_ui_bench" --smoke
check kelvane-arena "$bench/kelvane-arena" --rounds 20 --seed 1
check kelvane-arena-level2 "$bench/kelvane-arena" --level 2 --against 1 --rounds 2 --seed 1 \
    --playouts 4
check startup.sh bash "$here/startup.sh" "$build" 1
check kelvane_flood_window "$bench/kelvane_flood_window" 1
check kelvane_flood_window_chat "$bench/kelvane_flood_window" chat 1
check kelvane_knock_resume "$bench/kelvane_knock_resume" "$build/bot/kelvane-bot" 1 50
check flood_memory.py python3 "$here/flood_memory.py" "$build/bot/kelvane-bot" 1
check kelvane_screenshots "$bench/kelvane_screenshots" "$scratch" "" 0
# The router lab needs root and its tools, as its test does; CI has both. Exit 77 is its skip.
if [ "$(id -u)" -eq 0 ]; then
    check kelvane_router_bench bash "$here/router_lab.sh" "$bench/kelvane_router_bench" \
        --benchmark_repetitions=1
else
    echo "bench check: kelvane_router_bench skipped (the router lab needs root)"
fi

if [ ${#failed[@]} -gt 0 ]; then
    echo "bench check: failed: ${failed[*]}" >&2
    exit 1
fi
