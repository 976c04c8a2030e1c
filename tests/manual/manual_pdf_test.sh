#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# The manuals the build made: PDF files of several A4 pages that hold every picture their
# Markdown names; and the manual tool's one-line refusals of bad input.
#   manual_pdf_test.sh BUILD_DIR SOURCE_DIR MANUAL_TOOL
set -euo pipefail
build=$1 source=$2 tool=$3
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

check_pdf() { # pdf markdown
    local pdf=$1 md=$2
    [ -f "$pdf" ] || { fail "$pdf was not made"; return; }
    [ "$(head -c 5 "$pdf")" = "%PDF-" ] || fail "$pdf does not start with %PDF-"
    local pages images named
    pages=$(grep -a -c '^/Type /Page$' "$pdf" || true)
    [ "$pages" -ge 5 ] && [ "$pages" -le 200 ] || fail "$pdf has $pages pages"
    # A4 portrait, in points.
    grep -a -q '/MediaBox \[0 0 59[56][.0-9]* 84[12][.0-9]*\]' "$pdf" || fail "$pdf is not A4 portrait"
    images=$(grep -a -c '^/Subtype /Image$' "$pdf" || true)
    named=$(grep -o '](images/[^)]*)' "$md" | sort -u | wc -l)
    [ "$named" -ge 1 ] || fail "$md names no picture"
    [ "$images" -ge "$named" ] || fail "$pdf holds $images pictures, $md names $named"
    echo "$pdf: $pages pages, $images pictures ($named named)"
}

check_pdf "$build/help/KV2260-SW-HELP-EN_V6.7.pdf" "$source/docs/manual/manual-en.md"
check_pdf "$build/help/KV2260-SW-AYUDA-ES_V6.7.pdf" "$source/docs/manual/manual-es.md"

# Bad input: exit status 1, one line on standard error naming the problem, no PDF.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
printf '# Title\n\n![a picture](images/absent.png)\n' >"$work/absent-picture.md"
for input in "$work/no-such-manual.md" "$work/absent-picture.md"; do
    status=0
    QT_QPA_PLATFORM=offscreen "$tool" "$input" "$work/out.pdf" 2>"$work/err" || status=$?
    [ "$status" -eq 1 ] || fail "$input: exit status $status, not 1"
    [ "$(wc -l <"$work/err")" -eq 1 ] || fail "$input: not one line: $(cat "$work/err")"
    case $input in
    *no-such*) grep -q "cannot read .*no-such-manual.md" "$work/err" || fail "$(cat "$work/err")" ;;
    *) grep -q "cannot read image .*images/absent.png" "$work/err" || fail "$(cat "$work/err")" ;;
    esac
    [ ! -e "$work/out.pdf" ] || fail "$input: a PDF was left behind"
done

[ "$failures" -eq 0 ] || exit 1
echo "manual PDFs: all checks passed"
