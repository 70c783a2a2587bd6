#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Two checks CI makes on the tree, each failing with the lines at fault:
# - layers: a library includes only its own folder and the folders below it, so the layering
#   ARCHITECTURE.md draws holds by check, not by discipline;
# - paths: every file or folder path ARCHITECTURE.md, README.md and docs/measurements.md name
#   exists.
#   bash tools/check_tree.sh
set -uo pipefail
cd "$(dirname "$0")/.."
status=0

# Each library folder and the project folders it may include from (its own first). A header named
# in place of a folder is the only one of that folder it may include: the network side sits above
# what the window asks of it, not above the window.
declare -A may=(
    [game]="game"
    [wire]="wire game"
    [engine]="engine wire game"
    [words]="words portmap engine wire game"
    [headless]="headless engine wire game"
    [portmap]="portmap wire"
    [ui]="ui portmap words engine wire game"
    [qtnet]="qtnet ui/window_socket.h portmap engine wire game"
    [bot]="bot headless qtnet portmap words engine wire game"
    [sim]="sim headless engine wire game"
)
for folder in "${!may[@]}"; do
    while IFS=: read -r file line text; do
        used=$(sed -E 's/.*#include "([a-z_]+)\/.*/\1/' <<<"$text")
        header=$(sed -E 's/.*#include "([^"]+)".*/\1/' <<<"$text")
        if [[ " ${may[$folder]} " != *" $used "* && " ${may[$folder]} " != *" $header "* ]]; then
            echo "layers: $file:$line includes from $used/, which $folder/ may not: $text" >&2
            status=1
        fi
    done < <(git grep -nE '^#include "[a-z_]+/' -- "$folder/*.cpp" "$folder/*.h")
done

# Paths into the repository (their first folder is one of its own), in backquotes or links:
# `engine/table.h`, (docs/round.png). Paths on an installed system are not the repository's.
top=$(git ls-tree --name-only HEAD | paste -sd'|')
for doc in ARCHITECTURE.md README.md docs/measurements.md; do
    while read -r path; do
        [ -e "$path" ] || {
            echo "paths: $doc names $path, which does not exist" >&2
            status=1
        }
    done < <(grep -oE '(`|\()[A-Za-z0-9_.-]+/[A-Za-z0-9_./-]*(`|\))' "$doc" |
        sed -E 's/^[`(]//; s/[`)]$//' | grep -E "^($top)/" | sort -u)
done
[ $status -eq 0 ] && echo "Layers hold; every path the documents name exists."
exit $status
