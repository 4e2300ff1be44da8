#!/usr/bin/env bash
# Wine prefixes for builds and tests: one template per kind, throw-away clones of it.
#
#   prefix.sh template KIND             makes the template if it is missing or of another Wine; prints its path
#   prefix.sh clone KIND DIR            makes DIR a fresh clone of the template
#   prefix.sh start DIR                 starts the clone's server, which then stays until "stop"
#   prefix.sh run DIR PROGRAM ARGS...   runs a Windows program in the clone
#   prefix.sh stop DIR                  ends everything that runs in the clone
#   prefix.sh remove DIR                stops the clone and deletes it
#   prefix.sh once KIND PROGRAM ARGS... runs a program in a clone of its own, which is then removed
#
# KIND is win32 (a 32-bit process is not WOW64) or win64 (it is). The exit code of run and once is the program's
# low byte; 124 means that the program was ended after PRODRM_TIMEOUT seconds (300).
# PRODRM_WINE_DIR names the folder of the templates, build/wine unless set. Clones are cheap on its file system.
#
# Sourced, the file offers the same as functions: prefix_template, prefix_clone, ...

prefix_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
prefix_wine_dir=${PRODRM_WINE_DIR:-$prefix_root/build/wine}

# The format counts up whenever templates are made differently.
prefix_format=1

# Runs a command with the environment of the prefix $1. HOME is private, so that nothing inside reaches a person's files.
prefix_env() {
    local prefix
    prefix=$(readlink -m "$1")
    shift
    env -u DISPLAY -u WAYLAND_DISPLAY -u WINEARCH \
        HOME="$prefix" WINEPREFIX="$prefix" WINEDEBUG=-all \
        WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d' LC_ALL=C.UTF-8 \
        "$@"
}

prefix_check_kind() {
    case $1 in
    win32 | win64) ;;
    *)
        echo "prefix.sh: unknown kind of prefix: $1" >&2
        return 2
        ;;
    esac
}

# Waits until the registry is written and the server is gone.
prefix_stop() {
    prefix_env "$1" wineserver -k >/dev/null 2>&1 </dev/null || true
    prefix_env "$1" timeout 60 wineserver -w >/dev/null 2>&1 </dev/null || true
}

prefix_remove() {
    [[ -d $1 ]] || return 0
    if [[ ! -e $1/system.reg ]]; then
        echo "prefix.sh: not a prefix, left alone: $1" >&2
        return 1
    fi
    prefix_stop "$1"
    rm -rf "$1"
}

# Wine links the folders of the profile to those of the real home: they become folders of the prefix.
prefix_cut_links() {
    local link
    while IFS= read -r -d '' link; do
        rm "$link"
        mkdir "$link"
    done < <(find "$1/drive_c/users" -type l -print0)
}

prefix_make_template() {
    local kind=$1 template=$2 stamp=$3
    local making=$template.making
    if [[ -e $making ]]; then
        prefix_stop "$making"
        rm -rf "$making"
    fi
    rm -rf "$template"
    mkdir -p "$making"
    if ! prefix_env "$making" WINEARCH="$kind" timeout 300 wineboot -i >/dev/null 2>&1 </dev/null; then
        echo "prefix.sh: wineboot could not make a $kind prefix" >&2
        return 1
    fi
    prefix_env "$making" timeout 60 wineserver -w
    prefix_cut_links "$making"
    echo "$stamp" >"$making/.prodrm-template"
    mv "$making" "$template"
}

# Two builds may ask at once: the second waits for the first one's template.
prefix_template() {
    local kind=$1
    prefix_check_kind "$kind" || return
    local template=$prefix_wine_dir/$kind stamp
    stamp="$(wine --version) format $prefix_format"
    mkdir -p "$prefix_wine_dir"
    (
        flock 9
        if [[ $(cat "$template/.prodrm-template" 2>/dev/null) != "$stamp" ]]; then
            # The server started here must not keep the lock.
            prefix_make_template "$kind" "$template" "$stamp" 9>&-
        fi
    ) 9>"$prefix_wine_dir/$kind.lock" || return
    echo "$template"
}

# The big files that nothing writes to are hard links into the template; all others are copies.
prefix_clone() {
    local kind=$1 clone=$2 template
    template=$(prefix_template "$kind") || return
    if [[ -e $clone ]]; then
        prefix_remove "$clone" || return
    fi
    mkdir -p "$(dirname "$clone")"
    if ! cp -al "$template" "$clone" 2>/dev/null; then
        rm -rf "$clone"
        cp -a "$template" "$clone"
        return
    fi
    cp --remove-destination "$template"/*.reg "$template/.update-timestamp" "$clone/"
    local file
    while IFS= read -r -d '' file; do
        cp -p --remove-destination "$template/$file" "$clone/$file"
    done < <(cd "$template" && find drive_c/users drive_c/windows -maxdepth 6 -type f \
        \( -name '*.ini' -o -name '*.lnk' -o -name '*.inf' -o -path 'drive_c/users/*' \) -print0)
}

# The first program starts Wine's services, which inherit its streams: they must not get a pipe that someone reads.
prefix_start() {
    prefix_env "$1" wineserver -p >/dev/null 2>&1 </dev/null
    prefix_env "$1" timeout 120 wine cmd.exe /c exit 0 >/dev/null 2>&1 </dev/null
}

prefix_run() {
    local prefix=$1
    shift
    if [[ ! -e $prefix/system.reg ]]; then
        echo "prefix.sh: not a prefix: $prefix" >&2
        return 2
    fi
    prefix_env "$prefix" timeout --kill-after=10 "${PRODRM_TIMEOUT:-300}" wine "$@"
}

prefix_once() {
    local kind=$1 clone code=0
    shift
    prefix_check_kind "$kind" || return
    mkdir -p "$prefix_wine_dir/run"
    clone=$prefix_wine_dir/run/once-$BASHPID
    # shellcheck disable=SC2064  # the path of now is meant
    trap "prefix_remove '$clone'" EXIT
    prefix_clone "$kind" "$clone" || return
    prefix_start "$clone" || return
    prefix_run "$clone" "$@" || code=$?
    prefix_remove "$clone"
    trap - EXIT
    return "$code"
}

prefix_main() {
    local command=${1:-} least
    case $command in
    template | start | stop | remove) least=2 ;;
    clone | run | once) least=3 ;;
    *) least=-1 ;;
    esac
    if ((least < 0 || $# < least)); then
        sed -n '2,/^$/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2
        return 2
    fi
    shift
    "prefix_$command" "$@"
}

if [[ ${BASH_SOURCE[0]} == "$0" ]]; then
    set -euo pipefail
    prefix_main "$@"
fi
