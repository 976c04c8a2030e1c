#!/usr/bin/env bash
# Installs a build into a fresh prefix and checks what a user gets: the programs in their
# private folder with links in bin, the manuals beside the programs where Help > User Manual
# looks, the desktop entry and icon, and a command-line tool that runs from the installed
# tree against its simulated instrument.
#
#   check_install.sh BUILD_DIR
set -euo pipefail
build=$1
prefix=$(mktemp -d)/usr
trap 'rm -rf "$(dirname "$prefix")"' EXIT
fail() { echo "check_install: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
source "$(dirname "$0")/installed_tree.sh"
check_installed_tree "$prefix"
echo "install: all checks passed"
