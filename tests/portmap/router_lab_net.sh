# SPDX-License-Identifier: GPL-3.0-or-later
# The lab's network, for the router lab's test and its benchmark (sourced; needs bash): two
# home machines behind a router doing NAT with nftables and running miniupnpd, and a far player
# on an "internet" whose addresses exist only inside these namespaces. IPv6 is routed, not
# translated: every machine has its own address from 2001:db8::/32, and the router's firewall
# drops new connections from outside except through the pinholes miniupnpd opens. Exits 77
# (skipped) without root or the tools. Defines $home $home2 $router $far $outside $home6 $dir,
# start_router yes|no|none|shared, mappings and pinholes (what the router holds), and fail.
skip() { echo "SKIP: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "building a network of namespaces needs root"
for tool in ip nft miniupnpd timeout; do
    command -v "$tool" >/dev/null || skip "$tool is not installed (tools/dev.sh installs it)"
done

# Names of our own, so that runs at once never meet.
lab=kv$$
home=${lab}h home2=${lab}g router=${lab}r far=${lab}i
outside=11.22.33.1
home6=2001:db8:77::2
dir=$(mktemp -d)
daemon=
cleanup() {
    # A failure may come while the router is frozen: it hears its TERM once it goes on.
    [ -n "$daemon" ] && kill "$daemon" 2>/dev/null && kill -CONT "$daemon" && wait "$daemon" 2>/dev/null
    # What is still running after a failure is told to end, and killed if it does not.
    local left pid
    left=$(jobs -p)
    if [ -n "$left" ]; then
        kill $left 2>/dev/null
        sleep 1
        for pid in $left; do kill -KILL $(pgrep -P "$pid") "$pid" 2>/dev/null; done
    fi
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
# nodad: the addresses are ours alone, and usable at once.
ip -n "$router" addr add 2001:db8:77::1/64 dev br0 nodad
ip -n "$router" link set br0 up
ip -n "$router" addr add $outside/24 dev wan0
ip -n "$router" addr add 2001:db8:33::1/64 dev wan0 nodad
ip -n "$router" link set wan0 up
ip -n "$far" addr add 11.22.33.2/24 dev eth0
ip -n "$far" addr add 2001:db8:33::2/64 dev eth0 nodad
ip -n "$far" link set eth0 up
ip -n "$far" -6 route add default via 2001:db8:33::1
for pair in "$home 192.168.77.2 $home6" "$home2 192.168.77.3 2001:db8:77::3"; do
    set -- $pair
    ip -n "$1" addr add "$2/24" dev eth0
    ip -n "$1" addr add "$3/64" dev eth0 nodad
    ip -n "$1" link set eth0 up
    ip -n "$1" route add default via 192.168.77.1
    ip -n "$1" -6 route add default via 2001:db8:77::1
done
ip netns exec "$router" sysctl -qw net.ipv4.ip_forward=1 net.ipv6.conf.all.forwarding=1
# The chains miniupnpd's nftables backend fills; a home router's IPv6 firewall: what comes from
# outside gets in only through a pinhole, or as part of a connection the home started.
ip netns exec "$router" nft -f - <<'NFT'
table inet filter {
    chain forward {
        type filter hook forward priority 0; policy accept;
        ct state established,related accept
        jump miniupnpd
        meta nfproto ipv6 iifname "wan0" drop
    }
    chain miniupnpd { }
    chain prerouting { type nat hook prerouting priority dstnat; policy accept; jump prerouting_miniupnpd; }
    chain postrouting { type nat hook postrouting priority srcnat; policy accept; jump postrouting_miniupnpd; oifname "wan0" masquerade; }
    chain prerouting_miniupnpd { }
    chain postrouting_miniupnpd { }
}
NFT
set +e

# yes: UPnP (IGD version 2, pinholes too) and NAT-PMP; no: NAT-PMP alone; none: no router
# answers; shared: the router's outside address is the provider's shared one (100.64.0.0/10) and
# it offers no pinhole.
start_router() {
    [ -n "$daemon" ] && { kill "$daemon"; wait "$daemon" 2>/dev/null; }
    daemon=
    # A router started again holds nothing of the last one's: a door left open by a program
    # killed while giving it back goes with the router that opened it.
    local chain
    for chain in miniupnpd prerouting_miniupnpd postrouting_miniupnpd; do
        ip netns exec "$router" nft flush chain inet filter "$chain"
    done
    local outside_now=$outside/24 upnp=$1 ipv6=ext_ifname6=wan0
    [ "$1" = shared ] && { outside_now=100.64.0.1/10 upnp=yes ipv6=ipv6_disable=yes; }
    ip -n "$router" -4 addr flush dev wan0
    ip -n "$router" addr add "$outside_now" dev wan0
    [ "$1" = none ] && return
    cat >"$dir/miniupnpd.conf" <<CONF
ext_ifname=wan0
$ipv6
listening_ip=br0
http_port=0
enable_upnp=$upnp
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
# A pinhole is a rule of miniupnpd's chain naming a home machine's IPv6 address (2001:db8:77::).
pinholes() { ip netns exec "$router" nft list chain inet filter miniupnpd | grep -c 0x20010db80077; }

