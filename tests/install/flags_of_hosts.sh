#!/usr/bin/env bash
# Hosts compiled with flags that do not go with the library are told so, the others compile.
# Usage: flags_of_hosts.sh ROOT
set -euo pipefail
source "$(dirname "$0")/common.sh"

compileHost() # FLAG
{
    "$CXX" -std=c++20 -fsyntax-only -I"$root" "$1" "$program.cpp" 2>"$desk/log"
}

refuse() # FLAG SENTENCE
{
    ! compileHost "$1" || fail "$1 compiles"
    grep -q "error.*$2" "$desk/log" || fail "$1 gives: $(head -3 "$desk/log")"
}

refuse -fno-rtti "compile without -fno-rtti"
refuse -D_GLIBCXX_DEBUG "-D_GLIBCXX_ASSERTIONS"
refuse -DMARL_GLIBCXX_DEBUG "library and host need it alike"
compileHost -D_GLIBCXX_ASSERTIONS || fail "$(head -3 "$desk/log")"
