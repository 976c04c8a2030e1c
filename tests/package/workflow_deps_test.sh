#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# Every dependency that a CMakeLists.txt finds with REQUIRED (find_package, pkg_check_modules,
# find_program) has an install step in the Windows and in the macOS workflow, or is listed
# below as one the workflow does not need, with the reason. A new REQUIRED dependency fails
# here until this table, and the workflows, know it.
#   workflow_deps_test.sh SOURCE_DIR
set -euo pipefail
source=$1
windows=$source/.github/workflows/windows.yml
macos=$source/.github/workflows/macos.yml

# name | what windows.yml must say | what macos.yml must say (extended regular expressions;
# "-" for a dependency that workflow has no need of, the reason in the comment)
table='Threads|-|-
Qt6|install-qt-action|brew install .*\bqt\b
Qt6::Core|install-qt-action|brew install .*\bqt\b
Qt6::Gui|install-qt-action|brew install .*\bqt\b
Qt6::Widgets|install-qt-action|brew install .*\bqt\b
Qt6::PrintSupport|install-qt-action|brew install .*\bqt\b
Qt6::SerialPort|modules: .*\bqtserialport\b|brew install .*\bqt\b
Qt6::Charts|modules: .*\bqtcharts\b|brew install .*\bqt\b
GTest|vcpkg.* install .*\bgtest\b|brew install .*\bgoogletest\b
PkgConfig|vcpkg.* install .*\bpkgconf\b|brew install .*\bpkg-?conf(ig)?\b
libmosquitto|vcpkg.* install .*\bmosquitto\b|brew install .*\bmosquitto\b
xlsxwriter|vcpkg.* install .*\blibxlsxwriter\b|brew install .*\blibxlsxwriter\b
CLI11|vcpkg.* install .*\bcli11\b|brew install .*\bcli11\b
nlohmann_json|vcpkg.* install .*\bnlohmann-json\b|brew install .*\bnlohmann-json\b
benchmark|-|-
help2man|-|-
rsvg-convert|-|-
windeployqt|install-qt-action|-
macdeployqt|-|brew install .*\bqt\b'
# Threads: part of the system. benchmark: the benchmarks are not built there. help2man,
# rsvg-convert: required on Linux only (the Debian package; elsewhere the window takes the
# SVG icon). windeployqt and macdeployqt come with Qt, each on its own system.

# The REQUIRED calls of every CMake file, each on one line, whatever its line breaks.
calls=$(find "$source" -path "$source/build*" -prune -o \( -name CMakeLists.txt -o -name '*.cmake' \) \
    -print0 | xargs -0 cat | tr '\n' ' ' |
    grep -oE '(find_package|pkg_check_modules|find_program)\([^)]*\bREQUIRED\b[^)]*\)' || true)
required=()
while IFS= read -r call; do
    [ -n "$call" ] || continue
    read -ra words <<<"${call#*(}"
    words[-1]=${words[-1]%)}
    case $call in
    find_package*)
        required+=("${words[0]}")
        component=0
        for word in "${words[@]:1}"; do
            [ "$word" = COMPONENTS ] && { component=1; continue; }
            [[ $component -eq 1 && $word =~ ^[A-Z][A-Za-z]+$ ]] && required+=("${words[0]}::$word")
        done
        ;;
    pkg_check_modules*)
        for word in "${words[@]:1}"; do
            [[ $word =~ ^(REQUIRED|QUIET|IMPORTED_TARGET|GLOBAL|NO_CMAKE_PATH|NO_CMAKE_ENVIRONMENT_PATH)$ ]] ||
                required+=("$word")
        done
        ;;
    find_program*) required+=("${words[1]}") ;;
    esac
done <<<"$calls"
[ ${#required[@]} -ge 5 ] || { echo "FAIL: found only: ${required[*]} in $calls"; exit 1; }

failures=0
for name in "${required[@]}"; do
    row=$(awk -F'|' -v name="$name" '$1 == name' <<<"$table")
    if [ -z "$row" ]; then
        echo "FAIL: $name is REQUIRED but not in this test's table: add its install steps"
        failures=$((failures + 1))
        continue
    fi
    IFS='|' read -r _ want_windows want_macos <<<"$row"
    for pair in "$windows|$want_windows" "$macos|$want_macos"; do
        workflow=${pair%%|*} want=${pair#*|}
        [ "$want" = - ] && continue
        # Comments do not install anything.
        grep -v '^\s*#' "$workflow" | grep -Eq -- "$want" || {
            echo "FAIL: $(basename "$workflow") installs no $name (looked for: $want)"
            failures=$((failures + 1))
        }
    done
done
[ "$failures" -eq 0 ] || exit 1
echo "workflows: all ${#required[@]} required dependencies installed or not needed"
