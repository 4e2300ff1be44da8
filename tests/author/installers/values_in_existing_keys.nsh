!insertmacro Program
!insertmacro Entry HKLM
WriteRegStr HKLM "${CURRENT}\Run" "${PRODUCT}" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKCU "Control Panel\Desktop" "${PRODUCT}" "$INSTDIR\x"
WriteRegStr HKCR "txtfile" "${PRODUCT}" "x"
WriteRegStr HKLM "${CURRENT}\App Paths\${PRODUCT}.exe" "" "$INSTDIR\${PRODUCT}.exe"
WriteRegBin HKCU "Environment" "BIRKENFELD" 00112233
