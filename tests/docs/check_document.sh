#!/usr/bin/env bash
# Checks what a document shows and points at.
#
#   a block that opens with "// NAME.scene"    is that scene
#   a console block                            is a session beside those scenes: under each
#                                              "$ command" stands all that the command prints
#   a block under <!-- all of FILE -->         is that file
#   a block under <!-- from FILE -->           is some consecutive lines of it
#   a link to a file                           leads somewhere
#
# Usage: check_document.sh DOCUMENT ROOT. FILE is relative to ROOT; programs are found in PATH.
set -euo pipefail
document=$(realpath "$1")
root=$(realpath "$2")
desk=$(mktemp -d)
trap 'rm -rf "$desk"' EXIT
cd "$desk"

checks=0
lies=0
expect() # WHAT EXPECTED FOUND
{
    checks=$((checks + 1))
    if [[ $2 != "$3" ]]; then
        lies=$((lies + 1))
        echo "$document: $1"
        diff --unified --label document <(printf '%s\n' "$2") --label truth <(printf '%s\n' "$3") || true
    fi
}

runSession() # TEXT
{
    local line command='' printed=''
    while IFS= read -r line; do
        if [[ $line == '$ '* ]]; then
            finishCommand "$command" "$printed"
            command=${line#'$ '} printed=
        else
            printed+=$line$'\n'
        fi
    done <<<"$1"
    finishCommand "$command" "$printed"
}

finishCommand() # COMMAND PRINTED
{
    [[ -z $1 ]] || expect "$1" "${2%$'\n'}" "$(bash -c "$1" 2>&1)"
}

withoutIndent()
{
    sed 's/^ *//'
}

checkExcerpt() # FILE TEXT
{
    local whole part
    whole=$'\n'$(withoutIndent <"$root/$1")$'\n'
    part=$'\n'$(withoutIndent <<<"$2")$'\n'
    if [[ $whole == *"$part"* ]]; then
        checks=$((checks + 1))
    else
        expect "these lines are not in $1" "$2" "$(cat "$root/$1")"
    fi
}

checkBlock() # LANGUAGE MARK TEXT
{
    local opening=${3%%$'\n'*}
    if [[ $2 =~ ^'<!-- all of '(.*)' -->'$ ]]; then
        expect "${BASH_REMATCH[1]} is another" "$3" "$(cat "$root/${BASH_REMATCH[1]}")"
    elif [[ $2 =~ ^'<!-- from '(.*)' -->'$ ]]; then
        checkExcerpt "${BASH_REMATCH[1]}" "$3"
    elif [[ $opening =~ ^'// '([a-z_]+\.scene)$ ]]; then
        printf '%s\n' "$3" >"${BASH_REMATCH[1]}"
    elif [[ $1 == console ]]; then
        runSession "$3"
    fi
}

checkLinks() # LINE
{
    local rest=$1 target
    while [[ $rest =~ \]\(([^\)#]+)(#[^\)]*)?\) ]]; do
        target=${BASH_REMATCH[1]}
        rest=${rest#*"${BASH_REMATCH[0]}"}
        [[ $target == *:* ]] || expect "link" "$target" "$(cd "$(dirname "$document")" && ls -d "$target" 2>&1)"
    done
}

language='' mark='' text='' isInside=false
while IFS= read -r line; do
    if [[ $line == '```'* ]]; then
        if $isInside; then
            checkBlock "$language" "$mark" "${text%$'\n'}"
            isInside=false mark=''
        else
            language=${line#'```'} text='' isInside=true
        fi
    elif $isInside; then
        text+=$line$'\n'
    else
        [[ $line != '<!--'* ]] || mark=$line
        checkLinks "$line"
    fi
done <"$document"

if $isInside; then
    lies=$((lies + 1))
    echo "$document: the last block has no end"
fi
echo "$checks things checked, $lies wrong"
((checks > 0 && lies == 0))
