#!/usr/bin/env bash
# Proves drafts on installers of many shapes: prove_many.sh [--kind win64|win32|both] [--no-build] [SHAPES...]
# The shapes are the files of tests/author/installers; without names, all of them. Each is made into an installer by
# makensis and goes through prove.sh; with --kind both, the documents that were drafted on a 64-bit machine are also
# proved on a 32-bit machine and on a 64-bit one whose program folders and profile lie elsewhere. Ends with one table;
# fails if one proof fails. Differences and drafts stay in build/prove/KIND/SHAPE.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
shapes_folder=$root/tests/author/installers
dist=${PRODRM_DIST_DIR:-$root/dist}
programs=${PRODRM_DEMO_DIR:-$root/build/release/demo}

kind=both
build=yes
one=
shapes=()
while (($# > 0)); do
    case $1 in
    --kind)
        kind=${2:-}
        shift
        ;;
    --no-build) build=no ;;
    --one)  # what this script calls itself with
        one=${2:-}
        shift
        ;;
    --*)
        sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}" >&2
        exit 2
        ;;
    *) shapes+=("$1") ;;
    esac
    shift
done
if ((${#shapes[@]} == 0)); then
    mapfile -t shapes < <(cd "$shapes_folder" && printf '%s\n' *.nsh | sed 's/\.nsh$//')
fi
command -v makensis >/dev/null || {
    echo "prove_many.sh: makensis is missing (Debian package nsis)" >&2
    exit 2
}
if [[ $build == yes ]]; then
    "$root/scripts/build.sh" release >/dev/null
fi

results=$root/build/prove/$kind
elsewhere=$results/elsewhere.sh

prove() {
    local folder=$1
    shift
    "$root/scripts/prove.sh" --no-build --quiet --output "$folder" "$@" 2>&1 || return 1
}

# prove_shape SHAPE: its rows on the output.
prove_shape() {
    local shape=$1 work=$results/$1 product code=0
    product="Birkenfeld ${shape//_/ }"
    rm -rf "$work"
    mkdir -p "$work"
    exec >"$work.txt" 2>&1
    makensis -V1 -NOCD -DOUT="$work/$shape.exe" -DPRODUCT="$product" -DBODY="$shapes_folder/$shape.nsh" \
        -DPROGRAM="$programs/atlas.exe" -DSERVICE="$programs/atlas-service.exe" "$shapes_folder/installer.nsi"
    local named=(--name "$product" "$work/$shape.exe")
    prove "$work/here" --kind "$kind" "${named[@]}" || code=1
    if [[ $kind == both && $code == 0 ]]; then
        local documents=(--documents "$work/here/win64")
        prove "$work/other-kind" --kind win32 "${documents[@]}" "${named[@]}" || code=1
        prove "$work/elsewhere" --kind win64 --first "$elsewhere" "${documents[@]}" "${named[@]}" || code=1
    fi
    return "$code"
}
if [[ -n $one ]]; then
    prove_shape "$one"
    exit
fi

# A machine on which everything lies elsewhere. Sourced by prove.sh's machine as its first installer.
mkdir -p "$results"
cat >"$elsewhere" <<'SCRIPT'
set -euo pipefail
run() { "$PRODRM_ROOT/scripts/prefix.sh" run "$PRODRM_PREFIX" "$@"; }
mkdir -p "$PRODRM_DRIVE/Programme" "$PRODRM_DRIVE/Programme 32" "$PRODRM_DRIVE/users/root/Wandernd" \
    "$PRODRM_DRIVE/users/root/Örtlich" "$PRODRM_DRIVE/users/root/Schreibtisch"
for view in 32 64; do
    key='HKLM\Software\Microsoft\Windows\CurrentVersion'
    run reg add "$key" /v ProgramFilesDir /d "$([[ $view == 64 ]] && echo 'C:\Programme' || echo 'C:\Programme 32')" \
        /f /reg:$view
    run reg add "$key" /v 'ProgramFilesDir (x86)' /d 'C:\Programme 32' /f /reg:$view
done
key='HKCU\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders'
run reg add "$key" /v AppData /d 'C:\users\root\Wandernd' /f
run reg add "$key" /v 'Local AppData' /d 'C:\users\root\Örtlich' /f
run reg add "$key" /v Desktop /d 'C:\users\root\Schreibtisch' /f
SCRIPT
export PRODRM_ROOT=$root

code=0
printf '%s\n' "${shapes[@]}" |
    PRODRM_DIST_DIR=$dist PRODRM_DEMO_DIR=$programs xargs -P 2 -I SHAPE \
        "$root/scripts/prove_many.sh" --no-build --kind "$kind" --one SHAPE || code=1
heading=
for shape in "${shapes[@]}"; do
    grep -E '^product' "$results/$shape.txt" | head -n 1 >"$results/heading.txt" || true
    if [[ -z $heading && -s $results/heading.txt ]]; then
        heading=$(<"$results/heading.txt")
        printf '%s\n' "$heading"
    fi
    grep -vE '^product|^$' "$results/$shape.txt" || true
done
exit "$code"
