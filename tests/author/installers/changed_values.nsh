!insertmacro Program
!insertmacro Entry HKLM
ReadRegStr $0 HKLM "System\CurrentControlSet\Control\Session Manager\Environment" "PATH"
WriteRegExpandStr HKLM "System\CurrentControlSet\Control\Session Manager\Environment" "PATH" "$0;$INSTDIR"
WriteRegStr HKCR "txtfile\DefaultIcon" "" "$INSTDIR\${PRODUCT}.exe,0"
