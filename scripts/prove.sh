#!/usr/bin/env bash
# From an installer to documents that are proved, on throw-away machines: prove.sh [OPTIONS] INSTALLER [ARGS...]
#
#   --kind win64|win32|both   the kind of machine (win64); both runs one after the other
#   --name NAME               the product's name; otherwise the one that it puts into the list of programs
#   --owns NAME               a folder or key of the maker that no other product uses (repeatable)
#   --first INSTALLER         what the machine has before: installed before the first snapshot (repeatable)
#   --documents FOLDER        prove the documents of an earlier run (its folder of a kind) in place of new ones
#   --output FOLDER           for the drafted files and the differences, by kind (./drafted)
#   --own-uninstaller COMMAND also tell what the product's own uninstaller leaves, on another machine; %NAME% variables
#                             of the machine are expanded, and the command runs there as a line of cmd
#   --no-build                take the tools as they are in dist/, or in the folder that PRODRM_DIST_DIR names
#   --quiet                   only the table
#
# The installer is a .exe, which gets ARGS, a .msi, a .bat or .cmd, or a .sh, which runs here and finds the machine's
# drive C: in the folder PRODRM_DRIVE and runs programs there by "prefix.sh run PRODRM_PREFIX". It must ask nothing.
# The steps: snapshot, install, restart, snapshot, draft, lint, pack, detect, plan, remove, restart, snapshot, compare.
# Fails unless the product is detected and removed, nothing of it is left but what the draft says, and nothing else is
# gone or changed.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=scripts/prefix.sh
source "$root/scripts/prefix.sh"

dist=${PRODRM_DIST_DIR:-$root/dist}
author='C:\prodrm-author'  # a folder that snapshots leave out
restart_required=$((3010 & 255))  # an exit code is its low byte here

kind=win64
name=
owns=()
output=drafted
first=()
documents=
own_uninstaller=
build=yes
quiet=no
while [[ ${1:-} == --* ]]; do
    case $1 in
    --kind) kind=$2 ;;
    --name) name=$2 ;;
    --owns) owns+=(--owns "$2") ;;
    --first) first+=("$(readlink -f "$2")") ;;
    --documents) documents=$(readlink -f "$2") ;;
    --output) output=$2 ;;
    --own-uninstaller) own_uninstaller=$2 ;;
    --no-build | --quiet)
        if [[ $1 == --quiet ]]; then quiet=yes; else build=no; fi
        set -- "$1" "$@"
        ;;
    *) set -- ;;
    esac
    shift $(($# < 2 ? $# : 2))
done
if (($# == 0)); then
    sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}" >&2
    exit 2
fi
installer=$(readlink -f "$1")
shift
arguments=("$@")
kinds=("$kind")
[[ $kind != both ]] || kinds=(win64 win32)
for kind in "${kinds[@]}"; do prefix_check_kind "$kind"; done

step() { [[ $quiet == yes ]] || printf '\n== %s\n' "$1"; }
tell() { [[ $quiet == yes ]] || printf '   %s\n' "$@"; }
show() { [[ $quiet == yes ]] || tr -d '\r' <"$1" | sed 's/^/   | /'; }

fail() {
    printf 'FAILED (%s, %s): %s\n' "$(basename "$installer")" "$kind" "$1" >&2
    exit 1
}

# Runs a program of the machine, with its output in a file: what it starts would keep a pipe open.
run() { prefix_run "$prefix" "$@" >"$work/output.txt" 2>&1 </dev/null; }

# The same for a step that must succeed, and is shown.
must() {
    tell "> ${*//$author\\/}"
    run "$@" || fail "${*//$author\\/} ended with $?: $(cat "$work/output.txt")"
    show "$work/output.txt"
}

restart() {
    prefix_stop "$prefix"
    prefix_start "$prefix"
}

# The tools, and a list of what to leave out: the tool's own, and what this system writes at each start.
make_machine() {
    prefix_clone "$kind" "$prefix"
    local folder=$prefix/drive_c/prodrm-author
    mkdir -p "$folder"
    cp -R "$dist/." "$folder"
    prefix_start "$prefix"
    run "$author\\prodrm-author.exe" snapshot --print-exclusions || fail "$(cat "$work/output.txt")"
    {
        cat "$work/output.txt"
        printf '%s\n' 'HKCU\Software\Wine\WineDbg' \
            'HKLM\System\CurrentControlSet\Control\Class\{4D36E968-E325-11CE-BFC1-08002BE10318}\0000'$'\tDriverDate*'
    } >"$folder/exclusions.txt"
    local file
    for file in "${first[@]}"; do
        install "$file"
    done
    restart  # the system completes its registry in the first sessions
}

snapshot() {
    must "$author\\prodrm-author.exe" snapshot "$author\\$1.snapshot" --drive C: --exclude "$author\\exclusions.txt"
    cp "$prefix/drive_c/prodrm-author/$1.snapshot" "$work/"
}

# Lines that begin with "new", "gone" or "changed", a tab and the name of the thing.
compare() {
    local code=0
    run "$author\\prodrm-author.exe" compare "$author\\$1.snapshot" "$author\\$2.snapshot" || code=$?
    ((code <= 1)) || fail "$(cat "$work/output.txt")"
    grep -aE $'^(new|gone|changed)\t' "$work/output.txt" | tr -d '\r' >"$work/$1-$2.txt" || true
}

# install FILE ARGS...
install() {
    local file=$1 place code=0
    place=$author\\$(basename "$file")
    cp "$file" "$prefix/drive_c/prodrm-author/"
    shift
    tell "> $(basename "$file") $*"
    case ${file,,} in
    *.msi) run msiexec /i "$place" /qn "$@" || code=$? ;;
    *.bat | *.cmd) run cmd /c "$place" "$@" || code=$? ;;
    *.sh)
        PRODRM_PREFIX=$prefix PRODRM_DRIVE=$prefix/drive_c PRODRM_KIND=$kind \
            bash "$file" "$@" >"$work/output.txt" 2>&1 </dev/null || code=$?
        ;;
    *) run "$place" "$@" || code=$? ;;
    esac
    ((code == 0 || code == restart_required)) || fail "the installer ended with $code: $(cat "$work/output.txt")"
}

