#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# Developer commands: run, test, sanitize, shots, bench, fuzz, windows. See README.md.
set -euo pipefail
cd "$(dirname "$0")"

PACKAGES=(g++ cmake ninja-build qt6-base-dev qt6-serialport-dev qt6-charts-dev libqt6opengl6-dev
          libgtest-dev libgmock-dev libbenchmark-dev fonts-noto-cjk dpkg-dev
          libmosquitto-dev mosquitto mosquitto-clients pkg-config libxlsxwriter-dev systemd
          qt6-translations-l10n lintian appstream desktop-file-utils help2man librsvg2-bin man-db file
          openssl libcli11-dev nlohmann-json3-dev)
FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
LOCALE_PACKAGES=(locales)
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64-posix wine wine64 googletest)
# Decimal-comma locales the tests run under once more, to prove numbers do not depend on them.
TEST_LOCALES=(de_DE.UTF-8 es_ES.UTF-8)
# Real clients that read the CSV export back in the tests; their tests skip without them.
CLIENT_PACKAGES=(python3 python3-openpyxl libreoffice-calc-nogui)
JOBS=${JOBS:-$(nproc)}

install_missing() {
    local missing=()
    for p in "$@"; do
        dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -eq 0 ]; then
        echo "Installing: ${missing[*]}"
        export DEBIAN_FRONTEND=noninteractive
        apt-get update -qq
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    else
        echo "Missing packages. Run:"
        echo "  sudo apt-get install ${missing[*]}"
        exit 1
    fi
}

# Like install_missing, but a machine where they cannot be installed goes on without them.
install_optional() {
    (install_missing "$@") || echo "Could not install $*: the tests that need them are skipped."
}

configure() { # dir build-type extra-args...
    local dir=$1 type=$2
    shift 2
    local launcher=()
    # ccache, where installed, makes rebuilds in other checkouts of the tree cheap.
    if command -v ccache >/dev/null; then
        export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
        launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" "${launcher[@]}" "$@" >/dev/null
}

# Generates the test locales where they are missing (needs root, like installing packages).
make_test_locales() {
    install_missing "${LOCALE_PACKAGES[@]}"
    local missing=()
    for l in "${TEST_LOCALES[@]}"; do
        locale -a 2>/dev/null | grep -qix "${l/UTF-8/utf8}" || missing+=("$l")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "Missing locales ${missing[*]}: run as root, or add them to /etc/locale.gen and run locale-gen."
        exit 1
    fi
    for l in "${missing[@]}"; do
        sed -i "s/^# *\($l UTF-8\)/\1/" /etc/locale.gen
        grep -qx "$l UTF-8" /etc/locale.gen || echo "$l UTF-8" >>/etc/locale.gen
    done
    locale-gen >/dev/null
}

# The tests again under locales that write a decimal comma; they expect the same bytes.
locale_reruns() { # build-dir
    local dir=$1
    echo "== logic tests under LC_ALL=es_ES.UTF-8"
    LC_ALL=es_ES.UTF-8 ctest --test-dir "$dir" --output-on-failure -j "$JOBS" -E '^(qt|manual|package)\.'
    echo "== command-line end-to-end tests under LC_ALL=es_ES.UTF-8"
    LC_ALL=es_ES.UTF-8 ctest --test-dir "$dir" --output-on-failure -j "$JOBS" \
        -R '^qt\.(Cli|CliFaults|CliLocale|RecordCommand|PlotCliTest)\.'
    echo "== GUI tests under LANG=de_DE.UTF-8"
    env -u LC_ALL LANG=de_DE.UTF-8 ctest --test-dir "$dir" --output-on-failure -j "$JOBS" -R '^qt\.' \
        -E '^qt\.(Cli|CliFaults|CliLocale|RecordCommand|PlotCliTest|ManualScreenshots)\.'
}

# Cross-compiles GoogleTest, the logic and its tests for 64-bit Windows with MinGW-w64 and runs
# the tests under Wine.
windows_tests() {
    install_missing "${WINDOWS_PACKAGES[@]}"
    local dir=build-windows
    local toolchain=$PWD/cmake/mingw-w64-x86_64.cmake
    export WINEPREFIX=${WINEPREFIX:-$PWD/$dir/wine}
    mkdir -p "$WINEPREFIX"
    if [ ! -f "$dir/googletest/lib/cmake/GTest/GTestConfig.cmake" ]; then
        echo "== GoogleTest for Windows"
        cmake -S /usr/src/googletest -B "$dir/googletest-build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DCMAKE_TOOLCHAIN_FILE="$toolchain" -Dgtest_disable_pthreads=OFF \
            -DCMAKE_INSTALL_PREFIX="$PWD/$dir/googletest" >/dev/null
        cmake --build "$dir/googletest-build" -j "$JOBS" --target install >/dev/null
    fi
    echo "== logic and tests for Windows"
    configure "$dir/pa" RelWithDebInfo -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DPA_LOGIC_ONLY=ON \
        -DPA_BUILD_TESTS=ON -DGTest_DIR="$PWD/$dir/googletest/lib/cmake/GTest"
    # The first start of Wine makes its prefix; do it once, before tests run side by side.
    # One wineserver stays up for the whole run: started afresh for every test program, it
    # costs seconds each time.
    WINESERVER=/usr/lib/wine/wineserver64 # Debian's; elsewhere the one on the PATH
    [ -x "$WINESERVER" ] || WINESERVER=$(command -v wineserver)
    "$WINESERVER" -p || true # fails only when one is running already
    trap '"$WINESERVER" -k >/dev/null 2>&1 || true' EXIT
    cmake/wine-run cmd /c exit >/dev/null 2>&1 || true
    cmake --build "$dir/pa" -j "$JOBS"
    echo "== logic tests under Wine"
    ctest --test-dir "$dir/pa" --output-on-failure -j "$JOBS" "$@"
}

