#!/usr/bin/env bash
# What CTest runs for a test of one kind of prefix (win32 or win64):
#
#   run_test.sh start KIND              makes and starts the prefix of this CTest run
#   run_test.sh program KIND PROGRAM    runs a test program in it
#   run_test.sh shell KIND SCRIPT       runs a shell test with PRODRM_PREFIX and PRODRM_KIND set
#   run_test.sh alone KIND PROGRAM ...  runs a program that changes the whole machine in a prefix of its own
#   run_test.sh stop KIND               removes the prefix
#
# A prefix belongs to the CTest process that calls, so that several runs do not disturb each other.
set -euo pipefail

# shellcheck source=scripts/prefix.sh
source "$(dirname "${BASH_SOURCE[0]}")/prefix.sh"

command=$1
kind=$2
runs=$prefix_wine_dir/run
prefix=$runs/$PPID-$kind

# Windows form of a path.
windows_path() {
    local path
    path=$(readlink -m "$1")
    echo "Z:${path//\//\\}"
}

# A run that was broken off leaves its prefix behind.
remove_orphans() {
    local found owner
    for found in "$runs"/*-*; do
        owner=${found##*/}
        owner=${owner#once-}
        owner=${owner%%-*}
        if [[ -d $found && ! -d /proc/$owner ]]; then
            prefix_remove "$found" || rm -rf "$found"
        fi
    done
}

# The exit code alone would hide a program that ended early with zero, or that ran no test at all.
run_program() {
    local program=$1 output code=0
    output=$(mktemp)
    # To a file: programs left behind would keep a pipe open.
    PRODRM_DIST=$(windows_path "${PRODRM_DIST_DIR:-$prefix_root/dist}") PRODRM_ROOT=$(windows_path "$prefix_root") \
        prefix_run "$prefix" "$program" >"$output" 2>&1 </dev/null || code=$?
    cat "$output"
    if ((code == 0)) && ! grep -q 'Status: SUCCESS!' "$output"; then
        echo "run_test.sh: the program ended before its tests did"
        code=1
    elif ((code == 0)) && ! grep -Eq 'test cases: +[1-9]' "$output"; then
        echo "run_test.sh: the program ran no test"
        code=1
    elif ((code != 0)); then
        echo "run_test.sh: exit code $code"
    fi
    rm -f "$output"
    return "$code"
}

case $command in
start)
    mkdir -p "$runs"
    remove_orphans
    prefix_clone "$kind" "$prefix"
    prefix_start "$prefix"
    ;;
program)
    run_program "$3"
    ;;
shell)
    PRODRM_PREFIX=$prefix PRODRM_KIND=$kind bash "$3"
    ;;
alone)
    PRODRM_TIMEOUT=${PRODRM_TIMEOUT:-900} \
        PRODRM_DIST=$(windows_path "${PRODRM_DIST_DIR:-$prefix_root/dist}") prefix_once "$kind" "${@:3}" </dev/null
    ;;
stop)
    prefix_remove "$prefix"
    ;;
*)
    echo "run_test.sh: unknown command: $command" >&2
    exit 2
    ;;
esac
