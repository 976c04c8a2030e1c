#!/usr/bin/env bash
# Developer commands: run, test, sanitize, shots, bench, fuzz. See README.md.
set -euo pipefail
cd "$(dirname "$0")"

PACKAGES=(g++ cmake ninja-build qt6-base-dev qt6-serialport-dev qt6-charts-dev libqt6opengl6-dev
          libgtest-dev libgmock-dev libbenchmark-dev fonts-noto-cjk dpkg-dev)
FUZZ_PACKAGES=(clang-14 libclang-rt-14-dev)
# Real clients that read the CSV export back in the tests; their tests skip without them.
CLIENT_PACKAGES=(python3 libreoffice-calc-nogui)
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
    install_optional "${CLIENT_PACKAGES[@]}"
    configure build RelWithDebInfo -DPA_BUILD_TESTS=ON
    cmake --build build -j "$JOBS"
    export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
    ctest --test-dir build --output-on-failure -j "$JOBS" "$@"
    ;;
shots)
    # Re-grabs the manual's pictures from the windows and puts them in docs/manual/images.
    install_missing "${PACKAGES[@]}"
    configure build RelWithDebInfo -DPA_BUILD_TESTS=ON
    cmake --build build -j "$JOBS" --target qt_tests
    rm -rf build/screenshots/manual
    QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} build/tests/qt_tests \
        --gtest_filter='ManualScreenshots.*'
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
    # The logic and simulator tests again, under AddressSanitizer and UndefinedBehaviorSanitizer.
    install_missing "${PACKAGES[@]}"
    configure build-sanitize RelWithDebInfo -DPA_SANITIZE=ON
    cmake --build build-sanitize -j "$JOBS"
    export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1}
    export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
    ctest --test-dir build-sanitize --output-on-failure -j "$JOBS" "$@"
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
    echo "usage: ./dev.sh run|test|sanitize|shots|bench|fuzz [seconds]"
    exit 2
    ;;
esac
