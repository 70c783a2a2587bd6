#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Hosting behind a home router, with a real router: network namespaces for two home machines, the
# router (NAT and an IPv6 firewall with nftables, miniupnpd answering UPnP IGD version 2 and
# NAT-PMP) and a far player on the "internet", whose address ranges exist only inside these
# namespaces. kelvane-bot plays whole games through the router's forwarding, and over IPv6
# through the pinhole, which the far player cannot pass before it is opened or once the bot has
# gone. A NAT-PMP router with odd answers (odd_router.py) is never told as a door. Every way a
# program ends that can still run code (the bot's and the window's signals, the window's Quit and
# its "No" to a program-error report) leaves no mapping and no pinhole on the router. A home
# behind a shared IPv4 address with no pinhole is told that the friend should serve.
#   router_lab.sh BOT [WINDOW_TESTS LAB_WINDOW]    exits 77 (skipped) without root or the tools
set -uo pipefail
bot=$1
window_tests=${2:-}
lab_window=${3:-}
here=$(dirname "$0")
# shellcheck source=router_lab_net.sh
source "$here/router_lab_net.sh"

# NS ARGS...: kelvane-bot in NS. Only as a background job, whose place it takes: the job's pid is
# then the bot's own, and a signal sent to it reaches the bot rather than a shell that would leave
# the bot running. Each such bot is awaited with ended_within, which bounds it.
lab_bot() {
    local ns=$1
    shift
    exec ip netns exec "$ns" "$bot" "$@"
}

# NAME NS ARGS...: a bot in the background, its output in NAME.out and NAME.err.
bot_in() {
    local name=$1 ns=$2
    shift 2
    # Gone before the start: the shell opens the new files only in the background job.
    rm -f "$dir/$name.out" "$dir/$name.err"
    lab_bot "$ns" --delay 0 --level 1 --seed 7 "$@" >"$dir/$name.out" 2>"$dir/$name.err" &
    eval "${name}_pid=$!"
}

# NAME NS ARGS...: a bot played to its end, its output in NAME.out and NAME.err; its status.
bot_at() {
    local name=$1 ns=$2
    shift 2
    lab_bot "$ns" "$@" >"$dir/$name.out" 2>"$dir/$name.err" &
    ended_within $! 25 "$name"
}

# NAME PATTERN SECONDS: the line of NAME's standard error matching PATTERN.
await_line() {
    for _ in $(seq $(($3 * 10))); do
        grep -m1 -E "$2" "$dir/$1.err" 2>/dev/null && return
        sleep 0.1
    done
    fail "$1 never said /$2/ within $3 s"
}

# Told once every door has answered, and only when one is open.
both_told="Players in other homes connect"

# Nothing is left on the router: no forwarding, no pinhole.
nothing_held() { [ "$(mappings)" -eq 0 ] && [ "$(pinholes)" -eq 0 ]; }

# WHAT: while serving, the router holds the forwarding, and the pinhole if it offers pinholes.
held_while_serving() {
    [ "$(mappings)" -ge 1 ] || fail "$1: the router holds no mapping while serving"
    [ "$(pinholes)" -ge "$pinholes_offered" ] || fail "$1: the router holds no pinhole while serving"
}

# The far player's call to the home machine's IPv6 address and the game's port: 0 when it got
# through, 124 when the router's firewall dropped it, anything else when the machine refused it.
far_call_v6() {
    ip netns exec "$far" timeout 2 bash -c "exec 3<>/dev/tcp/$home6/8895" 2>/dev/null
}

# PID: where each thread of PID and of its children stands, when gdb is there to tell.
stacks() {
    command -v gdb >/dev/null || return 0
    local pid
    for pid in "$1" $(pgrep -P "$1"); do
        echo "--- stacks of $(tr '\0' ' ' <"/proc/$pid/cmdline" 2>/dev/null)"
        timeout 30 gdb -p "$pid" -batch -ex 'thread apply all bt 20' 2>/dev/null |
            grep -E '^(#|Thread)' | head -n 80
    done
}

# PID SECONDS WHAT: the program's exit status once it has ended, or a failure, with where its
# threads stand, when it is still running SECONDS from now.
ended_within() {
    for _ in $(seq $(($2 * 10))); do
        kill -0 "$1" 2>/dev/null || {
            wait "$1"
            return
        }
        sleep 0.1
    done
    stacks "$1"
    pkill -KILL -P "$1"
    kill -KILL "$1" 2>/dev/null
    fail "$3: still running $2 s on"
}

