!insertmacro Program
!insertmacro Entry HKLM
!insertmacro Text "$SYSDIR\birkenfeld.dll"
!insertmacro Text "$WINDIR\birkenfeld.ini"
!insertmacro Text "$FONTS\birkenfeld.ttf"
WriteRegStr HKLM "Software\Microsoft\Windows NT\CurrentVersion\Fonts" "Birkenfeld (TrueType)" "birkenfeld.ttf"
${If} ${RunningX64}
  ${DisableX64FSRedirection}
  !insertmacro Text "$SYSDIR\birkenfeld64.dll"
  ${EnableX64FSRedirection}
${EndIf}
