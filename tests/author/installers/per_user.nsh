SetShellVarContext current
StrCpy $INSTDIR "$LOCALAPPDATA\Programs\${PRODUCT}"
!insertmacro Program
!insertmacro Entry HKCU
CreateDirectory "$APPDATA\${PRODUCT}"
!insertmacro Text "$APPDATA\${PRODUCT}\settings.ini"
CreateShortCut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
CreateShortCut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKCU "Software\${PRODUCT}" "Folder" "$INSTDIR"
