#!/usr/bin/env bash
# The main job on a real system: demo.sh [--kind win32|win64] [--no-build]
# Installs a sample product in a throw-away prefix (win64 by default) with an installer of its own, lets prodrm detect,
# explain and remove it, restarts the prefix, and proves by the state of the whole machine before and after that nothing
# of the product is left and nothing else is gone or changed. Then the same for two installers made by other tools, with
# documents that prodrm-author drafts. Fails if a step or a proof fails.
# PRODRM_DIST_DIR and PRODRM_DEMO_DIR name other folders of the built product and of the built sample product. States,
# differences and the library's log stay in the latter, below the name of the kind.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/prefix.sh
source "$root/scripts/prefix.sh"
# shellcheck source=demo/machine_state.sh
source "$root/demo/machine_state.sh"

dist=${PRODRM_DIST_DIR:-$root/dist}
programs=${PRODRM_DEMO_DIR:-$root/build/release/demo}
product='Wendelbach Atlas'
service=WendelbachAtlas

# What a session of the system may write by itself: the date that it gives to the driver of the display, and the key of
# its debugger, which it starts for a program that breaks off. The exit codes of prodrm are checked at each step, so that
# it is known not to have been one of them.
own_writes='^changed  HKLM\\System\\CurrentControlSet\\Control\\Class\\\{4D36E968-E325-11CE-BFC1-08002BE10318\}\\0000 '
own_writes+='"DriverDate(Data)?"$|^new      HKCU\\Software\\Wine\\WineDbg$'

# An exit code is its low byte here.
restart_required=$((3010 & 255))
not_installed=$((1605 & 255))

kind=win64
build=yes
while (($# > 0)); do
    case $1 in
    --kind)
        kind=${2:-}
        shift
        ;;
    --no-build) build=no ;;
    *)
        sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}" >&2
        exit 2
        ;;
    esac
    shift
done
prefix_check_kind "$kind"

prefix=$prefix_wine_dir/run/$BASHPID-demo
drive=$prefix/drive_c
program_files='Program Files'
[[ $kind == win32 ]] || program_files='Program Files (x86)'
folder="C:\\$program_files\\$product"

step() { printf '\n== %s\n' "$1"; }
tell() { printf '   %s\n' "$@"; }
show() { tr -d '\r' <"$1" | sed 's/^/   | /'; }

fail() {
    printf '\nFAILED: %s\n' "$1" >&2
    exit 1
}

windows_path() { echo "Z:${1//\//\\}"; }

# Runs a program in the prefix, with its output in a file: what it starts would keep a pipe open.
run() { prefix_run "$prefix" "$@" >"$work/output.txt" 2>&1 </dev/null; }

# The host tool with the exit code that it must have.
prodrm() {
    local expected=$1 code=0
    shift
    tell "> prodrm $*"
    run 'C:\Tools\prodrm\prodrm.exe' "$@" || code=$?
    show "$work/output.txt"
    ((code == expected)) || fail "prodrm $1 ended with $code, not with $expected"
}

# Waits up to 20 seconds until a command succeeds.
wait_until() {
    local tries
    for ((tries = 0; tries < 200; ++tries)); do
        if "$@"; then
            return
        fi
        sleep 0.1
    done
    fail "in vain: $*"
}

# What ends at a restart ends here too, and what waits for a start is done at the next.
shut_down_and_take() {
    prefix_stop "$prefix"
    machine_state_take "$prefix" "$work/$1.state"
}

service_runs() { run sc query "$service" && grep -q RUNNING "$work/output.txt"; }
has_ended() { ! kill -0 "$1" 2>/dev/null; }

# Starts a program that shows a map, which stays open. Sets "started" to its process.
show_map() {
    prefix_run "$prefix" "$1" "$folder\\Karten\\$2" >"$work/$3.txt" 2>&1 </dev/null &
    started=$!
    wait_until grep -q shown "$work/$3.txt"
}

# What differs between two states: the system's own writes in OLD-NEW.own, all else in OLD-NEW.diff.
compare() {
    local differences=$work/$1-$2
    machine_state_compare "$work/$1.state" "$work/$2.state" >"$differences.all"
    grep -E -- "$own_writes" "$differences.all" >"$differences.own" || true
    grep -vE -- "$own_writes" "$differences.all" >"$differences.diff" || true
}

# Traces of the product in the state after its installation: a comparison that did not see them would prove nothing.
count_traces() {
    local count
    count=$(grep -cE -- "$2" "$work/before-installed.diff") || fail "the comparison does not show: $1"
    tell "$(printf '%3d  %s' "$count" "$1")"
}

make_machine() {
    local tools=$drive/Tools/prodrm
    prefix_clone "$kind" "$prefix"
    mkdir -p "$drive/Tools"
    cp -R "$dist" "$tools"
    cp -R "$root/demo/catalogue/." "$tools"
    # What a removal must not touch although its name begins with the product's.
    mkdir "$drive/$program_files/$product Archiv"
    echo kept >"$drive/$program_files/$product Archiv/Übersicht.karte"
    # The system completes its registry in the first sessions.
    prefix_start "$prefix"
    run 'C:\Tools\prodrm\prodrm-pack.exe' 'C:\Tools\prodrm\removal.xml' 'C:\Tools\prodrm\prodrm.dll' ||
        fail "$(cat "$work/output.txt")"
    run reg add "HKLM\\Software\\$product Archiv" /v Folder /d kept || fail 'reg add'
    prefix_stop "$prefix"
    prefix_start "$prefix"
    shut_down_and_take before
    tell "$(wc -l <"$work/before.state") files, folders, registry keys and values"
}

