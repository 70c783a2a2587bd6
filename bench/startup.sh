#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Start-up to the first painted window: Kelvane's window as the game runs it
# (kelvane_startup_window) beside the least a Qt Widgets program with a menu bar does
# (kelvane_minimal_window), started in turns so both meet the same machine state. Each program is
# built to leave right after its first frame is drawn.
#
#   bench/startup.sh [BUILD_DIR] [RUNS]      defaults: build/release 30
#
# Without a display the offscreen platform is used; under X (or Xvfb) set QT_QPA_PLATFORM=xcb.
set -euo pipefail

build=${1:-build/release}
runs=${2:-30}
game=$build/bench/kelvane_startup_window
minimal=$build/bench/kelvane_minimal_window
for program in "$game" "$minimal"; do
  [[ -x $program ]] || { echo "startup.sh: $program is not built" >&2; exit 1; }
done
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}

# Microseconds from exec to exit after the first paint: whole milliseconds would be a twentieth
# of a start, too coarse for the ratio.
elapsed_us() {
  local start end
  start=$(date +%s%N)
  "$1" >/dev/null 2>&1
  end=$(date +%s%N)
  echo $(((end - start) / 1000))
}

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

# One untimed start of each fills the file cache (libraries, fonts, the card theme).
elapsed_us "$game" >/dev/null
elapsed_us "$minimal" >/dev/null

game_times=() minimal_times=()
for ((i = 0; i < runs; i++)); do
  game_times+=("$(elapsed_us "$game")")
  minimal_times+=("$(elapsed_us "$minimal")")
done

game_median=$(printf '%s\n' "${game_times[@]}" | median)
minimal_median=$(printf '%s\n' "${minimal_times[@]}" | median)
echo "platform:        $QT_QPA_PLATFORM, $runs starts each"
ms() { awk -v us="$1" 'BEGIN { printf "%.1f ms", us / 1000 }'; }
echo "kelvane:         median $(ms "$game_median")  (min $(ms "$(printf '%s\n' "${game_times[@]}" | sort -n | head -1)"))"
echo "minimal window:  median $(ms "$minimal_median")  (min $(ms "$(printf '%s\n' "${minimal_times[@]}" | sort -n | head -1)"))"
awk -v g="$game_median" -v m="$minimal_median" 'BEGIN { printf "ratio:           %.2f (limit 1.25)\n", g / m }'
