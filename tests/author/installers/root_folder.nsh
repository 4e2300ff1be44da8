StrCpy $INSTDIR "C:\Birkenfeld Tools"
!insertmacro Program
!insertmacro Entry HKLM
