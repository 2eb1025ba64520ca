#!/usr/bin/env bash
# Checks the includes of a source tree: rooms use only rooms below them, the library uses
# nothing from outside, and what lies in a detail/ folder of the library stays its own.
# Usage: check_includes.sh ROOT. Prints every offence as file:line: what is wrong.
set -euo pipefail
cd "$1"

# What of this project each room may include. The umbrella marl/marl.h is for those outside.
rooms=(
    "marl/value   marl/api.h marl/value/"
    "marl/ast     marl/api.h marl/value/ marl/ast/"
    "marl/visitor marl/api.h marl/value/ marl/ast/ marl/visitor/"
    "marl         marl/"
    "host         marl/ host/"
    "examples     marl/ examples/"
    "tests        marl/ host/ tests/"
    "benchmarks   marl/ benchmarks/"
    "fuzz         marl/ host/ fuzz/"
)
cpp_header='^[a-z_]+$' # every header of the C++ standard is one word without a suffix
posix_headers=" pthread.h "

roomOf() # FILE: the row of the innermost room
{
    local row
    for row in "${rooms[@]}"; do
        [[ $1 == "${row%% *}"/* ]] && { echo "$row"; return; }
    done
    return 1
}

mayInclude() # HEADER ALLOWED...
{
    local header=$1 allowed
    for allowed in "${@:2}"; do
        [[ $header == "$allowed" || ($allowed == */ && $header == "$allowed"*) ]] && return
    done
    return 1
}

offences=0
includes=0
report()
{
    echo "$1"
    offences=$((offences + 1))
}

check() # FILE LINE HEADER
{
    local file=$1 place=$1:$2 header=$3 room allowed
    read -r room allowed <<<"$(roomOf "$file")"
    # shellcheck disable=SC2086 # the allowed ones are words of their own
    if [[ $header =~ ^(marl|host|examples|tests|benchmarks|fuzz)/ ]]; then
        mayInclude "$header" $allowed || report "$place: $room may not include $header"
        if [[ $header == marl/*detail/* ]]; then
            [[ $file == marl/* ]] || report "$place: $header is the library's own"
            [[ $file != *.h || $file == */detail/* ]] || report "$place: a public header includes $header"
        fi
    elif [[ $room == marl* && ! $header =~ $cpp_header && $posix_headers != *" $header "* ]]; then
        report "$place: the library may not include $header"
    fi
}

folders=()
for folder in marl host examples tests benchmarks fuzz; do
    [[ ! -d $folder ]] || folders+=("$folder")
done
include='^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]([^>"]+)[>"]'
while IFS=: read -r file line text; do
    [[ $text =~ $include ]] || continue
    includes=$((includes + 1))
    check "$file" "$line" "${BASH_REMATCH[1]}"
done < <(grep -rnE --include=*.h --include=*.cpp "$include" "${folders[@]}")

echo "$includes includes, $offences offences"
((includes > 0 && offences == 0))
