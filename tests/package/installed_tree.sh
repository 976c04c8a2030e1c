# Checks of an installed tree under a prefix (/usr in the package), shared by the install
# and package tests. check_installed_tree PREFIX; fails through `fail`.
check_installed_tree() {
    local prefix=$1 program
    local programs=(poweranalyzer poweranalyzer-cli poweranalyzer-sim)
    for program in "${programs[@]}"; do
        [ -x "$prefix/lib/poweranalyzer/$program" ] || fail "$program is not in lib/poweranalyzer"
        [ "$(readlink "$prefix/bin/$program")" = "../lib/poweranalyzer/$program" ] ||
            fail "bin/$program is not a relative link to the program"
    done
    # Nothing but the programs and their help folder in the private folder.
    local extra
    extra=$(cd "$prefix/lib/poweranalyzer" && ls -A | grep -v -x -e poweranalyzer \
        -e poweranalyzer-cli -e poweranalyzer-sim -e help || true)
    [ -z "$extra" ] || fail "unexpected files in lib/poweranalyzer: $extra"

    # The manuals, found beside the real program when it is started through its link.
    local help="$prefix/lib/poweranalyzer/help"
    local expected="English: $help/KV2260-SW-HELP-EN_V6.7.pdf
French:
German:
Spanish: $help/KV2260-SW-AYUDA-ES_V6.7.pdf
Italian:
Portuguese:"
    local shown
    shown=$("$prefix/bin/poweranalyzer-cli" manual) || fail "manual says: $shown"
    [ "$shown" = "$expected" ] || fail "manual paths are not beside the program: $shown"
    for pdf in "$help"/*.pdf; do
        [ "$(head -c 5 "$pdf")" = "%PDF-" ] || fail "$pdf is not a PDF"
    done

    [ -f "$prefix/share/applications/poweranalyzer.desktop" ] || fail "no desktop entry"
    grep -q '^Exec=poweranalyzer$' "$prefix/share/applications/poweranalyzer.desktop" ||
        fail "the desktop entry does not start poweranalyzer"
    [ -f "$prefix/share/icons/hicolor/scalable/apps/poweranalyzer.svg" ] || fail "no icon"

    # The installed tool works on its own: three samples from the simulated instrument.
    local lines
    lines=$(timeout 60 "$prefix/bin/poweranalyzer-cli" monitor --simulate --count 3 \
        --interval 0.5 2>/dev/null | grep -c .) || true
    [ "$lines" = 3 ] || fail "monitor --simulate --count 3 printed $lines lines"
}
