#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# The recorder's systemd unit: systemd-analyze verify finds nothing to say about it (its
# manual page included), systemd-analyze security rates its sandbox 2.0 or better, and its
# command line, run by hand against a simulated instrument, records into a daily file.
#   unit_test.sh SOURCE_DIR CLI SIM MAN_DIR
set -euo pipefail
source=$1 cli=$2 sim=$3 mandir=$4
unit=$source/packaging/poweranalyzer-record@.service
. "$(dirname "$0")/need_tools.sh"
need_tools systemd-analyze man
out=$(mktemp -d)
simpid=
trap '[ -n "$simpid" ] && kill "$simpid" 2>/dev/null; rm -rf "$out"' EXIT

# The program is not installed here: verify the unit with the built one in its place.
sed "s#^ExecStart=poweranalyzer-cli #ExecStart=$cli #" "$unit" >"$out/poweranalyzer-record@.service"
report=$(MANPATH=$mandir systemd-analyze verify "$out/poweranalyzer-record@.service" 2>&1) || {
    echo "FAIL: systemd-analyze verify: $report"
    exit 1
}
[ -z "$report" ] || { echo "FAIL: systemd-analyze verify says: $report"; exit 1; }
rating=$(systemd-analyze security --offline=yes --threshold=20 "$out/poweranalyzer-record@.service" 2>&1) || {
    echo "FAIL: systemd-analyze security rates it above 2.0:"
    grep -v '^✓' <<<"$rating"
    exit 1
}
exposure=$(grep -o 'Overall exposure level.*' <<<"$rating")

# The command line of instance pts/N, with the state folder in the temporary folder.
"$sim" >"$out/sim.txt" &
simpid=$!
for _ in $(seq 200); do
    [ -s "$out/sim.txt" ] && break
    sleep 0.1
done
device=$(head -n 1 "$out/sim.txt" | grep -o '/dev/[^ ]*')
instance=${device#/dev/}
command=$(sed -n 's/^ExecStart=//p' "$unit")
command=${command//%I/$instance}
command=${command//%i/state}
command=${command//\/var\/lib\/poweranalyzer/$out}
command=${command//\$RECORD_OPTIONS/--count 2 --interval 0.5}
command=${command/#poweranalyzer-cli/$cli}
mkdir -p "$out/state"
# shellcheck disable=SC2086 # split as systemd splits it
$command >/dev/null 2>"$out/err.txt" || { echo "FAIL: $command: $(cat "$out/err.txt")"; exit 1; }
file=$(ls "$out"/state/readings-*.txt)
[[ $(basename "$file") =~ ^readings-[0-9]{4}-[0-9]{2}-[0-9]{2}\.txt$ ]] || {
    echo "FAIL: recorded into $file"
    exit 1
}
[ "$(wc -l <"$file")" -eq 3 ] || { echo "FAIL: $file holds:"; cat "$file"; exit 1; }
echo "unit: verified, ${exposure#Overall exposure level for }, and its command recorded into $(basename "$file")"