# The serving bot ended by each signal a terminal or a desktop sends: the mapping goes with it.
bot_signals() {
    local signal status
    for signal in TERM INT HUP; do
        bot_in signalled "$home" --serve --open-router
        await_line signalled "$both_told" 5 >/dev/null
        held_while_serving "bot $signal"
        kill -"$signal" "$signalled_pid"
        ended_within "$signalled_pid" 5 "bot $signal"
        status=$?
        # Stopped, not done: the bot's status for a game it did not finish.
        [ "$status" -eq 1 ] || fail "bot $signal: ended with status $status"
        nothing_held || fail "bot $signal: a mapping or pinhole is left after the bot ended"
        echo "bot $signal: given back"
    done
}

# HOW [FAR]: the window serving as the program runs it, ended by HOW (quit, no, or a signal's
# name), with a far player in the game first when FAR is given. Nothing is left on the router.
window_ends() {
    local how=$1 far_game=${2:-} mode=wait status
    case $how in quit | no) mode=$how ;; esac
    rm -f "$dir/go" "$dir/win.err"
    ip netns exec "$home" env QT_QPA_PLATFORM=offscreen "$lab_window" "$mode" "$dir/go" \
        >"$dir/win.out" 2>"$dir/win.err" &
    window_pid=$!
    await_line win "$both_told" 8 >/dev/null
    if [ -n "$far_game" ]; then
        rm -f "$dir/far.err"
        lab_bot "$far" --delay 300 --level 1 --connect $outside >"$dir/far.out" 2>"$dir/far.err" &
        far_pid=$!
        await_line far "playing " 5 >/dev/null
    fi
    held_while_serving "window $how"
    if [ "$mode" = wait ]; then kill -"$how" "$window_pid"; else touch "$dir/go"; fi
    ended_within "$window_pid" 8 "window $how${far_game:+ mid-game}"
    status=$?
    case $how in
        no) [ "$status" -eq 1 ] || fail "window no: ended with status $status, not at once" ;;
        *) [ "$status" -eq 0 ] || fail "window $how: ended with status $status" ;;
    esac
    nothing_held || fail "window $how: a mapping or pinhole is left after the window ended"
    if [ -n "$far_game" ]; then
        ended_within "$far_pid" 10 "the far player of window $how"
        grep -q "Your opponent left." "$dir/far.out" || fail "window $how: the far player was not told"
    fi
    echo "window $how${far_game:+ mid-game}: given back"
}

# bot|window [twice]: the router is slow to take the port back (frozen while the program ends),
# and the program waits for it, within the give-back's bound, rather than leave with the port
# open; told twice, it ends at once, as a player who asks again wants (the port stays open then).
slow_give_back() {
    local who=$1 twice=${2:-} pid status
    if [ "$who" = bot ]; then
        bot_in signalled "$home" --serve --open-router
        pid=$signalled_pid
        await_line signalled "$both_told" 5 >/dev/null
    else
        rm -f "$dir/win.err"
        ip netns exec "$home" env QT_QPA_PLATFORM=offscreen "$lab_window" wait \
            >"$dir/win.out" 2>"$dir/win.err" &
        pid=$!
        await_line win "$both_told" 8 >/dev/null
    fi
    kill -STOP "$daemon"
    kill -TERM "$pid"
    sleep 0.5
    if ! kill -0 "$pid" 2>/dev/null; then
        kill -CONT "$daemon"
        fail "$who: ended without waiting for the router to take the port back"
    fi
    if [ -n "$twice" ]; then
        kill -TERM "$pid"
        ended_within "$pid" 1 "$who told twice to end"
        status=$?
        kill -CONT "$daemon"
        [ "$status" -eq 143 ] || fail "$who told twice: ended with status $status, not by the signal"
        echo "$who: told twice to end, ended at once"
        return
    fi
    kill -CONT "$daemon"
    ended_within "$pid" 5 "$who with a slow router"
    nothing_held || fail "$who: a mapping or pinhole is left after a slow give-back"
    echo "$who: waited for a slow router to take the port back"
}

# OUTSIDE PORT LIFETIME SAYS: a NAT-PMP router that answers the bot's request with these odd
# values. The bot says SAYS, never an address to give unless the answer is a door, and gives back
# at once what is no door.
odd_answer() {
    local answer="$1 $2 $3" says=$4
    rm -f "$dir/odd.log" "$dir/odd.out"
    ip netns exec "$router" python3 "$here/odd_router.py" 192.168.77.1 "$1" "$2" "$3" "$dir/odd.log" \
        >"$dir/odd.out" 2>&1 &
    odd_pid=$!
    for _ in $(seq 50); do grep -q listening "$dir/odd.out" 2>/dev/null && break; sleep 0.1; done
    bot_in signalled "$home" --serve --open-router
    await_line signalled "$both_told|No door is open|friend serve" 5 >/dev/null
    grep -q "$says" "$dir/signalled.err" || fail "odd answer $answer: not told '$says'"
    if [ "$says" != "connect to $1." ]; then
        ! grep -qE "connect to [0-9[]" "$dir/signalled.err" || fail "odd answer $answer: told as an address"
        for _ in $(seq 20); do grep -qs "^map 8895 [0-9]* 0$" "$dir/odd.log" && break; sleep 0.1; done
        grep -qs "^map 8895 [0-9]* 0$" "$dir/odd.log" || fail "odd answer $answer: not given back"
    fi
    kill -TERM "$signalled_pid"
    ended_within "$signalled_pid" 5 "bot after the odd answer $answer"
    kill "$odd_pid"
    wait "$odd_pid" 2>/dev/null
    echo "odd answer $answer: $(grep -o 'The router.*' "$dir/signalled.err")"
}

