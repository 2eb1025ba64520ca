#!/usr/bin/env bash
# Usage: static_library_and_tool.sh ROOT BUILD VERSION
set -euo pipefail
source "$(dirname "$0")/common.sh"

installTo "$2" "$desk/prefix"
useInstalled "$desk/prefix"
[[ $("$desk/prefix/bin/marl" --version) == *"$3" ]] || fail "The tool does not run, or is of another version."
cmp "$root/host/marl.1" "$desk/prefix/share/man/man1/marl.1" || fail "The tool's page is missing."
