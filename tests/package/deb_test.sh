#!/usr/bin/env bash
# cpack -G DEB into a temporary folder; the package's fields and files; then the programs
# unpacked from it, run as a user runs them. Skipped (77) without the Debian package tools.
#   deb_test.sh BUILD_DIR VERSION
set -euo pipefail
build=$1 version=$2
for tool in dpkg-deb dpkg-shlibdeps; do
    if ! command -v "$tool" >/dev/null; then
        echo "SKIP: $tool not found (Debian packages dpkg and dpkg-dev)"
        exit 77
    fi
done
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
[ "$(field Maintainer)" = "Power Analyzer developers" ] || fail "Maintainer: $(field Maintainer)"
[ "$(field Recommends)" = "xdg-utils, fonts-wqy-microhei | fonts-noto-cjk" ] ||
    fail "Recommends: $(field Recommends)"
depends=$(field Depends)
for package in qt6-qpa-plugins libqt6core6 libqt6gui6 libqt6widgets6 libqt6serialport6 \
    libqt6charts6 libqt6printsupport6 libc6; do
    [[ ", $depends," == *", $package"[\ ,]* ]] || fail "Depends lacks $package: $depends"
done

contents=$(dpkg-deb -c "$deb")
for path in ./usr/bin/poweranalyzer ./usr/bin/poweranalyzer-cli ./usr/bin/poweranalyzer-sim \
    ./usr/lib/poweranalyzer/poweranalyzer ./usr/lib/poweranalyzer/poweranalyzer-cli \
    ./usr/lib/poweranalyzer/poweranalyzer-sim \
    ./usr/lib/poweranalyzer/help/KV2260-SW-HELP-EN_V6.7.pdf \
    ./usr/lib/poweranalyzer/help/KV2260-SW-AYUDA-ES_V6.7.pdf \
    ./usr/share/applications/poweranalyzer.desktop \
    ./usr/lib/systemd/system/poweranalyzer-record@.service \
    ./usr/lib/udev/rules.d/60-poweranalyzer.rules \
    ./usr/share/icons/hicolor/scalable/apps/poweranalyzer.svg; do
    grep -q " $path\( -> .*\)\?$" <<<"$contents" || fail "package lacks $path"
done
grep -q " ./usr/bin/poweranalyzer-cli -> ../lib/poweranalyzer/poweranalyzer-cli$" \
    <<<"$contents" || fail "usr/bin/poweranalyzer-cli is not a relative link"

dpkg-deb -e "$deb" "$out/control"
[ -x "$out/control/postinst" ] || fail "no postinst to reload systemd and udev"

dpkg-deb -x "$deb" "$out/root"
lines=$("$out/root/usr/bin/poweranalyzer-cli" monitor --simulate --count 3)
# A header line naming the columns, then the three samples.
[ "$(printf '%s\n' "$lines" | wc -l)" -eq 4 ] || fail "monitor printed:
$lines"
manual=$("$out/root/usr/bin/poweranalyzer-cli" manual) || fail "manual: $manual"
grep -qx "English: $out/root/usr/lib/poweranalyzer/help/KV2260-SW-HELP-EN_V6.7.pdf" \
    <<<"$manual" || fail "manual printed: $manual"

[ "$failures" -eq 0 ] || exit 1
echo "$(basename "$deb"): $(stat -c %s "$deb") bytes, all checks passed"
