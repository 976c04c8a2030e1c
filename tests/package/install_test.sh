#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# cmake --install into a temporary prefix, then the installed programs as a user runs them:
# the manuals resolve in the prefix's share/doc/poweranalyzer, the terminal monitor reads the
# simulated instrument, the menu entry and icon are there, and nothing else is installed.
#   install_test.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

cmake --install "$build" --prefix "$prefix" >/dev/null

help=$prefix/share/doc/poweranalyzer
expected="English: $help/KV2260-SW-HELP-EN_V6.7.pdf
French:
German:
Spanish: $help/KV2260-SW-AYUDA-ES_V6.7.pdf
Italian:
Portuguese:"
status=0
got=$("$prefix/bin/poweranalyzer-cli" manual) || status=$?
[ "$status" -eq 0 ] || fail "manual: exit status $status"
[ "$got" = "$expected" ] || fail "manual printed:
$got"

lines=$("$prefix/bin/poweranalyzer-cli" monitor --simulate --count 3)
[ "$(printf '%s\n' "$lines" | wc -l)" -eq 4 ] || fail "monitor printed:
$lines"
[ "$(printf '%s\n' "$lines" | head -1)" = "$(printf 'time\tW\tPF\tV\tA\tangle_deg\tVA\tVAR\tHz\tkWh')" ] ||
    fail "monitor header: $(printf '%s\n' "$lines" | head -1)"
while IFS= read -r line; do
    fields=$(printf '%s' "$line" | awk -F'\t' '{print NF}')
    [ "$fields" -eq 10 ] || fail "monitor line with $fields fields: $line"
done <<<"$lines"

for program in poweranalyzer poweranalyzer-cli poweranalyzer-sim; do
    link=$(readlink "$prefix/bin/$program" || true)
    [ "$link" = "../lib/poweranalyzer/$program" ] || fail "bin/$program links to '$link'"
    [ -x "$prefix/lib/poweranalyzer/$program" ] || fail "lib/poweranalyzer/$program missing"
done

desktop=$prefix/share/applications/poweranalyzer.desktop
for key in "Type=Application" "Exec=poweranalyzer" "Icon=poweranalyzer" "Terminal=false"; do
    grep -qx "$key" "$desktop" || fail "$desktop lacks $key"
done
grep -q "<svg" "$prefix/share/icons/hicolor/scalable/apps/poweranalyzer.svg" || fail "no icon"

# The bash completion offers the subcommands and each one's options.
completion=$prefix/share/bash-completion/completions/poweranalyzer-cli
offered() {
    bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _poweranalyzer_cli
             echo "${COMPREPLY[*]}"' sh "$completion" "$@"
}
[ "$(offered poweranalyzer-cli st)" = stats ] || fail "completion of st: $(offered poweranalyzer-cli st)"
[ "$(offered poweranalyzer-cli record --pe)" = --period ] ||
    fail "completion of record --pe: $(offered poweranalyzer-cli record --pe)"
[ "$(offered poweranalyzer-cli stats --format '')" = "text csv json" ] ||
    fail "completion of stats --format: $(offered poweranalyzer-cli stats --format '')"

# Exactly these files: no tests, benchmarks or the manual tool.
installed=$(cd "$prefix" && find . ! -type d | LC_ALL=C sort)
wanted="./bin/poweranalyzer
./bin/poweranalyzer-cli
./bin/poweranalyzer-sim
./lib/poweranalyzer/poweranalyzer
./lib/poweranalyzer/poweranalyzer-cli
./lib/poweranalyzer/poweranalyzer-sim
./lib/systemd/system/poweranalyzer-record@.service
./share/applications/poweranalyzer.desktop
./share/bash-completion/completions/poweranalyzer-cli
./share/doc/poweranalyzer/KV2260-SW-AYUDA-ES_V6.7.pdf
./share/doc/poweranalyzer/KV2260-SW-HELP-EN_V6.7.pdf
./share/doc/poweranalyzer/changelog.gz
./share/doc/poweranalyzer/copyright
$(for size in 128 16 22 24 256 32 48 64; do echo "./share/icons/hicolor/${size}x$size/apps/poweranalyzer.png"; done)
./share/icons/hicolor/scalable/apps/poweranalyzer.svg
./share/lintian/overrides/poweranalyzer
./share/man/man1/poweranalyzer-cli.1.gz
./share/man/man1/poweranalyzer-sim.1.gz
./share/man/man1/poweranalyzer.1.gz
./share/metainfo/org.poweranalyzer.PowerAnalyzer.metainfo.xml"
[ "$installed" = "$wanted" ] || fail "installed files differ:
$(diff <(echo "$wanted") <(echo "$installed") || true)"

[ "$failures" -eq 0 ] || exit 1
echo "install: all checks passed"