# The display name of the product's new entry in the list of programs.
find_name() {
    name=$(sed -n 's/^new\t.*\\Uninstall\\[^\t]*\tDisplayName\tsz //p' "$work/before-installed.txt" | head -n 1)
    [[ -n $name ]] || name=$(basename "${installer%.*}")
}

draft() {
    must "$author\\prodrm-author.exe" draft "$author\\before.snapshot" "$author\\installed.snapshot" --name "$name" \
        "${owns[@]}" --output "$author\\drafted" --force
    local drafted=$prefix/drive_c/prodrm-author/drafted
    if [[ -n $documents ]]; then  # of the new ones, only what they say will stay counts
        rm -rf "$drafted/extern"
        cp -R "$documents"/{detection.xml,extern,removal.xml} "$drafted/"
    fi
    cp -R "$drafted/." "$work/"
    elements=$(grep -c '<item' "$work/removal.xml" || true)
    rm -rf "$prefix/drive_c/prodrm-author/"{intern,extern,products.xml}
    cp -R "$drafted/detection.xml" "$drafted/extern" "$prefix/drive_c/prodrm-author/"
}

check_and_pack() {
    must "$author\\prodrm-author.exe" lint "$author\\drafted\\removal.xml"
    must "$author\\prodrm-pack.exe" "$author\\drafted\\removal.xml" "$author\\prodrm.dll"
    must "$author\\prodrm.exe" list --installed --catalogue foreign
    grep -qF -- "$name" "$work/output.txt" || fail "the product is not detected"
}

plan() {
    run "$author\\prodrm.exe" --help || true
    if grep -qE '^ +plan ' "$work/output.txt"; then
        must "$author\\prodrm.exe" plan "$name" --catalogue foreign
    fi
}

remove() {
    local code=0 accept=()
    tell "> prodrm.exe remove $name --yes"
    run "$author\\prodrm.exe" remove "$name" --catalogue foreign --yes "${accept[@]}" \
        --log "$author\\removal.log" || code=$?
    cp "$prefix/drive_c/prodrm-author/removal.log" "$work/" 2>/dev/null || true
    show "$work/output.txt"
    ((code == 0 || code == restart_required)) || fail "the removal ended with $code: $(cat "$work/output.txt")"
    needs_restart=no
    ((code == 0)) || needs_restart=yes
}

