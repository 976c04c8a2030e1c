# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# Sourced by the package tests: need_tools TOOL... returns when every tool is on the PATH.
# Otherwise the test is skipped (77) on a developer's machine, and fails under CI (CI set,
# as on GitHub and in .ci/run), where dev.sh installs them all.
need_tools() {
    local tool
    for tool in "$@"; do
        command -v "$tool" >/dev/null && continue
        if [ -n "${CI:-}" ]; then
            echo "FAIL: $tool not found (./dev.sh installs it)"
            exit 1
        fi
        echo "SKIP: $tool not found (./dev.sh installs it)"
        exit 77
    done
}
