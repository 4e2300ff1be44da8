!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$APPDATA\${PRODUCT}\deep\deeper"
!insertmacro Text "$APPDATA\${PRODUCT}\deep\deeper\cache.bin"
SetShellVarContext current
CreateDirectory "$APPDATA\${PRODUCT}"
!insertmacro Text "$APPDATA\${PRODUCT}\user.cfg"
CreateDirectory "$LOCALAPPDATA\${PRODUCT}"
!insertmacro Text "$LOCALAPPDATA\${PRODUCT}\local.cfg"
CreateShortCut "$SMSTARTUP\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