# Differences of the end from the beginning: left are new things that the draft did not say would stay, wrong is what
# the installer had not touched and is gone or changed.
judge() {
    compare before removed
    awk -F '\t' -v OFS='\t' '
        # A thing is called by all but the last field of its line, and of a changed one by all but the last two.
        function called(line, fields,   count, parts, i, text) {
            count = split(line, parts, "\t")
            text = parts[1]
            for (i = 2; i <= count - fields; ++i) text = text "\t" parts[i]
            return text
        }
        FNR == 1 { ++file }
        file == 1 && !/^$/ { kept[called($0, 1)]; next }
        { what = $1; line = substr($0, length(what) + 2); thing = called(line, what == "changed" ? 2 : 1) }
        thing in kept { print "stays", line; next }
        what == "new" { print "left", line; next }
        { print "wrong", what, line }' "$work/kept.txt" "$work/before-removed.txt" >"$work/verdict.txt"
    traces=$(grep -c '^new' "$work/before-installed.txt" || true)
    stays=$(grep -c '^stays' "$work/verdict.txt" || true)
    left=$(grep -c '^left' "$work/verdict.txt" || true)
    wrong=$(grep -c '^wrong' "$work/verdict.txt" || true)
    show "$work/verdict.txt"
}

# Ends when no uninstaller has run on the machine for two seconds: some start a copy of themselves and end at once.
wait_for_uninstaller() {
    local tries process idle=0
    for ((tries = 0; tries < 300 && idle < 10; ++tries)); do
        sleep 0.2
        ((++idle))
        for process in $(pgrep -f 'un_[a-z]\.exe|au_\.exe|uninst\.exe|msiexec' -i || true); do
            if grep -qzxF "WINEPREFIX=$(readlink -m "$prefix")" "/proc/$process/environ" 2>/dev/null; then
                idle=0
            fi
        done
    done
}

try_own_uninstaller() {
    step "The product's own uninstaller, on another machine"
    make_machine
    snapshot before
    install "$installer" "${arguments[@]}"
    restart
    tell "> $own_uninstaller"
    printf '%s\r\n' "$own_uninstaller" >"$prefix/drive_c/prodrm-author/uninstall.bat"
    run cmd /c "$author\\uninstall.bat" || tell "ended with $?"
    wait_for_uninstaller
    restart
    snapshot removed
    compare before removed
    cp "$work/before-removed.txt" "$work/own-uninstaller.txt"
    own_left=$(grep -c '^new' "$work/before-removed.txt" || true)
    own_wrong=$(grep -cE '^(gone|changed)' "$work/before-removed.txt" || true)
    show "$work/own-uninstaller.txt"
}

prove() {
    work=$output/$kind
    prefix=$prefix_wine_dir/run/$BASHPID-prove
    trap 'prefix_remove "$prefix"' EXIT
    mkdir -p "$work"
    step "A machine ($kind)"
    make_machine
    snapshot before
    step "The product is installed"
    install "$installer" "${arguments[@]}"
    restart
    snapshot installed
    compare before installed
    [[ -n $name ]] || find_name
    tell "$(wc -l <"$work/before-installed.txt") differences; the product is called: $name"
    step "Its documents are drafted, checked and packed"
    draft
    check_and_pack
    step "The product is removed"
    plan
    remove
    step "The machine restarts"
    restart
    must "$author\\prodrm.exe" list --installed --catalogue foreign
    ! grep -qF -- "$name" "$work/output.txt" || fail "the product is still detected"
    snapshot removed
    judge
    if [[ -n $own_uninstaller ]]; then
        try_own_uninstaller
    fi
    printf '%s\t' "$kind" "$traces" "$elements" "$needs_restart" "$stays" "$left" "$wrong" \
        "${own_left:--}" "${own_wrong:--}" >"$output/$kind.row"
    ((left == 0 && wrong == 0)) || fail "left: $left, gone or changed beyond the product: $wrong; see $work/verdict.txt"
}

if [[ $build == yes ]]; then
    step 'Build'
    mkdir -p "$root/build"
    "$root/scripts/build.sh" release >"$root/build/prove.log" 2>&1 || {
        tail -n 20 "$root/build/prove.log"
        fail "the build; all of its output is in build/prove.log"
    }
fi
mkdir -p "$output"
output=$(readlink -f "$output")
rm -f "$output"/*.row
code=0
for kind in "${kinds[@]}"; do
    (prove) || code=1
done
[[ $quiet == yes ]] || printf '\n'
printf '%-28s %-5s %7s %8s %8s %5s %5s %6s  %s\n' product kind traces elements restart stays left wrong 'own uninstaller'
for kind in "${kinds[@]}"; do
    [[ -e $output/$kind.row ]] || continue
    IFS=$'\t' read -r -a row <"$output/$kind.row" || true
    own=-
    [[ ${row[7]} == - ]] || own="leaves ${row[7]}, wrong ${row[8]}"
    printf '%-28s %-5s %7s %8s %8s %5s %5s %6s  %s\n' "$(basename "$installer")" "${row[@]:0:7}" "$own"
done
exit "$code"
