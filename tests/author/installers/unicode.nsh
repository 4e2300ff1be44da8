StrCpy $INSTDIR "$PROGRAMFILES\Übersicht 東京 Зарница"
!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$INSTDIR\Ordner ß"
!insertmacro Text "$INSTDIR\Ordner ß\Karte é.txt"
CreateDirectory "$SMPROGRAMS\Übersicht 東京"
CreateShortCut "$SMPROGRAMS\Übersicht 東京\Öffnen.lnk" "$INSTDIR\${PRODUCT}.exe"
CreateShortCut "$DESKTOP\Карта.lnk" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKCU "Software\Übersicht 東京" "Größe" "ж"
