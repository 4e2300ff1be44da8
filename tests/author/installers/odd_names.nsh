!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$INSTDIR\a & b < c"
!insertmacro Text "$INSTDIR\a & b < c\#####marked 'quoted'.txt"
!insertmacro Text "$DESKTOP\${PRODUCT} & 'more' 100%.txt"
WriteRegStr HKCU "Software\a/b & <c>" "x;y" "z"
WriteRegStr HKCU "Software\a" "x" "z"
WriteRegStr HKCU "Control Panel\Desktop" "a/b & '<c>'" "z"
WriteRegStr HKCU "Control Panel\Desktop" "pat*tern" "z"
