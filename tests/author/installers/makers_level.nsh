StrCpy $INSTDIR "$PROGRAMFILES\Birkenfeld\${PRODUCT}"
!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$SMPROGRAMS\Birkenfeld\${PRODUCT}"
CreateShortCut "$SMPROGRAMS\Birkenfeld\${PRODUCT}\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKLM "Software\Birkenfeld\${PRODUCT}" "Folder" "$INSTDIR"
WriteRegStr HKCU "Software\Birkenfeld\${PRODUCT}" "Seen" "1"
SetShellVarContext current
CreateDirectory "$APPDATA\Birkenfeld\${PRODUCT}\cache"