cmd=${1:-help}
shift || true
case "$cmd" in
run)
    install_missing "${PACKAGES[@]}"
    configure build RelWithDebInfo
    cmake --build build -j "$JOBS"
    if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ "$(uname)" != Darwin ]; then
        echo "No display found: running the terminal monitor against the simulated instrument instead."
        exec build/poweranalyzer-cli monitor --simulate "$@"
    fi
    exec build/poweranalyzer --simulate "$@"
    ;;
test)
    install_missing "${PACKAGES[@]}"
    make_test_locales
    install_optional "${CLIENT_PACKAGES[@]}"
    configure build RelWithDebInfo -DPA_BUILD_TESTS=ON
    cmake --build build -j "$JOBS"
    export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
    ctest --test-dir build --output-on-failure -j "$JOBS" "$@"
    [ $# -eq 0 ] && locale_reruns build
    ;;
windows)
    windows_tests "$@"
    ;;
shots)
    # Re-grabs the manual's pictures from the windows and puts them in docs/manual/images.
    install_missing "${PACKAGES[@]}"
    configure build RelWithDebInfo -DPA_BUILD_TESTS=ON
    cmake --build build -j "$JOBS" --target qt_tests
    rm -rf build/screenshots/manual
    QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} build/tests/qt_tests \
        --gtest_filter='ManualScreenshots*'
    mkdir -p docs/manual/images
    cp build/screenshots/manual/*.png docs/manual/images/
    ls -l docs/manual/images
    ;;
bench)
    install_missing "${PACKAGES[@]}"
    configure build-release Release -DPA_BUILD_BENCH=ON -DPA_BUILD_TESTS=OFF
    cmake --build build-release -j "$JOBS"
    for b in build-release/bench/*_bench; do
        [ -x "$b" ] && "$b" "$@"
    done
    ;;
sanitize)
    # The logic and simulator tests again, then the fault tests of the real serial port on
    # pseudo-terminals and of the command-line program, under AddressSanitizer and
    # UndefinedBehaviorSanitizer (the windows' drawing tests are left to ./dev.sh test).
    install_missing "${PACKAGES[@]}"
    configure build-sanitize RelWithDebInfo -DPA_SANITIZE=ON
    cmake --build build-sanitize -j "$JOBS"
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
    export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
    ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1} \
        ctest --test-dir build-sanitize --output-on-failure -j "$JOBS" -E '^qt[.]' "$@"
    # Qt's libraries are not instrumented and keep their caches until exit: leak reports from
    # them would be noise, so the Qt tests run with leak detection off.
    ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0:strict_string_checks=1} \
        ctest --test-dir build-sanitize --output-on-failure -j "$JOBS" \
        -R '^qt[.](Injected/|LoggerOverPty[.]|SerialLink[.]|CliFaults[.]|RecordCommand[.])' "$@"
    ;;
fuzz)
    # Each target runs for the given seconds or ten million inputs, whichever comes first,
    # starting from seeds made of real frames, streams and files; findings stay in build-fuzz.
    install_missing "${PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"
    seconds=${1:-60}
    CC=clang-14 CXX=clang++-14 configure build-fuzz RelWithDebInfo -DPA_FUZZ=ON -DPA_BUILD_TESTS=OFF
    cmake --build build-fuzz -j "$JOBS"
    build-fuzz/fuzz/make_seeds build-fuzz/seeds
    for f in build-fuzz/fuzz/*_fuzz; do
        [ -x "$f" ] || continue
        name=$(basename "$f")
        mkdir -p "build-fuzz/corpus/$name" "build-fuzz/findings/$name"
        echo "== $name: ${seconds} s"
        "$f" "build-fuzz/corpus/$name" "build-fuzz/seeds/$name" -max_total_time="$seconds" \
            -runs=10000000 -print_final_stats=1 -artifact_prefix="build-fuzz/findings/$name/"
    done
    ;;
*)
    echo "usage: ./dev.sh run|test|sanitize|shots|bench|fuzz [seconds]|windows"
    exit 2
    ;;
esac
