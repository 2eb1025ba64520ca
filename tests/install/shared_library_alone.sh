#!/usr/bin/env bash
# The library built as a stranger would: shared, nothing beside it, and with no package to find
# but the threads that come with the compiler.
# Usage: shared_library_alone.sh ROOT OBJECT...
# The objects are compiled against the public headers; all that they need must be exported.
set -euo pipefail
source "$(dirname "$0")/common.sh"

cmake -S "$root" -B "$desk/build" -DBUILD_SHARED_LIBS=ON \
    -DMARL_BUILD_HOST=OFF -DMARL_BUILD_EXAMPLES=OFF -DMARL_BUILD_TESTS=OFF -DCMAKE_CXX_FLAGS_RELEASE=-O0 \
    -DCMAKE_PROJECT_TOP_LEVEL_INCLUDES="$here/no_packages.cmake" >"$desk/log" &&
    cmake --build "$desk/build" --parallel 2 >"$desk/log" || fail "$(cat "$desk/log")"

installTo "$desk/build" "$desk/prefix"
useInstalled "$desk/prefix"

library=$(find "$desk/prefix" -name 'libmarl.so.*' -type f)
ours() { awk '$NF ~ /4Marl/ {print $NF}' | sort --unique; }
nm --dynamic --defined-only "$library" | ours >"$desk/exported"
nm --undefined-only "${@:2}" | ours >"$desk/needed"
nm --defined-only "${@:2}" | ours | sort --unique --merge - "$desk/exported" >"$desk/there"
[[ -s $desk/needed ]] || fail "The objects need nothing."
missing=$(comm -23 "$desk/needed" "$desk/there" | c++filt)
[[ -z $missing ]] || fail "These are hidden: $missing"
! grep -q failIncomplete "$desk/exported" || fail "What is the library's own can be seen."
[[ $(readlink "${library%/*}/libmarl.so") =~ ^libmarl\.so\.[0-9]+\.[0-9]+$ ]] || fail "The name has no version."
