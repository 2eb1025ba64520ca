#!/usr/bin/env bash
# Checks the includes of a source tree: rooms use only rooms below them, the library uses
# nothing from outside, and what lies in a detail/ folder of the library stays its own.
# Usage: check_includes.sh ROOT. Prints every offence with its file and line.
set -euo pipefail
cd "$1"

includes=0
offences=0

# Every include in the room's files must begin as the Perl expression says.
only() # ROOM FILES EXPRESSION
{
    local all offending
    all=$(grep -rnHE --include="$2" '^\s*#\s*include' "$1" 2>/dev/null) || return 0
    includes=$((includes + $(wc -l <<<"$all")))
    offending=$(grep -vP "#\s*include\s*($3)" <<<"$all") || return 0
    printf '%s\n' "Not for $1:" "$offending"
    offences=$((offences + $(wc -l <<<"$offending")))
}

standard='<[a-z_]+>|<pthread\.h>' # every header of the C++ standard is one word without a suffix
for files in '*.h' '*.cpp'; do
    only marl/value   "$files" "$standard|<marl/(api\.h|value/)"
    only marl/ast     "$files" "$standard|<marl/(api\.h|(value|ast)/)"
    only marl/visitor "$files" "$standard|<marl/(api\.h|(value|ast|visitor)/)"
    only marl         "$files" "$standard|<marl/"
    for room in host examples tests benchmarks fuzz; do
        below=$room
        [[ $room != tests && $room != fuzz ]] || below="host|$room"
        only "$room" "$files" "[<\"](?!marl/.*detail/)((marl|$below)/|(?!(host|examples|tests|benchmarks|fuzz)/))"
    done
done
# The includes of public headers; those of the library's own stand one folder deeper.
for room in marl marl/value marl/ast marl/visitor; do
    for header in "$room"/*.h; do
        only "$header" '*.h' '(?!.*/detail/)'
    done
done

echo "$includes includes, $offences offences"
((includes > 0 && offences == 0))