# A whole game through the router: the server at home with --open-router, the far player at the
# outside address the server named. The server leaves after its rounds, and the mapping with it.
game_through_router() {  # CASE ROUNDS [HOME_NS]
    local case=$1 rounds=$2 ns=${3:-$home} sentence address
    bot_in server "$ns" --serve --open-router --rounds "$rounds"
    # A failure inside $(...) ends only the subshell: it is told again here.
    sentence=$(await_line server "$both_told" 5) || fail "$case: the server never told both doors"
    address=$(sed -nE 's/.*connect to ([^ ,]+)[.,].*/\1/p' <<<"$sentence")
    [ -n "$address" ] || fail "$case: no outside address in '$sentence'"
    held_while_serving "$case"
    bot_at far "$far" --delay 0 --level 1 --connect "$address"
    ended_within "$server_pid" 25 "$case: the server" || fail "$case: the server ended with status $?"
    grep -q "^Round $rounds:" "$dir/far.out" || fail "$case: the far player did not finish $rounds rounds"
    echo "$case: $sentence"
}

start_router yes
pinholes_offered=1
bot_signals
slow_give_back bot
game_through_router "UPnP" 2
nothing_held || fail "UPnP: a mapping or pinhole is left after the server quit"
grep -q "for: Kelvane" "$dir/upnpd.log" || fail "UPnP: the mapping's description is not Kelvane"

# The router's port 8895 is the other home machine's: ours gets another, the far player uses it.
bot_in holder "$home2" --serve --open-router
await_line holder "$both_told" 5 >/dev/null
game_through_router "taken port" 1
grep -q "another machine's" "$dir/server.err" || fail "taken port: the other outside port was not told"
grep -q "connect to $outside:88" "$dir/server.err" || fail "taken port: no address:port told"
kill -TERM "$holder_pid"
ended_within "$holder_pid" 5 "the bot holding the other machine's port"
nothing_held || fail "a bot stopped by a signal left its mapping or pinhole"

# The far player's program is killed mid-game: the server gives up waiting and gives the port back.
bot_in server "$home" --serve --open-router --resume-timeout 1
await_line server "$both_told" 5 >/dev/null
lab_bot "$far" --delay 200 --level 1 --connect $outside >"$dir/far.out" 2>"$dir/far.err" &
far_pid=$!
await_line server "playing " 5 >/dev/null
{ kill -KILL "$far_pid"; wait "$far_pid"; } 2>/dev/null
ended_within "$server_pid" 25 "lost game: the server"
grep -q "giving up" "$dir/server.err" || fail "lost game: the server did not give up"
nothing_held || fail "lost game: a mapping or pinhole is left after the server gave up"
echo "lost game: given back"

# IPv6: the far player calls the home machine's own address. The router's firewall drops the call
# while the bot serves without asking it (the far player's bot gives up after its connection
# timeout and says why); it lets the game through the pinhole the bot asks for, and drops the call
# again once the bot has gone and the pinhole with it.
bot_in server "$home" --serve --rounds 1
await_line server "waiting for an opponent" 5 >/dev/null
bot_at far "$far" --connect "$home6"
grep -q "Nothing answered at $home6, port 8895, in time: .* the server's home may not let players in" \
    "$dir/far.err" || fail "IPv6: the far player's call before the pinhole was not told as unanswered"
kill -TERM "$server_pid"
ended_within "$server_pid" 5 "IPv6: the server without a pinhole"
bot_in server "$home" --serve --open-router --rounds 1
sentence=$(await_line server "$both_told" 5) || fail "IPv6: the server never told both doors"
address=$(sed -nE 's/.*with IPv6 to ([^ ]+)\.$/\1/p' <<<"$sentence")
[ "$address" = "$home6" ] || fail "IPv6: told '$sentence', not the home machine's address"
[ "$(pinholes)" -eq 1 ] || fail "IPv6: the router holds $(pinholes) pinholes while the bot serves"
bot_at far "$far" --delay 0 --level 1 --connect "$address"
ended_within "$server_pid" 25 "IPv6: the server" || fail "IPv6: the server ended with status $?"
grep -q "^Round 1:" "$dir/far.out" || fail "IPv6: the far player did not play through the pinhole"
nothing_held || fail "IPv6: a mapping or pinhole is left after the server quit"
far_call_v6
status=$?
[ "$status" -eq 124 ] || fail "IPv6: the far player's call ended $status, not dropped, after the bot"
echo "IPv6: dropped before the pinhole, a round through it, dropped after: $sentence"

