SetOutPath "$INSTDIR"
File "/oname=${PRODUCT}.exe" "${PROGRAM}"
!insertmacro Text "$INSTDIR\read me.txt"
CreateShortCut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
