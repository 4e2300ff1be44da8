!insertmacro Program
!insertmacro Entry HKLM
SetOutPath "$COMMONFILES\Birkenfeld Shared\Filters\2"
!insertmacro Text "$COMMONFILES\Birkenfeld Shared\Filters\2\filter.dat"
!insertmacro Text "$COMMONFILES\Microsoft Shared\birkenfeld.dat"
SetOutPath "$APPDATA\Microsoft\Templates"
!insertmacro Text "$APPDATA\Microsoft\Templates\birkenfeld.tpl"
