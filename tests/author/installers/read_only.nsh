!insertmacro Program
!insertmacro Entry HKLM
CreateDirectory "$INSTDIR\data"
!insertmacro Text "$INSTDIR\data\read.txt"
SetFileAttributes "$INSTDIR\data\read.txt" READONLY
!insertmacro Text "$INSTDIR\data\hidden.txt"
SetFileAttributes "$INSTDIR\data\hidden.txt" HIDDEN|SYSTEM
!insertmacro Text "$DESKTOP\${PRODUCT} read me.txt"
SetFileAttributes "$DESKTOP\${PRODUCT} read me.txt" READONLY
SetFileAttributes "$INSTDIR\data" READONLY
