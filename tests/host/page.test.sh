#!/usr/bin/env bash
# A product whose folder holds a link out of it, and the page of its plan in a real browser.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=scripts/prefix.sh
source "$root/scripts/prefix.sh"

prefix=$PRODRM_PREFIX
tool=$prefix/drive_c/page-test/tool
product=$prefix/drive_c/page-test/product
private=$prefix/drive_c/page-test/private
work=$(mktemp -d)
trap 'rm -rf "$work" "$prefix/drive_c/page-test"' EXIT

fail() {
    echo "page.test.sh: $1" >&2
    cat "$work/out" >&2
    exit 1
}

# The tool with the low byte of its exit code.
prodrm() {
    local expected=$1 code=0
    shift
    prefix_run "$prefix" 'C:\page-test\tool\prodrm.exe' "$@" >"$work/out" 2>"$work/err" </dev/null || code=$?
    ((code == (expected & 255))) || fail "prodrm $* ended with $code, not with the low byte of $expected"
}

mkdir -p "$tool/extern" "$product/sub" "$private"
cp "${PRODRM_DIST_DIR:-$root/dist}"/{prodrm.exe,prodrm.dll,log.dll} "$tool"
echo '<uninstall_information><none/></uninstall_information>' >"$tool/products.xml"
echo '<uninstall_information><product name="Page" file="page.xml"/></uninstall_information>' >"$tool/detection.xml"
document='<uninstall_information><version_list><v/></version_list><v><install_folder name="none"/><win_nt>'
document+='<s op_code="del_folder" minimum_score="1"><e name="C:\page-test\product"/></s>'
document+='</win_nt></v></uninstall_information>'
tee "$tool/extern/page.xml" <<<"$document" >"$tool/document.xml"
for name in 'plain.txt' "sub/<b> & 'quoted'.txt" $'sub/turned \u202etxt.exe' 'sub/日本 "x".dat'; do
    # What the system does not take for a name is left out.
    : >"$product/${name//[<>\"]/_}"
done
echo kept >"$private/letter.txt"

# Without the link the plan stands, and the page shows each of its items once, under its own name.
prodrm 0 plan Page --document 'C:\page-test\tool\document.xml' --json
mv "$work/out" "$work/plan.json"
prodrm 0 plan Page --document 'C:\page-test\tool\document.xml' --report 'C:\page-test\tool\page.html'
chromium --headless --no-sandbox --disable-gpu --user-data-dir="$work/browser" --dump-dom \
    "file://$tool/page.html#all" >"$work/page.dom" 2>/dev/null </dev/null || fail 'the browser failed'
tr -d '\r' <"$work/plan.json" | sed -n 's/^{"record":.*"path":"\(.*\)","state":.*/\1/p' |
    sed 's/\\\\/\\/g; s/\xe2\x80\xae/\xe2\x9f\xa8U+202E\xe2\x9f\xa9/g' | sort >"$work/expected"
grep -o 'data-item="[0-9]*"' "$work/page.dom" | sort -u >"$work/numbers"
grep -o '<bdi class="name" title="[^"]*"' "$work/page.dom" | sed 's/.*title="//; s/"$//; s/&amp;/\&/g; s/&quot;/"/g' |
    sort >"$work/shown"
[[ $(wc -l <"$work/expected") == 6 ]] || fail "the plan holds other items: $(cat "$work/expected")"
cmp "$work/expected" "$work/shown" || fail "the page shows: $(cat "$work/shown")"
[[ $(wc -l <"$work/numbers") == 6 ]] || fail 'the page counts otherwise'
! grep -q 'id="plain"' "$work/page.dom" || fail 'the script of the page did not run'

# A link out of the folder stops the removal, and says where it leads.
ln -s "$private" "$product/sub/link"
prodrm 1625 remove Page --yes --document 'C:\page-test\tool\document.xml'
grep -q 'through-link: C:\\page-test\\product\\sub\\link is a link to C:\\page-test\\private; ' "$work/out" ||
    fail 'the link is not told'
[[ -f $private/letter.txt && -f $product/plain.txt ]] || fail 'something was removed'
