#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Makes the Debian package from a build directory and checks it as a player's machine receives it:
# its name and fields, that it installs exactly the files of packaging/contents.txt, that its
# desktop entry, software-centre metadata, changelog and manual pages are valid, that lintian
# accepts it, and that the unpacked programs run on the system's libraries alone.
#   bash packaging/check.sh BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:?usage: check.sh BUILD_DIR}" && pwd)
source_dir=$(cd "$here/.." && pwd)

fail() {
    echo "package check: $*" >&2
    exit 1
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

rm -f "$build"/kelvane_*.deb
(cd "$build" && cpack -G DEB >"$scratch/cpack.log" 2>&1) || {
    cat "$scratch/cpack.log" >&2
    fail "cpack failed"
}
debs=("$build"/kelvane_*.deb)
[ ${#debs[@]} -eq 1 ] && [ -f "${debs[0]}" ] || fail "expected one kelvane_*.deb in $build"
deb=${debs[0]}

field() { dpkg-deb --field "$deb" "$1"; }
version=$(field Version)
[ "$(basename "$deb")" = "kelvane_${version}_$(dpkg --print-architecture).deb" ] ||
    fail "unexpected file name $(basename "$deb")"
[ "$(field Section)" = games ] || fail "section is '$(field Section)', not games"
[ "$(field Recommends)" = kdegames-card-data-kf5 ] || fail "recommends '$(field Recommends)'"
# Computed by dpkg-shlibdeps from what the programs link, so it names the Qt libraries with the
# versions they were built against.
for lib in libqt6widgets6 libqt6network6 libqt6svg6 libstdc++6 libminiupnpc17 libnatpmp1; do
    field Depends | grep -q "\\b$lib (>= " || fail "Depends lacks $lib: $(field Depends)"
done

# Exactly the files listed, no more and no fewer.
dpkg-deb --contents "$deb" | awk '{print $NF}' | sed 's|^\./|/|' | grep -v '/$' | LC_ALL=C sort \
    >"$scratch/contents.txt"
diff -u "$here/contents.txt" "$scratch/contents.txt" ||
    fail "the package's files differ from packaging/contents.txt (- expected, + packaged)"

root="$scratch/root"
dpkg-deb --extract "$deb" "$root"

desktop="$root/usr/share/applications/org.kelvane.kelvane.desktop"
out=$(desktop-file-validate "$desktop" 2>&1) || true
[ -z "$out" ] || fail "desktop-file-validate: $out"

# --no-net: the screenshots are published with a release, after this check runs.
metainfo="$root/usr/share/metainfo/org.kelvane.kelvane.metainfo.xml"
appstreamcli validate --no-net --pedantic "$metainfo" || fail "appstreamcli rejects the metainfo"
newest=$(grep -o '<release version="[^"]*"' "$metainfo" | head -n 1 | cut -d'"' -f2)
[ "$newest" = "$version" ] || fail "the metainfo's newest release is $newest, the package $version"

# The changelog's newest entry is this version: a version raised without an entry fails here.
changelog="$root/usr/share/doc/kelvane/changelog.gz"
zcat "$changelog" >"$scratch/changelog"
logged=$(dpkg-parsechangelog -l "$scratch/changelog" -S Version) ||
    fail "the changelog cannot be read"
[ "$logged" = "$version" ] || fail "the changelog's newest entry is $logged, the package $version"

# Debian's own checks of a package: no error and no warning. What it still notes as information
# is left alone: the compiler's .comment section and the hardening flags a Debian build of the
# source would add through dpkg-buildflags, which this build from CMake does not choose.
lintian --fail-on error,warning --suppress-tags \
    binary-has-unneeded-section,hardening-no-bindnow,hardening-no-fortify-functions \
    "$deb" || fail "lintian finds fault with the package"

for page in "$root"/usr/share/man/man6/*.6.gz; do
    warnings=$(zcat "$page" | groff -man -ww -z 2>&1)
    [ -z "$warnings" ] || fail "$(basename "$page"): $warnings"
done

# The programs, and the window's network side where the window looks for it (beside the games'
# folder, in lib/games/kelvane), find their libraries on the system, none in the build or source tree.
for program in games/kelvane games/kelvane-bot lib/games/kelvane/kelvane-network.so; do
    binary="$root/usr/$program"
    [ -f "$binary" ] || fail "$program is missing"
    ! readelf --dynamic "$binary" | grep -E 'RPATH|RUNPATH' || fail "$program carries a library path"
    libs=$(ldd "$binary")
    ! grep -E "not found|$build|$source_dir" <<<"$libs" || fail "$program's libraries: $libs"
done

cd "$scratch"
answer=$("$root/usr/games/kelvane-bot" --version)
[ "$answer" = "kelvane-bot $version" ] || fail "kelvane-bot --version says '$answer'"

# The window has no way to leave by itself: it must still be running when the time is up.
status=0
QT_QPA_PLATFORM=offscreen timeout 3 "$root/usr/games/kelvane" >"$scratch/kelvane.log" 2>&1 ||
    status=$?
[ $status -eq 124 ] || {
    cat "$scratch/kelvane.log" >&2
    fail "the unpacked kelvane left with status $status before it was stopped"
}

echo "Package checked: $(basename "$deb"), $(stat -c %s "$deb") bytes," \
    "$(wc -l <"$scratch/contents.txt") files."
