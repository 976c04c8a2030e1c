#!/usr/bin/env bash
# Builds the Debian package from a build and checks it: its dependencies (the Qt libraries
# the programs link and the platform plugin), its files, and the programs run from the
# unpacked tree. Exits 77 (skipped) where there is no dpkg-deb.
#
#   check_deb.sh BUILD_DIR
set -euo pipefail
build=$(cd "$1" && pwd)
command -v dpkg-deb >/dev/null && command -v dpkg-shlibdeps >/dev/null || exit 77
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
fail() { echo "check_deb: $*" >&2; exit 1; }

(cd "$out" && cpack --config "$build/CPackConfig.cmake" -G DEB -B "$out" >/dev/null) ||
    fail "cpack failed"
deb="$out/poweranalyzer_6.7_$(dpkg --print-architecture).deb"
[ -f "$deb" ] || fail "no package: $(ls "$out")"

depends=$(dpkg-deb -f "$deb" Depends)
for needed in libqt6core6 libqt6widgets6 libqt6serialport6 libqt6charts6 qt6-qpa-plugins; do
    grep -q "$needed" <<<"$depends" || fail "Depends lacks $needed: $depends"
done
[ "$(dpkg-deb -f "$deb" Section)" = electronics ] || fail "section is not electronics"

contents=$(dpkg-deb -c "$deb")
for file in ./usr/bin/poweranalyzer ./usr/lib/poweranalyzer/help/KV2260-SW-HELP-EN_V6.7.pdf \
    ./usr/share/applications/poweranalyzer.desktop; do
    grep -q " $file" <<<"$contents" || fail "the package lacks $file"
done

dpkg-deb -x "$deb" "$out/root"
source "$(dirname "$0")/installed_tree.sh"
check_installed_tree "$out/root/usr"
echo "package: $(basename "$deb"), $(du -k "$deb" | cut -f1) KB, all checks passed"
