!insertmacro Program
!insertmacro Entry HKLM
!insertmacro Text "$INSTDIR\map.karte"
WriteRegStr HKLM "${CURRENT}\Run" "${PRODUCT}" '"$INSTDIR\${PRODUCT}.exe" "$INSTDIR\map.karte"'
