#!/usr/bin/env bash
# Installs what is missing to build and test on Debian 12 (amd64). Elsewhere it says what is needed.
set -euo pipefail

packages=(
    wine wine64 wine32:i386
    g++-mingw-w64-i686
    cmake ninja-build
    doctest-dev libcli11-dev nlohmann-json3-dev
    clang-format cppcheck shellcheck libxml2-utils
    nsis wixl
    chromium
)
programs=(
    wine wineserver wineboot
    i686-w64-mingw32-g++-win32 i686-w64-mingw32-windres
    cmake ninja
    clang-format cppcheck shellcheck xmllint
    makensis wixl
    chromium
)
headers=(doctest/doctest.h CLI/CLI.hpp nlohmann/json.hpp)

installed() {
    local states
    states=$(dpkg-query -W -f '${db:Status-Abbrev}\n' "${packages[@]}" 2>/dev/null) || return 1
    ! grep -qv '^ii' <<<"$states"
}

as_root() {
    if ((EUID == 0)); then
        "$@"
    else
        sudo "$@"
    fi
}

install_on_debian() {
    if ! dpkg --print-foreign-architectures | grep -qx i386; then
        as_root dpkg --add-architecture i386
    fi
    # One list out of step does not matter, as the release below serves both architectures alike.
    as_root apt-get update -q || echo "setup.sh: a package list could not be updated, going on" >&2
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y -t bookworm --no-install-recommends "${packages[@]}"
}

# On any other system whoever has the tools may go on.
check_elsewhere() {
    local missing=() program header
    for program in "${programs[@]}"; do
        command -v "$program" >/dev/null || missing+=("$program")
    done
    for header in "${headers[@]}"; do
        [[ -e /usr/include/$header || -e /usr/local/include/$header ]] || missing+=("$header")
    done
    if ((${#missing[@]} > 0)); then
        echo "setup.sh: this system is not known; please install: ${missing[*]}" >&2
        echo "setup.sh: on Debian 12 they are the packages: ${packages[*]}" >&2
        return 1
    fi
}

system=
if [[ -r /etc/os-release ]]; then
    system=$(. /etc/os-release && echo "${ID:-} ${VERSION_CODENAME:-}")
fi
if [[ $system == "debian bookworm" && $(dpkg --print-architecture) == amd64 ]]; then
    installed || install_on_debian
else
    check_elsewhere
fi
