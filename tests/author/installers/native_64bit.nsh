${If} ${RunningX64}
  StrCpy $INSTDIR "$PROGRAMFILES64\${PRODUCT}"
  SetRegView 64
${EndIf}
!insertmacro Program
!insertmacro Entry HKLM
WriteRegStr HKLM "Software\${PRODUCT}" "Folder" "$INSTDIR"
CreateShortCut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
