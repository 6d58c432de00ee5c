# shellcheck shell=bash
# What the other scripts share: installing what is missing, and building. To be sourced.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export root
packages_managed=yes
package_lists=("$root/scripts/packages.txt")

say() { printf '== %s\n' "$*"; }
complain() { printf '%s\n' "$*" >&2; }
have() { command -v "$1" >/dev/null; }

# fail STATUS LINE...
fail() {
    local status=$1
    shift
    printf '%s\n' "$@" >&2
    exit "$status"
}

# The comment at the top of the calling script.
show_help() { sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$0"; }

needed_packages() { sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "${package_lists[@]}"; }

missing_packages() {
    local package
    for package in $(needed_packages); do
        dpkg-query --show --showformat='${db:Status-Status}\n' "$package" 2>/dev/null |
            grep -qx installed || echo "$package"
    done
}

explain_software() {
    complain "This software is needed; install what is missing with the means of your system:"
    sed -n 's/^[^#[:space:]][^#]*#/  -/p' "${package_lists[@]}" >&2
}

as_root() {
    if ((EUID == 0)); then
        env DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo env DEBIAN_FRONTEND=noninteractive "$@"
    fi
}

# Installs the packages of the lists, mostly packages.txt alone, that are missing. Where that cannot
# be tried for want of apt-get, what is there may still do: configuring the build will tell.
ensure_packages() {
    local -a missing
    if ! have apt-get || ! have dpkg-query; then
        packages_managed=no
        say "There is no apt-get here: trying with the software that is installed"
        have cmake || { explain_software; exit 2; }
        return
    fi
    mapfile -t missing < <(missing_packages)
    ((${#missing[@]})) || return 0
    local command="apt-get install --no-install-recommends ${missing[*]}"
    if ((EUID != 0)) && ! have sudo; then
        fail 2 "These packages are missing, and only root can install them:" "  $command"
    fi
    say "Installing with apt-get: ${missing[*]}"
    if ! { as_root apt-get update --quiet &&
        as_root apt-get install --quiet --yes --no-install-recommends "${missing[@]}"; }; then
        fail 2 "Installing failed (see above). What is needed:" "  $command"
    fi
}

configure() {
    local preset=$1
    local -a environment=()
    # An existing build folder is left as it was made.
    if [[ ! -e $root/build/$preset/CMakeCache.txt ]]; then
        if have ninja; then environment+=("CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}"); fi
        if have ccache; then
            environment+=("CMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER:-ccache}")
        fi
    fi
    (cd "$root" && env "${environment[@]}" cmake --preset "$preset" >/dev/null) && return
    complain "Configuring the build failed (see above)."
    if [[ $packages_managed == no ]]; then
        explain_software
        exit 2
    fi
    return 1
}

# build PRESET TARGET...: in build/PRESET, with all cores. Status 2: software is missing.
build() {
    local preset=$1
    shift
    say "Building $* in build/$preset"
    configure "$preset" || return
    cmake --build "$root/build/$preset" --parallel "$(nproc)" --target "$@" || return 1
}

# clang_tool NAME: its version 14, whose name may have the version; other versions differ in what
# they find.
clang_tool() {
    local command
    for command in "$1-14" "$1"; do
        if have "$command" && "$command" --version | grep -q 'version 14\.'; then
            echo "$command"
            return
        fi
    done
    return 1
}
