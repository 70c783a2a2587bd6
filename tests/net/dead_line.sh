#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# A line that dies without a close: two kelvane-bots in network namespaces of their own, joined by
# a virtual cable; mid-game every packet of the client's is dropped (nothing is closed, as when a
# laptop sleeps or a Wi-Fi network changes under it). Both bots must say the connection was lost,
# and once the line is back, both must say the opponent is back and play their rounds to the end,
# the whole within 30 s of the drop.
#   dead_line.sh BOT        exits 77 (skipped) without root or the tools
set -uo pipefail
bot=$1
skip() { echo "SKIP: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "building a network of namespaces needs root"
for tool in ip nft timeout; do
    command -v "$tool" >/dev/null || skip "$tool is not installed (tools/dev.sh installs it)"
done

lab=kd$$
server=${lab}s client=${lab}c
dir=$(mktemp -d)
cleanup() {
    jobs -p | xargs -r kill 2>/dev/null
    for ns in $server $client; do ip netns del "$ns" 2>/dev/null; done
    rm -rf "$dir"
}
trap cleanup EXIT
fail() {
    echo "FAIL: $*"
    for log in "$dir"/*.err "$dir"/*.out; do
        [ -s "$log" ] && { echo "--- $(basename "$log")"; tail -n 15 "$log"; }
    done
    exit 1
}

set -e
for ns in $server $client; do
    ip netns add "$ns"
    ip -n "$ns" link set lo up
done
ip -n "$server" link add eth0 type veth peer name eth0 netns "$client"
ip -n "$server" addr add 10.77.0.1/24 dev eth0
ip -n "$client" addr add 10.77.0.2/24 dev eth0
for ns in $server $client; do ip -n "$ns" link set eth0 up; done
set +e

# NAME PATTERN SECONDS: waits until NAME's standard error has a line matching PATTERN.
await_line() {
    for _ in $(seq $(($3 * 10))); do
        grep -q -E "$2" "$dir/$1.err" && return
        sleep 0.1
    done
    fail "$1 never said /$2/ within $3 s"
}

# Each bot has 60 s for its two rounds; then it is told to end (status 124), and killed 3 s later
# if that did not end it (137), so that a side that hangs fails here, with its reason.
# Slow enough that the drop comes mid-game.
ip netns exec "$server" timeout -k 3 60 "$bot" --serve --delay 150 --level 1 --seed 3 --rounds 2 \
    >"$dir/server.out" 2>"$dir/server.err" &
server_pid=$!
await_line server "waiting for an opponent" 5
ip netns exec "$client" timeout -k 3 60 "$bot" --connect 10.77.0.1 --delay 150 --level 1 --seed 4 \
    --rounds 2 >"$dir/client.out" 2>"$dir/client.err" &
client_pid=$!
await_line client "playing kelvane-bot" 5
sleep 2

dropped=$(date +%s)
ip netns exec "$client" nft -f - <<'NFT'
table inet cut {
    chain in { type filter hook input priority 0; policy drop; }
    chain out { type filter hook output priority 0; policy drop; }
}
NFT
[ "$(ip netns exec "$client" nft list ruleset | grep -c 'policy drop')" -eq 2 ] || fail "the line was not cut"
for side in server client; do await_line "$side" "the connection was lost" 25; done
echo "both said the connection was lost after $(($(date +%s) - dropped)) s"
ip netns exec "$client" nft delete table inet cut
for side in server client; do await_line "$side" "the opponent is back" 20; done
back=$(($(date +%s) - dropped))
echo "both were back in play $back s after the drop"
[ "$back" -le 30 ] || fail "back only after $back s"
for side in server client; do
    pid=${side}_pid
    wait "${!pid}"
    status=$?
    case $status in
        0) ;;
        124) fail "the $side was still playing after 60 s" ;;
        137) fail "the $side did not end when its time was up, and was killed" ;;
        *) fail "the $side left with status $status" ;;
    esac
done
for side in server client; do
    grep -q '^Round 2: ' "$dir/$side.out" || fail "$side did not play its rounds to the end"
done
echo "PASS: a line dead without a close was noticed on both sides and the game resumed"
