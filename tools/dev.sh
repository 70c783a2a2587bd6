#!/usr/bin/env bash
# Sets up a Debian 12 machine for Kelvane and builds, plays, tests or benchmarks it.
#   bash tools/dev.sh play       install what is missing, build, start the game
#   bash tools/dev.sh test       install what is missing, build, run every test
#   bash tools/dev.sh sanitize   the tests again under AddressSanitizer + UBSan
#   bash tools/dev.sh format     check the formatting of every C++ file
#   bash tools/dev.sh bench      build and run the benchmarks and the start-up comparison
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(g++ cmake ninja-build pkg-config clang-format libgtest-dev libgmock-dev libbenchmark-dev
          qt6-base-dev qt6-svg-dev libgl-dev kdegames-card-data-kf5)

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
    echo "Formatting is clean."
    ;;
bench)
    install_missing
    build release
    for b in build/release/bench/kelvane_*bench; do "$b" "${@:2}"; done
    bash bench/startup.sh build/release
    ;;
*)
    sed -n '2,7p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
