# Sourced by the tests of this folder, which get ROOT as their first argument: an empty desk
# that vanishes in the end, and the outside program in the ways that it may be built.

root=$(realpath "$1")
here=$root/tests/install
program=$root/examples/host_in_forty_lines
desk=$(mktemp -d)
trap 'rm -rf "$desk"' EXIT

fail() # WHAT
{
    echo "$1" >&2
    exit 1
}

runOutside() # COMMAND...
{
    "$@" | diff --unified "$program.expected" - || fail "$* printed something else"
}

buildWithCMake() # NAME OPTION...
{
    cmake -S "$here/outside" -B "$desk/$1" -DOUTSIDE_MAIN="$program.cpp" "${@:2}" >"$desk/log" &&
        cmake --build "$desk/$1" --parallel 2 >"$desk/log" || { cat "$desk/log"; fail "$1 was not built"; }
    runOutside "$desk/$1/outside"
    runOutside "$desk/$1/load_plugin" "$desk/$1/libplugin.so"
}

buildWithPkgConfig() # PREFIX
{
    local flags
    flags=$(PKG_CONFIG_PATH=$(dirname "$(find "$1" -name marl.pc)") pkg-config --cflags --libs marl)
    # shellcheck disable=SC2086 # the flags are words of their own
    "$CXX" -std=c++20 "$program.cpp" -o "$desk/outside" $flags
    LD_LIBRARY_PATH=$(dirname "$(find "$1" -name 'libmarl.*' -type f)") runOutside "$desk/outside"
}

# Installs a build to PREFIX by way of another place, for an installed tree may be moved.
installTo() # BUILD PREFIX
{
    cmake --install "$1" --prefix "$desk/elsewhere" >"$desk/log" || fail "$(cat "$desk/log")"
    mv "$desk/elsewhere" "$2"

    local leaks
    leaks=$(grep -rlF -e "$root" -e "$(realpath "$1")" -e "$desk" "$2") && fail "These name a path of this machine: $leaks"
    diff <(cd "$root" && find marl -name '*.h' -not -path '*/detail/*' | sort) \
         <(cd "$2/include" && find . -type f -printf '%P\n' | sort) || fail "These headers differ from the public ones."
}

useInstalled() # PREFIX
{
    buildWithCMake find_package -DCMAKE_PREFIX_PATH="$1"
    buildWithPkgConfig "$1"
}
