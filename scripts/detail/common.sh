# Sourced by the scripts: goes to the top of the project and gives them what they share.

cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit

if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

# need_packages NAME...: installs those Debian packages that are missing.
need_packages()
{
    local missing=() package
    for package in "$@"; do
        [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
            missing+=("$package")
    done
    if ((${#missing[@]} == 0)); then
        return
    fi

    local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300)
    ((EUID == 0)) || apt=(sudo "${apt[@]}")
    local install=("${apt[@]}" install --yes --no-install-recommends "${missing[@]}")
    if command -v apt-get >/dev/null && command -v "${apt[0]}" >/dev/null; then
        echo "Installing the missing packages: ${missing[*]}"
        "${install[@]}" </dev/null >/dev/null && return
        echo "Once more with fresh package lists."
        "${apt[@]}" update </dev/null >/dev/null && "${install[@]}" </dev/null >/dev/null && return
    fi
    echo "This needs what the following Debian packages hold; please install it:" >&2
    printf '    %s\n' "${missing[@]}" >&2
    exit 1
}

# configure PRESET [OPTION...]: only where that was not done yet; after that the build notices
# changed CMake files itself, but not changed presets.
configure()
{
    local made=build/$1/build.ninja
    if [[ ! -f $made || CMakePresets.json -nt $made ]]; then
        cmake --preset "$@" --log-level=WARNING
    fi
}

# build PRESET [OPTION...]: on all cores; one line per file only for someone who watches.
build()
{
    local quiet=()
    [[ -t 1 ]] || quiet=(-- --quiet)
    cmake --build --preset "$@" --parallel "$(nproc)" "${quiet[@]}"
}
