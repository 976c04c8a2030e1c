#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# Puts the licence and copyright tags at the top of every source file the repository tracks
# that lacks them: C++ sources and headers, CMake files, shell and Python scripts, the
# maintainer scripts and the systemd unit. Data files, documents, the menu entry, the
# AppStream metadata and the Debian copyright and changelog (whose formats allow no such
# line, or which the tests compare byte for byte) are left alone. Running it again changes
# nothing.
#   tools/spdx_headers.sh          add the tags where they are missing
#   tools/spdx_headers.sh --check  list the files that lack them; exit status 1 if any do
set -euo pipefail
cd "$(dirname "$0")/.."
license="SPDX-License-Identifier: GPL-3.0-or-later"
owner="SPDX-FileCopyrightText: 2026 The Power Analyzer developers"
check=0
[ "${1:-}" = --check ] && check=1

# The comment marker of a file, or nothing for a file that takes no tags.
marker() {
    case $1 in
    *.cpp | *.h) echo "//" ;;
    CMakeLists.txt | */CMakeLists.txt | *.cmake | *.sh | *.py | *.service | *.yml) echo "#" ;;
    packaging/postinst | packaging/prerm | packaging/postrm | .ci/run | cmake/wine-run) echo "#" ;;
    esac
}

missing=0
while IFS= read -r -d '' file; do
    mark=$(marker "$file")
    [ -n "$mark" ] || continue
    head -n 5 "$file" | grep -q 'SPDX-License-Identifier:' && continue
    missing=$((missing + 1))
    if [ "$check" -eq 1 ]; then
        echo "$file"
        continue
    fi
    tags="$mark $license"$'\n'"$mark $owner"
    tmp=$(mktemp "$file.XXXXXX")
    # A script's first line (#!) stays first.
    if head -n 1 "$file" | grep -q '^#!'; then
        { head -n 1 "$file"; printf '%s\n' "$tags"; tail -n +2 "$file"; } >"$tmp"
    else
        { printf '%s\n' "$tags"; cat "$file"; } >"$tmp"
    fi
    chmod --reference="$file" "$tmp"
    mv "$tmp" "$file"
done < <(git ls-files -z)

if [ "$check" -eq 1 ]; then
    [ "$missing" -eq 0 ] || { echo "$missing files lack the licence tags"; exit 1; }
    exit 0
fi
echo "tagged $missing files"
