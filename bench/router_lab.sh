#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The time from serving to the outside address known, with the router lab's router answering
# UPnP, then NAT-PMP alone (needs root, as the lab's test does).
#   bash bench/router_lab.sh build/release/bench/kelvane_router_bench [benchmark options]
# The options replace the five repetitions (bench/check.sh asks for one).
set -uo pipefail
bench=$(realpath "$1")
options=("${@:2}")
[ ${#options[@]} -gt 0 ] || options=(--benchmark_repetitions=5 --benchmark_report_aggregates_only=true)
# shellcheck source=../tests/portmap/router_lab_net.sh
source "$(dirname "$0")/../tests/portmap/router_lab_net.sh"
for upnp in yes no; do
    start_router $upnp
    echo "enable_upnp=$upnp"
    ip netns exec "$home" "$bench" "${options[@]}" ||
        fail "the benchmark failed"
done
