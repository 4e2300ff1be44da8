#!/usr/bin/env bash
# The main job on a real machine: installs a sample product in a throw-away Wine prefix, detects, explains and removes
# it with prodrm, restarts the prefix, and proves by comparing the whole machine state with the one before the
# installation that nothing of the product is left and nothing else is gone.
#
#   scripts/demo.sh [--kind win32|win64] [--no-build]
#
# Exit code 0 only if the proof holds. What it worked with stays in build/demo-KIND/: snapshots, log, comparisons.
set -euo pipefail
root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/prefix.sh"

kind=win64 build=yes
while (($# > 0)); do
    case $1 in
    --kind) kind=$2 && shift ;;
    --no-build) build=no ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "${BASH_SOURCE[0]}" >&2 && exit 2 ;;
    esac
    shift
done
prefix_check_kind "$kind"

product='Atelier Grünholz'
home="C:\\Program Files\\$product"
work=$root/build/demo-$kind
prefix=$work/prefix
tool=$work/dist

# What the system writes by itself at a restart, whether or not anything was installed: a count of starts, and what the
# display driver finds.
by_itself='Control\\(ServiceCurrent\]|Video\\)'

say() { printf '\n== %s\n' "$*"; }

fail() {
    printf 'demo: %s\n' "$*" >&2
    exit 1
}

# Runs a Windows program in the prefix and gives its output without carriage returns. Never a pipe: what a program
# starts in the background inherits it, and its reader would wait for that as well.
run() {
    local code=0
    prefix_run "$prefix" "$@" >"$work/run.out" 2>&1 </dev/null || code=$?
    tr -d '\r' <"$work/run.out"
    return "$code"
}

# Waits until the file $1 holds the line $2.
await_line() {
    local tries
    for ((tries = 0; tries < 300; ++tries)); do
        grep -qx "$2" "$1" 2>/dev/null && return
        sleep 0.1
    done
    fail "no '$2' in $1"
}

# One line per file and folder: type, mode, hash, path.
snapshot_files() {
    (
        cd "$prefix/drive_c"
        find . -type f -print0 | sort -z | xargs -0 sha256sum | sed 's/^\([0-9a-f]*\) [ *]/\1 /' |
            while IFS=' ' read -r hash path; do printf 'file %s %s\n' "$path" "${hash:0:16}"; done
        find . -printf '%y %M %p\n'
    ) | LC_ALL=C sort
}

# One line per key and value of all hives, in the system's own view of them.
snapshot_registry() {
    run regedit /E "Z:${work//\//\\}\\registry.reg" >/dev/null
    iconv -f UTF-16 -t UTF-8 "$work/registry.reg" | tr -d '\r' |
        sed -e ':join' -e '/\\$/{N;s/\\\n *//;b join' -e '}' |
        awk '/^\[/ { key = $0; print key; next } NF { print key " " $0 }' | LC_ALL=C sort
}

snapshot() {
    snapshot_files >"$work/$1.files"
    snapshot_registry >"$work/$1.registry"
    printf '%s: %d files and folders, %d registry keys and values\n' "$1" \
        "$(wc -l <"$work/$1.files")" "$(wc -l <"$work/$1.registry")"
}

# Lines that one snapshot has and the other has not; "-" gone or changed since the first, "+" new in the second.
compare() {
    local what
    for what in files registry; do
        LC_ALL=C comm -23 "$work/$1.$what" "$work/$2.$what" | sed 's/^/- /'
        LC_ALL=C comm -13 "$work/$1.$what" "$work/$2.$what" | sed 's/^/+ /'
    done
}

if [[ $build == yes ]]; then
    say "Building"
    mkdir -p "$root/build"
    echo "on a fresh machine this installs packages first; its output: build/demo-build.log"
    "$root/scripts/build.sh" release >"$root/build/demo-build.log" 2>&1 || {
        tail -n 20 "$root/build/demo-build.log"
        fail "the build failed"
    }
    echo "dist/ is complete"
fi

say "A fresh $kind prefix"
prefix_remove "$prefix"
rm -rf "$work"
mkdir -p "$work"
trap 'prefix_remove "$prefix"' EXIT
prefix_clone "$kind" "$prefix"
prefix_start "$prefix"
cp -r "$root/dist" "$tool"
cp -r "$root"/demo/product/{detection.xml,extern} "$tool/"
# Reading shell folders and the registry once makes what the system makes on first use.
run regedit /E "Z:${work//\//\\}\\registry.reg" >/dev/null
run "$tool/prodrm.exe" list >/dev/null
snapshot before

say "Installing $product for real: files, service, shortcuts, registry"
run "$root/build/release/demo/atelier-setup.exe"
cp "$root/build/release/demo/atelier.exe" "$work/visitor.exe"
prefix_run "$prefix" "$home\\atelier.exe" hold program "$home\\палитра.dat" >"$work/program.out" 2>&1 </dev/null &
prefix_run "$prefix" "$work/visitor.exe" hold visitor "$home\\recent.dat" >"$work/visitor.out" 2>&1 </dev/null &
visitor=$!
await_line "$work/program.out" $'holding\r'
await_line "$work/visitor.out" $'holding\r'
echo "its program runs and holds a file; a visitor, which is no part of it, holds another"
snapshot installed
compare before installed >"$work/traces"
traces=$(wc -l <"$work/traces")
echo "traces of the installation: $traces"
((traces > 40)) || fail "the product was not really installed"

say "Embedding what a removal does"
run "$tool/prodrm-pack.exe" "$root/demo/product/removal.xml" "$tool/prodrm.dll"

say "prodrm list --installed --details --catalogue foreign"
run "$tool/prodrm.exe" list --installed --details --catalogue foreign | tee "$work/list.out"
grep -q "$product" "$work/list.out" || fail "the product was not detected"

say "prodrm explain '$product'"
run "$tool/prodrm.exe" explain "$product"

say "prodrm remove '$product' --yes"
code=0
prefix_run "$prefix" "$tool/prodrm.exe" remove "$product" --catalogue foreign --yes \
    --log "Z:${work//\//\\}\\removal.log" >"$work/remove.out" 2>&1 </dev/null || code=$?
tr -d '\r' <"$work/remove.out"
echo "exit code $code (3010, restart required, has the low byte 194)"
((code == 194)) || fail "a restart should be required"

say "The restart"
run "$work/visitor.exe" release visitor
wait "$visitor" || fail "the visitor did not end well"
run wineboot -r
snapshot after

say "The machine now against the machine before the installation"
compare before after >"$work/differences"
grep -Ev "$by_itself" "$work/differences" >"$work/unexplained" || true
printf 'differences: %d, of them written by the system itself: %d\n' "$(wc -l <"$work/differences")" \
    "$(grep -Ec "$by_itself" "$work/differences" || true)"
cat "$work/differences"
if grep -qi 'atelier' "$work/after.files" "$work/after.registry"; then
    grep -i 'atelier' "$work/after.files" "$work/after.registry"
    fail "something of the product is left"
fi
[[ ! -s $work/unexplained ]] || fail "something else changed"
echo "nothing of the product is left, and nothing else is gone"