install_product() {
    prefix_start "$prefix"
    run "$(windows_path "$programs/setup.exe")" || fail "$(cat "$work/output.txt")"
    shut_down_and_take installed
    compare before installed
    tell "$(wc -l <"$work/before-installed.diff") traces, by the comparison of the machine before and after:"
    count_traces 'files and folders' '^new      drive_c/.*(atlas|Atlas)'
    count_traces 'shortcuts' '^new      drive_c/.*\.lnk$'
    count_traces 'keys and values of its service' "^new      HKLM.*\\\\Services\\\\$service"
    count_traces 'keys and values of the machine' '^new      HKLM\\Software\\(Classes|Microsoft|Wendelbach)'
    [[ $kind == win32 ]] || count_traces '... in the 32-bit view' '^new      HKLM.Software.Wow6432Node.'
    count_traces 'keys and values of the user' '^new      HKCU.'
}

use_product() {
    prefix_start "$prefix"
    wait_until service_runs
    tell 'its service runs'
    show_map "$folder\\atlas.exe" '東京\新宿.karte' viewer
    viewer=$started
    tell 'its program runs and keeps a map open'
    show_map "$(windows_path "$programs/guest.exe")" 'Übersicht.karte' guest
    guest=$started
    tell 'a program of someone else keeps another map open'
}

remove_product() {
    prodrm "$restart_required" remove "$product" --yes --log "$(windows_path "$work/removal.log")"
    tell "exit code 3010: a restart is required"
    wait_until has_ended "$viewer"
    ! has_ended "$guest" || fail "the program of someone else has ended"
    local left expected="./$program_files/$product"
    left=$(cd "$drive" && find . \( -path "*$product" -o -path "*$product/*" \) | LC_ALL=C sort)
    expected=$(printf '%s\n' "$expected" "$expected/Karten" "$expected/Karten/Übersicht.karte")
    [[ $left == "$expected" ]] || fail "of its files are left: $left"
    tell "service and program have ended; of its files only the map is left that the other program has open"
}

restart() {
    prefix_stop "$prefix"
    prefix_start "$prefix"
    prodrm 0 list --installed
    prodrm "$not_installed" remove "$product" --yes
}

prove() {
    shut_down_and_take after
    compare before after
    local differences=$work/before-after what
    tell "compared: $(wc -l <"$work/after.state") files, folders, registry keys and values; times are left out"
    tell "the system's own writes, left out as well: $(wc -l <"$differences.own")"
    show "$differences.own"
    for what in new gone changed; do
        tell "$(printf '%-8s %3d' "$what:" "$(grep -c "^$what" "$differences.diff")")"
    done
    if [[ -s $differences.diff ]]; then
        show "$differences.diff"
        fail 'the machine is not as it was'
    fi
}

# prove_foreign TITLE INSTALLER ARGS...: from an installer of another tool to documents that are proved, by no hand.
prove_foreign() {
    local title=$1 installer=$2 folder
    folder=$work/drafted-${installer##*.}
    shift 2
    PRODRM_DIST_DIR=$dist "$root/scripts/prove.sh" --no-build --quiet --kind "$kind" --output "$folder" \
        "$work/installers/$installer" "$@" >"$work/output.txt" 2>&1 ||
        fail "$(cat "$work/output.txt")"
    tell "$title" "the drafted removal:"
    sed -n '/<win_nt>/,/<\/win_nt>/{//!s/^            /   |   /p}' "$folder/$kind/removal.xml" | head -n 12
    tell "  ... installed, drafted, detected, removed, restarted, compared:"
    show "$work/output.txt"
}

if [[ $build == yes ]]; then
    step 'Build'
    mkdir -p "$root/build"
    "$root/scripts/build.sh" release >"$root/build/demo.log" 2>&1 || {
        tail -n 20 "$root/build/demo.log"
        fail "the build; all of its output is in build/demo.log"
    }
    tell "the library and its tools are in dist/"
fi
work=$programs/$kind
mkdir -p "$work"
rm -rf "${work:?}"/*
trap 'prefix_remove "$prefix"' EXIT

step "A machine ($kind) with the catalogue, the script and the removal document of the product"
make_machine
step "The product is installed"
install_product
step "The machine was restarted, the product is in use"
use_product
step "What is installed, and why"
prodrm 0 list --installed
prodrm 0 explain "$product"
step "The product is removed"
remove_product
step "The machine restarts"
restart
step "Proof: the machine now and before the installation"
prove
tell "nothing of the product is left, and nothing else is gone or changed"
step "Installers made by other tools, without a document written by hand"
PRODRM_DEMO_DIR=$programs "$root/demo/installers/make.sh" "$work/installers" >"$work/output.txt" 2>&1 ||
    fail "$(cat "$work/output.txt")"
prove_foreign 'editor.exe, made by makensis: both views, menu, extension, service' editor.exe /S
prove_foreign "notes.msi, made by wixl: the system's installer, menu, service" notes.msi
tell "what stays is named in the drafts, with the reason"
