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

runs_32_bit() {
    /lib/ld-linux.so.2 --version >/dev/null 2>&1
}

# Debian's own emulator takes a minute to start each program, the one of the backports a quarter of a second. It comes
# from wherever the machine takes its packages.
install_emulator() {
    local mirror list
    # shellcheck disable=SC2016  # apt's own placeholder
    mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' 'Component: main' | head -n 1)
    list=$(mktemp --suffix .list)
    echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $mirror bookworm-backports main" >"$list"
    chmod 644 "$list"
    local sources=(-o "Dir::Etc::sourcelist=$list" -o Dir::Etc::sourceparts=-)
    as_root apt-get update -q "${sources[@]}" -o APT::Get::List-Cleanup=0
    as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y "${sources[@]}" -t bookworm-backports --no-install-recommends qemu-user
    rm "$list"
}

# Some virtual machines run no 32-bit programs. There Wine's 32-bit part runs on an emulated processor: the same results,
# several times slower.
emulate_32_bit() {
    local formats=/proc/sys/fs/binfmt_misc
    echo "setup.sh: this machine runs no 32-bit programs: they are emulated" >&2
    dpkg --compare-versions "$(dpkg-query -W -f '${Version}' qemu-user 2>/dev/null || echo 0)" ge 1:8.1 || install_emulator
    [[ -e $formats/register ]] || as_root mount -t binfmt_misc binfmt_misc "$formats"
    # 32-bit programs for Intel processors, by the head of the file.
    local magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x03\x00'
    local mask='\xff\xff\xff\xff\xff\xfe\xfe\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
    printf '%s' ":prodrm-i386:M::$magic:$mask:/usr/bin/qemu-i386:PF" | as_root tee "$formats/register" >/dev/null
    runs_32_bit
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
    runs_32_bit || emulate_32_bit
else
    check_elsewhere
fi
