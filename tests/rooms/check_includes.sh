#!/usr/bin/env bash
# Checks the includes of a source tree: rooms use only rooms below them, the library uses
# nothing from outside, and what lies in a detail/ folder of the library stays its own.
# Usage: check_includes.sh ROOT. Prints every offence with its file and line.
set -euo pipefail
cd "$1"

includes=0
offences=0

# Every include in the room's files must begin as the Perl expression says.
only() # ROOM EXPRESSION GREP-OPTION...
{
    local all offending
    all=$(grep -rnE "${@:3}" '^\s*#\s*include' "$1" 2>/dev/null) || return 0
    includes=$((includes + $(wc -l <<<"$all")))
    offending=$(grep -vP "#\s*include\s*($2)" <<<"$all") || return 0
    printf '%s\n' "Not for $1:" "$offending"
    offences=$((offences + $(wc -l <<<"$offending")))
}

sources=(--include='*.h' --include='*.cpp')
public=(--include='*.h' --exclude-dir=detail)
standard='<[a-z_]+>|<pthread\.h>' # every header of the C++ standard is one word without a suffix
only marl/value    "$standard|<marl/(api\.h|value/)" "${sources[@]}"
only marl/ast      "$standard|<marl/(api\.h|(value|ast)/)" "${sources[@]}"
only marl/visitor  "$standard|<marl/(api\.h|(value|ast|visitor)/)" "${sources[@]}"
only marl/compiled "$standard|<marl/(api\.h|(value|ast|compiled)/|visitor/(?!detail/))" "${sources[@]}"
only marl          "$standard|<marl/" "${sources[@]}"
only marl          '(?!.*/detail/)' "${public[@]}"
for room in host examples tests benchmarks fuzz; do
    below=$room
    [[ $room != tests && $room != fuzz ]] || below="host|$room"
    inside='marl/.*detail/'
    [[ $room != tests ]] || inside='marl/(?!value/).*detail/' # arithmetic is tested where it stands
    only "$room" "[<\"](?!$inside)((marl|$below)/|(?!(host|examples|tests|benchmarks|fuzz)/))" "${sources[@]}"
done

below=
for room in report functions scene analysis output; do
    below+=${below:+|}$room
    only "host/$room" "<(?!host/(?!($below)/))" "${sources[@]}"
done
for room in commands view; do
    only "host/$room" "<(?!host/(?!($below|$room)/))" "${sources[@]}"
done

echo "$includes includes, $offences offences"
((includes > 0 && offences == 0))