start_router no
pinholes_offered=0
game_through_router "NAT-PMP" 1
nothing_held || fail "NAT-PMP: a mapping or pinhole is left after the server quit"
bot_signals
# Last before this router goes: the mapping the bot leaves is the router's to forget.
slow_give_back bot twice

# Nobody answers: one sentence within the bound, and a player on the home network plays on.
start_router none
started=$(date +%s%N)
bot_in server "$home" --serve --open-router --rounds 1
await_line server "No door is open" 5 >/dev/null
elapsed=$((($(date +%s%N) - started) / 1000000))
[ "$elapsed" -le 4000 ] || fail "no router: told after $elapsed ms"
[ "$(grep -c "No router answered" "$dir/server.err")" -eq 2 ] || fail "no router: not one sentence a door"
bot_at far "$home2" --delay 0 --level 1 --connect 192.168.77.2
ended_within "$server_pid" 25 "no router: the server" || fail "no router: the server ended with status $?"
grep -q "^Round 1:" "$dir/far.out" || fail "no router: the home player did not play"
echo "no router: told after $elapsed ms, LAN play went on"

if command -v python3 >/dev/null; then
    no_door="did not open a door"
    odd_answer $outside 8895 3600 "connect to $outside."
    odd_answer 0.0.0.0 8895 3600 "$no_door"
    odd_answer 127.0.0.1 8895 3600 "$no_door"
    odd_answer 169.254.1.1 8895 3600 "$no_door"
    odd_answer 224.0.0.1 8895 3600 "$no_door"
    odd_answer $outside 0 3600 "$no_door"
    odd_answer $outside 8895 0 "$no_door"
    odd_answer 192.168.1.1 8895 3600 "private or shared"
else
    echo "odd answers: skipped (python3 is not installed)"
fi

if [ -n "$window_tests" ]; then
    start_router yes
    pinholes_offered=1
    ip netns exec "$home" env QT_QPA_PLATFORM=offscreen KELVANE_LAB_OUTSIDE=$outside \
        KELVANE_LAB_HOME6=$home6 KELVANE_LAB_FAR="$far" \
        timeout -k 3 60 "$window_tests" --gtest_filter='RouterWindow.*' >"$dir/window.out" 2>&1 ||
        { cat "$dir/window.out"; fail "the window's test failed"; }
    grep -q "PASSED.*1 test" "$dir/window.out" || fail "the window's test did not run"
    echo "window: told both addresses and played a round through the pinhole"
    nothing_held || fail "window: a mapping or pinhole is left after the window closed"
    for how in quit TERM INT HUP no; do window_ends "$how"; done
    window_ends TERM far
    slow_give_back window
    start_router no
    pinholes_offered=0
    window_ends HUP
    slow_give_back window twice
fi

# The provider shares the router's outside address among many homes, and the router offers no
# pinhole: nobody outside can call in, so the player is told that the friend should serve.
start_router shared
bot_in server "$home" --serve --open-router
# The home has IPv6: the sentence comes once the pinhole's answer has, and says no door opened.
said="the router opened no IPv6 door. Let your friend serve"
sentence=$(await_line server "$said" 5) || fail "shared: the bot never said the friend should serve"
[ "$(grep -c "friend serve" "$dir/server.err")" -eq 1 ] || fail "shared: the bot said it more than once"
nothing_held || fail "shared: something is held on the router for nothing"
kill -TERM "$server_pid"
ended_within "$server_pid" 5 "the bot behind a shared address"
echo "shared, bot: $sentence"
if [ -n "$lab_window" ]; then
    rm -f "$dir/win.err"
    ip netns exec "$home" env QT_QPA_PLATFORM=offscreen "$lab_window" wait \
        >"$dir/win.out" 2>"$dir/win.err" &
    window_pid=$!
    sentence=$(await_line win "$said" 8) || fail "shared: the window never said the friend should serve"
    [ "$(grep -c "friend serve" "$dir/win.err")" -eq 1 ] || fail "shared: the window said it more than once"
    kill -TERM "$window_pid"
    ended_within "$window_pid" 8 "the window behind a shared address"
    echo "shared, window: $sentence"
fi
echo "PASS"
