!insertmacro Program
!insertmacro Entry HKLM
!insertmacro Text "$INSTDIR\own.dll"
WriteRegDWORD HKLM "${CURRENT}\SharedDLLs" "$INSTDIR\own.dll" 1
!insertmacro Text "$SYSDIR\birkenfeld-common.dll"
ReadRegDWORD $0 HKLM "${CURRENT}\SharedDLLs" "$SYSDIR\birkenfeld-common.dll"
IntOp $0 $0 + 1
WriteRegDWORD HKLM "${CURRENT}\SharedDLLs" "$SYSDIR\birkenfeld-common.dll" $0
