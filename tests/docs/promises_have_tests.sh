#!/usr/bin/env bash
# Checks that every row of the document's tables names a test, and that all tests named there exist.
# A name that ends in * stands for all that begin so.
# Usage: promises_have_tests.sh DOCUMENT BUILD_FOLDER
set -euof pipefail
document=$1
tests=$(ctest --test-dir "$2" -N | sed -n 's/^ *Test *#[0-9]*: //p')

promises=0
broken=0
complain()
{
    echo "$document: $1"
    broken=$((broken + 1))
}

while IFS= read -r row; do
    promises=$((promises + 1))
    row=${row%|*}
    names=$(grep -oE '`[^` ]+`' <<<"${row##*|}" | tr -d '`') || { complain "no test: $row"; continue; }
    for name in $names; do
        pattern=$(sed 's/[.]/\\./g; s/[*]/.*/g' <<<"$name")
        grep -qxE "$pattern" <<<"$tests" || complain "no such test: $name"
    done
done < <(grep -E '^\|' "$document" | grep -vE '^\|(-|.*\| Test \|$)')

echo "$promises promises, $broken without a test"
((promises > 0 && broken == 0))
