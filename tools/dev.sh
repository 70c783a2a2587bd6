#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Sets up a Debian 12 machine for Kelvane and builds, plays, tests or benchmarks it.
#   bash tools/dev.sh play       install what is missing, build, start the game
#   bash tools/dev.sh test       install what is missing, build, run every test, check the package
#   bash tools/dev.sh sanitize   the tests again under AddressSanitizer + UBSan
#   bash tools/dev.sh format     check the formatting of every C++ file
#   bash tools/dev.sh bench      build and run the benchmarks and the start-up comparison
#   bash tools/dev.sh benchcheck run every benchmark program once, briefly: fails if one is broken
#   bash tools/dev.sh fuzz [s]   fuzz what each role receives, s seconds each (default 60)
#   bash tools/dev.sh package    build the Debian package and check what it installs
#   bash tools/dev.sh plain      build and test the way a packager does, without the presets
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(g++ cmake ninja-build pkg-config clang-format libgtest-dev libgmock-dev libbenchmark-dev
          qt6-base-dev qt6-base-private-dev qt6-svg-dev libgl-dev kdegames-card-data-kf5
          fonts-liberation2 clang libclang-rt-14-dev dpkg-dev file desktop-file-utils appstream
          groff-base libgcrypt20-dev lintian libminiupnpc-dev libnatpmp-dev miniupnpd-nftables
          nftables iproute2
          orca at-spi2-core python3-pyatspi dbus-daemon dbus-bin xvfb openbox xdotool)

install_missing() {
    local missing=()
    for p in "${packages[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    echo "Installing: ${missing[*]}"
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

build() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
}

case "${1:-}" in
play)
    install_missing
    build release
    exec build/release/app/kelvane
    ;;
test)
    install_missing
    build release
    QT_QPA_PLATFORM=offscreen ctest --preset release
    bash packaging/check.sh build/release
    ;;
package)
    install_missing
    build release
    bash packaging/check.sh build/release
    ;;
plain)
    # A packager's build: no preset, no options but the build type, the default generator and
    # compiler. Warnings do not stop it, but any warning here fails the task, so none reaches a
    # packager's log.
    install_missing
    cmake -S . -B build/plain -DCMAKE_BUILD_TYPE=Release >/dev/null
    cmake --build build/plain --parallel "$(nproc)" 2>&1 | tee build/plain/build.log
    if grep -q 'warning:' build/plain/build.log; then
        echo "The plain build warned:" >&2
        grep -A3 'warning:' build/plain/build.log >&2
        exit 1
    fi
    (cd build/plain && QT_QPA_PLATFORM=offscreen ctest --output-on-failure --parallel "$(nproc)")
    ;;
sanitize)
    install_missing
    build asan
    QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --preset asan
    ;;
format)
    install_missing
    git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
    # Every source, build and script file names its licence in its first lines.
    unlicensed=$(git ls-files '*.cpp' '*.h' '*.sh' '*.py' '*.cmake' '*.6' '*CMakeLists.txt' .ci/run |
        xargs grep -L 'SPDX-License-Identifier: GPL-3.0-or-later' || true)
    if [ -n "$unlicensed" ]; then
        echo "These files do not name their licence:" >&2
        echo "$unlicensed" >&2
        exit 1
    fi
    echo "Formatting is clean; every file names its licence."
    ;;
bench)
    install_missing
    build release
    for b in build/release/bench/kelvane_*bench; do "$b" "${@:2}"; done
    bash bench/startup.sh build/release
    ;;
benchcheck)
    install_missing
    build release
    bash bench/check.sh build/release
    ;;
fuzz)
    install_missing
    build fuzz
    # Each role starts from the seed corpus; whatever breaks is saved in fuzz/crashes, where the
    # ordinary test suite replays it from then on.
    status=0
    for role in server client; do
        work=$(mktemp -d)
        log=$(mktemp)
        build/fuzz/fuzz/kelvane_fuzz_$role -max_total_time="${2:-60}" -print_final_stats=1 \
            -artifact_prefix=fuzz/crashes/$role- "$work" fuzz/corpus >"$log" 2>&1 || status=1
        echo "$role: $(grep -E '^stat::number_of_executed_units' "$log")"
        grep -E '^(broke|==[0-9]+==ERROR)' "$log" || true
        rm -rf "$work" "$log"
    done
    exit $status
    ;;
*)
    sed -n '3,12p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
