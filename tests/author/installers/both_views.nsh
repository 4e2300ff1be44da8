!insertmacro Program
!insertmacro Entry HKLM
WriteRegStr HKLM "Software\${PRODUCT}" "Folder" "$INSTDIR"
WriteRegStr HKLM "Software\Classes\CLSID\{6A0D7C52-5B0E-4F7B-9C55-1D3A0F3B7E21}\InprocServer32" "" "$INSTDIR\x.dll"
${If} ${RunningX64}
  SetRegView 64
  !insertmacro Entry HKLM
  WriteRegStr HKLM "Software\${PRODUCT}" "Folder" "$INSTDIR"
  WriteRegStr HKLM "Software\${PRODUCT}\Sub" "x" "y"
  WriteRegStr HKLM "Software\Classes\CLSID\{6A0D7C52-5B0E-4F7B-9C55-1D3A0F3B7E21}\InprocServer32" "" "$INSTDIR\x.dll"
  SetRegView 32
${EndIf}
