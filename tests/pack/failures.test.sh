#!/usr/bin/env bash
# What the packer refuses: the library keeps its bytes, nothing is left beside it, and the message names file and cause.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=scripts/prefix.sh
source "$root/scripts/prefix.sh"

folder=$(mktemp -d)
trap 'chmod -R u+w "$folder"; rm -rf "$folder"' EXIT
packer=$folder/packer.exe
library=$folder/Ж.dll
good=$folder/good.xml
cp "$PRODRM_DIST_DIR/prodrm-pack.exe" "$packer"
cp "$PRODRM_DIST_DIR/prodrm.dll" "$library"
cp "$packer" "$folder/running.exe"
echo '<uninstall_information><version_list/></uninstall_information>' >"$good"
echo '<a>text</a>' >"$folder/wrong.xml"
echo '<a><b></a>' >"$folder/malformed.xml"
printf '<a>\xff</a>' >"$folder/latin.xml"
printf '<\0a\0/\0>\0' >"$folder/utf16.xml"
: >"$folder/empty.xml"
echo 'no program' >"$folder/text.dll"
cp "$library" "$folder/protected.dll"
chmod a-w "$folder/protected.dll"

# damaged NAME OFFSET BYTES: the library with other bytes at one place.
damaged() {
    cp "$library" "$folder/$1.dll"
    printf '%b' "$3" | dd of="$folder/$1.dll" bs=1 seek="$2" conv=notrunc status=none
}
headers=$(od -An -tu4 -j60 -N4 "$library")
resources=0x$(i686-w64-mingw32-objdump -h "$library" | awk '$2 == ".rsrc" { print $6 }')
# From the root of the resources down to what tells of the first one's data.
leaf=0
for _ in type name language; do
    leaf=$(($(od -An -tu4 -j$((resources + leaf + 20)) -N4 "$library") & 0x7fffffff))
done
damaged 64-bit $((headers + 4)) '\x64\x86'
damaged signed $((headers + 152)) '\x00\x10'
damaged headers $((headers + 60)) '\x03'
damaged sections $((headers + 260)) '\x01'
damaged endless $((resources + 20)) '\x00'
damaged outside $((resources + leaf)) '\xff\xff\xff\x7f'
head -c 100000 "$library" >"$folder/cut-off.dll"
truncate -s 65M "$folder/huge.dll"
cp "$PRODRM_DIST_DIR/log.dll" "$folder/bare.dll"
{
    echo '<a>'
    seq -f '<b>%g</b>' 20000
    echo '</a>'
} >"$folder/big.xml"

# Exit codes 1603 and 1639, as they come out of the prefix.
failure=$((1603 % 256))
usage=$((1639 % 256))

failed=0
snapshot() { (cd "$folder" && sha256sum -- *); }
before=$(snapshot)

# refuses EXIT_CODE WORDS ARGUMENTS...: the words are those of the message, in their order.
refuses() {
    local expected=$1 words=$2 code=0 message
    shift 2
    prefix_run "$PRODRM_PREFIX" "$@" >"$folder.out" 2>"$folder.err" </dev/null || code=$?
    message=$(<"$folder.err")
    # shellcheck disable=SC2254  # the words are a pattern
    case $message in
    *$words*) ;;
    *)
        echo "FAILED: expected \"$words\", heard \"$message\""
        failed=1
        ;;
    esac
    if ((code != expected)); then
        echo "FAILED: exit code $code instead of $expected: $message"
        failed=1
    fi
    if [[ $(snapshot) != "$before" ]]; then
        echo "FAILED: the folder has changed: $message"
        diff <(echo "$before") <(snapshot) || true
        failed=1
    fi
    rm -f "$folder.out" "$folder.err"
}

# Fails every write beyond the given number of KB, as a full disk does.
with_limit() (
    trap '' XFSZ
    ulimit -f "$1"
    shift
    refuses "$@"
    exit "$failed"
)

refuses "$usage" 'usage: prodrm-pack' "$packer" "$good"
refuses "$usage" 'usage: prodrm-pack' "$packer" "$good" "$library" more
refuses "$failure" 'missing.xml*(2)' "$packer" "$folder/missing.xml" "$library"
refuses "$failure" 'malformed.xml*not well-formed XML: line 1, column *mismatch' "$packer" "$folder/malformed.xml" "$library"
refuses "$failure" 'empty.xml*not well-formed XML' "$packer" "$folder/empty.xml" "$library"
refuses "$failure" 'latin.xml*not UTF-8' "$packer" "$folder/latin.xml" "$library"
refuses "$failure" 'utf16.xml*UTF-16' "$packer" "$folder/utf16.xml" "$library"
refuses "$failure" 'wrong.xml:1:1: error: *[no-root]*--force' "$packer" "$folder/wrong.xml" "$library"
refuses "$failure" 'missing.dll*(2)' "$packer" "$good" "$folder/missing.dll"
refuses "$failure" 'text.dll*no program file' "$packer" "$good" "$folder/text.dll"
for words in 64-bit.dll*32-bit signed.dll*signature headers.dll*headers sections.dll*sections endless.dll*resources \
    outside.dll*resources 'cut-off.dll*cut off' 'huge.dll*64 MB' 'bare.dll*no resources'; do
    refuses "$failure" "$words" "$packer" "$good" "$folder/${words%%.*}.dll"
done
refuses "$failure" 'protected.dll*(5)' "$packer" "$good" "$folder/protected.dll"
refuses "$failure" 'running.exe*(32)' "$folder/running.exe" "$good" "$folder/running.exe"

size=$(($(stat -c %s "$library") / 1024))
with_limit $((size / 2)) "$failure" 'working copy beside*Ж.dll' "$packer" "$good" "$library" || failed=1
with_limit $((size + 64)) "$failure" 'store the document in*Ж.dll' "$packer" --force "$folder/big.xml" "$library" || failed=1

exit "$failed"
