#!/usr/bin/env bash
# Each row is a file, its only include, and whether check_includes.sh lets it pass.
set -euo pipefail
checker=$(dirname "$0")/check_includes.sh
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT

failed=0
while read -r file include verdict; do
    rm -rf "${tree:?}"/*
    mkdir -p "$tree/$(dirname "$file")"
    echo "#include $include" >"$tree/$file"
    outcome=bad
    bash "$checker" "$tree" >/dev/null && outcome=fine
    if [[ $outcome != "$verdict" ]]; then
        echo "$file with $include: $outcome instead of $verdict"
        failed=1
    fi
done <<'ROWS'
    marl/value/value.h             <marl/value/records.h>           fine
    marl/value/value.cpp           <marl/value/detail/single.h>     fine
    marl/value/value.h             <marl/value/detail/single.h>     bad
    marl/value/value.h             <marl/ast/nodes.h>               bad
    marl/value/value.h             <marl/marl.h>                    bad
    marl/ast/nodes.h               <marl/value/value.h>             fine
    marl/ast/nodes.h               <marl/visitor/noise.h>           bad
    marl/visitor/noise.cpp         <marl/ast/nodes.h>               fine
    marl/visitor/noise.cpp         <host/reader.h>                  bad
    marl/visitor/noise.cpp         "noise_tables.h"                 bad
    marl/visitor/noise.cpp         <fmt/format.h>                   bad
    marl/visitor/noise.cpp         <pthread.h>                      fine
    marl/visitor/detail/tables.h   <marl/visitor/detail/axis.h>     fine
    marl/marl.h                    <marl/visitor/noise.h>           fine
    host/reader.cpp                <marl/marl.h>                    fine
    host/reader.cpp                <marl/visitor/detail/tables.h>   bad
    host/reader.cpp                <tests/support/scene.h>          bad
    tests/value/value_test.cpp     <marl/value/detail/single.h>     bad
    tests/value/value_test.cpp     <host/reader.h>                  fine
ROWS
exit $failed
