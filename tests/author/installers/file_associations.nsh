!insertmacro Program
!insertmacro Entry HKLM
WriteRegStr HKCR ".bkf" "" "Birkenfeld.File"
WriteRegStr HKCR ".bkf\OpenWithProgids" "Birkenfeld.File" ""
WriteRegStr HKCR "Birkenfeld.File" "" "Birkenfeld file"
WriteRegStr HKCR "Birkenfeld.File\DefaultIcon" "" "$INSTDIR\${PRODUCT}.exe,1"
WriteRegStr HKCR "Birkenfeld.File\shell\open\command" "" '"$INSTDIR\${PRODUCT}.exe" "%1"'
WriteRegStr HKCR ".txt\OpenWithProgids" "Birkenfeld.File" ""
WriteRegStr HKCR "*\shell\Birkenfeld\command" "" '"$INSTDIR\${PRODUCT}.exe" "%1"'
WriteRegStr HKLM "Software\RegisteredApplications" "Birkenfeld" "Software\${PRODUCT}\Capabilities"
WriteRegStr HKLM "Software\${PRODUCT}\Capabilities\FileAssociations" ".bkf" "Birkenfeld.File"
