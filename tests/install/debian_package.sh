#!/usr/bin/env bash
# Usage: debian_package.sh ROOT BUILD VERSION
set -euo pipefail
source "$(dirname "$0")/common.sh"

cpack --config "$2/CPackConfig.cmake" -B "$desk" >"$desk/log" || fail "$(cat "$desk/log")"
package=$(echo "$desk"/*.deb)
dpkg-deb --extract "$package" "$desk/extracted"

[[ $("$desk/extracted/usr/bin/marl" --version) == *"$3" ]] || fail "The tool does not run, or is of another version."
buildWithPkgConfig "$desk/extracted/usr"

needed=$(dpkg-deb --field "$package" Depends)
[[ $needed == *"libc6 (>="* ]] || fail "The dependencies were not computed: $needed"
dpkg --no-act --install "$package" >"$desk/log" 2>&1 || fail "$(cat "$desk/log")"
