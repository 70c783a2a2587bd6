# SPDX-License-Identifier: GPL-3.0-or-later
# The lab's network, for the router lab's test and its benchmark (sourced; needs bash): two
# home machines behind a router doing NAT with nftables and running miniupnpd, and a far player
# on an "internet" whose addresses exist only inside these namespaces. Exits 77 (skipped) without
# root or the tools. Defines $home $home2 $router $far $outside $dir, start_router yes|no|none,
# mappings (how many forwardings the router holds) and fail.
skip() { echo "SKIP: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "building a network of namespaces needs root"
for tool in ip nft miniupnpd timeout; do
    command -v "$tool" >/dev/null || skip "$tool is not installed (tools/dev.sh installs it)"
done

# Names of our own, so that runs at once never meet.
lab=kv$$
home=${lab}h home2=${lab}g router=${lab}r far=${lab}i
outside=11.22.33.1
dir=$(mktemp -d)
daemon=
cleanup() {
    [ -n "$daemon" ] && kill "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null
    jobs -p | xargs -r kill 2>/dev/null
    for ns in $home $home2 $router $far; do ip netns del "$ns" 2>/dev/null; done
    rm -rf "$dir"
}
trap cleanup EXIT
fail() {
    echo "FAIL: $*"
    for log in "$dir"/*.err "$dir"/*.out "$dir"/upnpd.log; do
        [ -s "$log" ] && { echo "--- $(basename "$log")"; tail -n 15 "$log"; }
    done
    exit 1
}

set -e
for ns in $home $home2 $router $far; do
    ip netns add "$ns"
    ip -n "$ns" link set lo up
done
ip -n "$router" link add br0 type bridge
ip -n "$home" link add eth0 type veth peer name lan1 netns "$router"
ip -n "$home2" link add eth0 type veth peer name lan2 netns "$router"
ip -n "$far" link add eth0 type veth peer name wan0 netns "$router"
for port in lan1 lan2; do ip -n "$router" link set "$port" master br0 up; done
ip -n "$router" addr add 192.168.77.1/24 dev br0
ip -n "$router" link set br0 up
ip -n "$router" addr add $outside/24 dev wan0
ip -n "$router" link set wan0 up
ip -n "$far" addr add 11.22.33.2/24 dev eth0
ip -n "$far" link set eth0 up
for pair in "$home 192.168.77.2" "$home2 192.168.77.3"; do
    set -- $pair
    ip -n "$1" addr add "$2/24" dev eth0
    ip -n "$1" link set eth0 up
    ip -n "$1" route add default via 192.168.77.1
done
ip netns exec "$router" sysctl -qw net.ipv4.ip_forward=1
# The chains miniupnpd's nftables backend fills.
ip netns exec "$router" nft -f - <<'NFT'
table inet filter {
    chain forward { type filter hook forward priority 0; policy accept; jump miniupnpd; }
    chain miniupnpd { }
    chain prerouting { type nat hook prerouting priority dstnat; policy accept; jump prerouting_miniupnpd; }
    chain postrouting { type nat hook postrouting priority srcnat; policy accept; jump postrouting_miniupnpd; oifname "wan0" masquerade; }
    chain prerouting_miniupnpd { }
    chain postrouting_miniupnpd { }
}
NFT
set +e

start_router() {  # upnp: yes or no
    [ -n "$daemon" ] && { kill "$daemon"; wait "$daemon" 2>/dev/null; }
    daemon=
    [ "$1" = none ] && return
    cat >"$dir/miniupnpd.conf" <<CONF
ext_ifname=wan0
listening_ip=br0
http_port=0
enable_upnp=$1
enable_natpmp=yes
secure_mode=yes
system_uptime=yes
uuid=6a3f0c1e-5b2d-4e8a-9c71-0d4b2e6f8a15
allow 1024-65535 192.168.77.0/24 1024-65535
deny 0-65535 0.0.0.0/0 0-65535
CONF
    ip netns exec "$router" miniupnpd -d -f "$dir/miniupnpd.conf" -P "$dir/upnpd.pid" \
        >"$dir/upnpd.log" 2>&1 &
    daemon=$!
    for _ in $(seq 50); do
        grep -q "HTTP listening\|Listening for NAT-PMP" "$dir/upnpd.log" && return
        sleep 0.1
    done
    fail "miniupnpd did not start"
}

mappings() { ip netns exec "$router" nft list chain inet filter prerouting_miniupnpd | grep -c dnat; }

