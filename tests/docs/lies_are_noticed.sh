#!/usr/bin/env bash
# Small documents, and whether check_document.sh lets them pass.
set -euo pipefail
checker=$(realpath "$(dirname "$0")/check_document.sh")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
printf 'int main()\n{\n    return 7;\n}\n' >"$folder/seven.cpp"

failed=0
row() # VERDICT NAME LINE...
{
    local outcome=bad
    printf '%s\n' "${@:3}" >"$folder/document.md"
    bash "$checker" "$folder/document.md" "$folder" >/dev/null 2>&1 && outcome=fine
    if [[ $outcome != "$1" ]]; then
        echo "$2: $outcome instead of $1"
        failed=1
    fi
}

session='```console'
code='```cpp'
end='```'
row fine "what is printed"            "$session" '$ echo one; echo two >&2' one two "$end"
row fine "two commands"               "$session" '$ echo one' one '$ echo two' two "$end"
row fine "no output"                  "$session" '$ true' "$end"
row bad  "other output"               "$session" '$ echo one' two "$end"
row bad  "output left out"            "$session" '$ echo one; echo two' one "$end"
row bad  "second command"             "$session" '$ echo one' one '$ echo two' three "$end"
row fine "a scene for a session"      "$end" '// a.scene' 'scene 1;' "$end" "$session" '$ tail -n 1 a.scene' 'scene 1;' "$end"
row bad  "another scene"              "$end" '// a.scene' 'scene 2;' "$end" "$session" '$ tail -n 1 a.scene' 'scene 1;' "$end"
row fine "a whole file"               '<!-- all of seven.cpp -->' "$code" 'int main()' '{' '    return 7;' '}' "$end"
row bad  "a whole file without end"   '<!-- all of seven.cpp -->' "$code" 'int main()' '{' '    return 7;' "$end"
row fine "lines of a file"            '<!-- from seven.cpp -->' "$code" 'return 7;' '}' "$end"
row bad  "lines of no file"           '<!-- from seven.cpp -->' "$code" 'return 8;' "$end"
row bad  "half a line of a file"      '<!-- from seven.cpp -->' "$code" 'return' "$end"
row bad  "a mark for the next block"  '<!-- from seven.cpp -->' "$code" 'return 7;' "$end" '<!-- from seven.cpp -->' "$code" 'no' "$end"
row bad  "a file that is not there"   '<!-- all of eight.cpp -->' "$code" 'return 8;' "$end"
row fine "a link"                     'See [seven](seven.cpp) and [a place](seven.cpp#main).'
row bad  "a dead link"                'See [seven](seven.cpp) and [eight](eight.cpp).'
row bad  "a block without end"        'See [seven](seven.cpp).' "$code" 'int x;'
row bad  "nothing to check"           'Text.' "$code" 'int x;' "$end"
exit $failed
