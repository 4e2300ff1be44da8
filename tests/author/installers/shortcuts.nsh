!insertmacro Program
!insertmacro Entry HKLM
CreateShortCut "$DESKTOP\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
CreateShortCut "$DESKTOP\${PRODUCT} again.lnk" "$INSTDIR\${PRODUCT}.exe" "/again"
CreateShortCut "$SMPROGRAMS\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
CreateShortCut "$DESKTOP\${PRODUCT} in a console.lnk" "$SYSDIR\cmd.exe" "/k"
CreateShortCut "$DESKTOP\${PRODUCT} folder.lnk" "$INSTDIR"
CreateShortCut "$QUICKLAUNCH\${PRODUCT}.lnk" "$INSTDIR\${PRODUCT}.exe"
WriteINIStr "$DESKTOP\${PRODUCT}.url" "InternetShortcut" "URL" "http://localhost/"
