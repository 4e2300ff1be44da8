!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$INSTDIR\many"
${ForEach} $1 1 300 + 1
  !insertmacro Text "$INSTDIR\many\file $1.txt"
  WriteRegStr HKLM "Software\${PRODUCT}\Key $1" "value" "$1"
${Next}
