#!/usr/bin/env bash
# Makes two installers with the tools of others, from programs of other packages: make.sh FOLDER
# FOLDER then holds editor.exe (by makensis) and notes.msi (by wixl). PRODRM_DEMO_DIR names the sample product's programs.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
programs=${PRODRM_DEMO_DIR:-$here/../../build/release/demo}
plugins=/usr/share/nsis/Plugins
folder=$1
mkdir -p "$folder/files"
editor=$(find /usr/lib -path '*/i386-windows/notepad.exe' -print -quit)
cp "$editor" "$folder/files/editor.exe"
cp "$plugins/x86-unicode/System.dll" "$folder/files/"
cp "$programs/atlas-service.exe" "$folder/files/service.exe"
makensis -V1 -NOCD -DOUT="$folder/editor.exe" -DEDITOR="$folder/files/editor.exe" -DPLUGINS="$plugins" \
    -DSERVICE="$folder/files/service.exe" "$here/editor.nsi"
# The compiler looks for files in its own folder alone.
(cd "$folder/files" && wixl -o "$(readlink -f "$folder")/notes.msi" "$here/notes.wxs")
