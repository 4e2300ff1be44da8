#!/usr/bin/env bash
# What a removal leaves for the restart is gone after it, and only that: a prefix of its own is really restarted.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
# shellcheck source=scripts/prefix.sh
source "$root/scripts/prefix.sh"

prefix=$prefix_wine_dir/run/$BASHPID-restart-$PRODRM_KIND
trap 'prefix_remove "$prefix"' EXIT
prefix_clone "$PRODRM_KIND" "$prefix"
prefix_start "$prefix"

library=$prefix/drive_c/library
product=$prefix/drive_c/product
mkdir -p "$library" "$product/data/inner"
cp "$PRODRM_DIST_DIR/prodrm.dll" "$library/"
touch "$product/marked.dll" "$product/held.dll" "$product/data/inner/held.dat" "$product/data/loose" "$product/kept"
chmod a-w "$product/held.dll"
echo "<uninstall_information><product name='P' file='p.xml'/></uninstall_information>" >"$library/products.xml"
cat >"$library/document.xml" <<'XML'
<uninstall_information>
    <version_list><v/></version_list>
    <v>
        <app_path key="HKEY_LOCAL_MACHINE\Software\Product" name="path"/>
        <win_nt>
            <s op_code="del_file"><f path="app_path" name="#####marked.dll"/></s>
            <s op_code="del_file"><f path="app_path" name="held.dll"/></s>
            <s op_code="del_folder"><f path="app_path" name="data"/></s>
        </win_nt>
    </v>
</uninstall_information>
XML
view=()
[[ $PRODRM_KIND == win32 ]] || view=(/reg:64)
prefix_run "$prefix" reg add 'HKLM\Software\Product' /v path /d 'C:\product' "${view[@]}" >/dev/null 2>&1 </dev/null
prefix_run "$prefix" "$PRODRM_DIST_DIR/prodrm-pack.exe" 'C:\library\document.xml' 'C:\library\prodrm.dll' </dev/null

expect() {
    local left
    left=$(cd "$product" && find . -mindepth 1 | LC_ALL=C sort | tr '\n' ' ')
    if [[ $left != "$2" ]]; then
        echo "FAILED $1: expected \"$2\", found \"$left\""
        exit 1
    fi
}

code=0
prefix_run "$prefix" remove_all.exe 'C:\library\prodrm.dll' 'C:\product\held.dll' 'C:\product\data\inner\held.dat' \
    >/dev/null 2>&1 </dev/null || code=$?
if ((code != 2)); then
    echo "FAILED: remove_all ended with $code instead of asking for a restart"
    exit 1
fi
# What the system holds: pairs of a file and an empty new name.
pending=$(prefix_run "$prefix" reg query 'HKLM\System\CurrentControlSet\Control\Session Manager' \
    /v PendingFileRenameOperations 2>/dev/null </dev/null | tr -d '\r' | sed -n 's/.*REG_MULTI_SZ *//p')
expected='\??\C:\product\marked.dll\0\0\??\C:\product\data\inner\held.dat\0\0\??\C:\product\data\inner\0\0'
expected+='\??\C:\product\data\0\0\??\C:\product\held.dll\0'
if [[ $pending != "$expected" ]]; then
    echo "FAILED: expected pending \"$expected\", found \"$pending\""
    exit 1
fi
expect 'before the restart' './data ./data/inner ./data/inner/held.dat ./held.dll ./kept ./marked.dll '
prefix_env "$prefix" timeout 120 wineboot -r >/dev/null 2>&1 </dev/null
expect 'after the restart' './kept '
