!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$SMPROGRAMS\${PRODUCT}"
CreateShortCut "$SMPROGRAMS\${PRODUCT}\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
CreateShortCut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKLM "Software\${PRODUCT}" "Folder" "$INSTDIR"
