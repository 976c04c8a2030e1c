#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# cpack -G DEB into a temporary folder, then the package as a distribution checks it: its
# fields and files; lintian with no error or warning; the AppStream metadata, the menu entry
# and the manual pages; an install into a clean root with dpkg (maintainer scripts included),
# the programs run from there as a user runs them; then a purge that leaves nothing behind.
#   deb_test.sh BUILD_DIR VERSION
set -euo pipefail
build=$1 version=$2
. "$(dirname "$0")/need_tools.sh"
need_tools dpkg-deb dpkg-shlibdeps lintian appstreamcli desktop-file-validate man
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

(cd "$build" && cpack -G DEB -B "$out" >"$out/cpack.log" 2>&1) || {
    cat "$out/cpack.log"
    exit 1
}
deb=$out/poweranalyzer_${version}_$(dpkg --print-architecture).deb
[ -f "$deb" ] || { fail "no $(basename "$deb") in: $(ls "$out")"; exit 1; }

field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = poweranalyzer ] || fail "Package: $(field Package)"
[ "$(field Version)" = "$version" ] || fail "Version: $(field Version)"
[ "$(field Section)" = electronics ] || fail "Section: $(field Section)"
[[ $(field Maintainer) =~ ^[^\<]+\ \<[^@\>]+@[^\>]+\>$ ]] || fail "Maintainer: $(field Maintainer)"
[ "$(field Recommends)" = "xdg-utils, fonts-wqy-microhei | fonts-noto-cjk" ] ||
    fail "Recommends: $(field Recommends)"
depends=$(field Depends)
for package in qt6-qpa-plugins libqt6core6 libqt6gui6 libqt6widgets6 libqt6serialport6 \
    libqt6charts6 libqt6printsupport6 libc6; do
    [[ ", $depends," == *", $package"[\ ,]* ]] || fail "Depends lacks $package: $depends"
done

# Every tag lintian reports at all (information included) is listed, so that the hardening
# ones (only information) are caught too; errors and warnings fail it by themselves.
lintian_status=0
lintian --info --fail-on error,warning --tag-display-limit 0 "$deb" >"$out/lintian.txt" 2>&1 ||
    lintian_status=$?
if [ "$lintian_status" -ne 0 ] || grep -q 'hardening-' "$out/lintian.txt"; then
    fail "lintian (status $lintian_status):
$(cat "$out/lintian.txt")"
fi

# Every override says why: a comment right above it.
overrides=$(dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/share/lintian/overrides/poweranalyzer)
unexplained=$(awk '!/^#/ && NF && prev !~ /^#/ {print} {prev = $0}' <<<"$overrides")
[ -z "$unexplained" ] || fail "lintian overrides without a reason: $unexplained"

dpkg-deb -e "$deb" "$out/control"
for script in postinst prerm postrm; do
    [ -x "$out/control/$script" ] || fail "no $script"
done

# Installed into an empty root: the maintainer scripts run outside it (with DPKG_ROOT set),
# as in a bootstrap, and find no systemd there.
root=$out/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status"
dpkgr() {
    dpkg --root="$root" --log=/dev/null --force-script-chrootless --force-depends --force-not-root "$@"
}
dpkgr -i "$deb" >"$out/dpkg.txt" 2>&1 || fail "dpkg -i: $(cat "$out/dpkg.txt")"
[ "$(dpkg-query --root="$root" -W -f '${Status}' poweranalyzer)" = "install ok installed" ] ||
    fail "not installed: $(cat "$out/dpkg.txt")"

doc=$root/usr/share/doc/poweranalyzer
for path in usr/bin/poweranalyzer usr/bin/poweranalyzer-cli usr/bin/poweranalyzer-sim \
    usr/share/doc/poweranalyzer/KV2260-SW-HELP-EN_V$version.pdf \
    usr/share/doc/poweranalyzer/KV2260-SW-AYUDA-ES_V$version.pdf \
    usr/share/icons/hicolor/scalable/apps/poweranalyzer.svg \
    usr/lib/systemd/system/poweranalyzer-record@.service; do
    [ -e "$root/$path" ] || fail "package lacks $path"
done
[ "$(readlink "$root/usr/bin/poweranalyzer-cli")" = ../lib/poweranalyzer/poweranalyzer-cli ] ||
    fail "usr/bin/poweranalyzer-cli is not a relative link"
grep -q '^Files: \*$' "$doc/copyright" || fail "copyright is not in the machine-readable format"
zcat "$doc/changelog.gz" | head -1 | grep -q "^poweranalyzer ($version) " ||
    fail "changelog does not start with $version"
for size in 16 22 24 32 48 64 128 256; do
    png=$root/usr/share/icons/hicolor/${size}x$size/apps/poweranalyzer.png
    file -b "$png" | grep -q "PNG image data, $size x $size," || fail "icon $png: $(file -b "$png")"
done

metainfo=$(ls "$root"/usr/share/metainfo/*.metainfo.xml)
appstreamcli validate --no-net "$metainfo" >"$out/appstream.txt" 2>&1 ||
    fail "appstreamcli validate: $(cat "$out/appstream.txt")"
desktop=$root/usr/share/applications/poweranalyzer.desktop
report=$(desktop-file-validate "$desktop" 2>&1) && [ -z "$report" ] ||
    fail "desktop-file-validate: $report"
for key in 'Name\[zh_TW\]' 'GenericName\[zh_TW\]' 'Comment\[zh_TW\]'; do
    grep -q "^$key=" "$desktop" || fail "menu entry lacks $key"
done

for program in poweranalyzer poweranalyzer-cli poweranalyzer-sim; do
    page=$root/usr/share/man/man1/$program.1.gz
    text=$(MANWIDTH=80 man -l "$page" 2>"$out/man.txt") || fail "man -l $page: $(cat "$out/man.txt")"
    grep -q "^NAME" <<<"$text" && grep -Eq "^ +$program +- " <<<"$text" || fail "$program.1 reads:
$text"
    [ ! -s "$out/man.txt" ] || fail "man -l $page warns: $(cat "$out/man.txt")"
    got=$(QT_QPA_PLATFORM=offscreen "$root/usr/bin/$program" --version 2>&1) ||
        fail "$program --version: $got"
    [[ $got == *"$version"* ]] || fail "$program --version printed: $got"
done

lines=$("$root/usr/bin/poweranalyzer-cli" monitor --simulate --count 3)
# A header line naming the columns, then the three samples.
[ "$(printf '%s\n' "$lines" | wc -l)" -eq 4 ] || fail "monitor printed:
$lines"
manual=$("$root/usr/bin/poweranalyzer-cli" manual) || fail "manual: $manual"
grep -qx "English: $doc/KV2260-SW-HELP-EN_V$version.pdf" <<<"$manual" ||
    fail "manual printed: $manual"

dpkgr -P poweranalyzer >"$out/dpkg.txt" 2>&1 || fail "dpkg -P: $(cat "$out/dpkg.txt")"
left=$(cd "$root" && find . ! -type d ! -path './var/lib/dpkg/*')
[ -z "$left" ] || fail "purge left: $left"

[ "$failures" -eq 0 ] || exit 1
echo "$(basename "$deb"): $(stat -c %s "$deb") bytes, lintian clean, all checks passed"
