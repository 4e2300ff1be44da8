!insertmacro Program
!insertmacro Entry HKLM
WriteRegStr HKCR "CLSID\{B2F0C5B4-6C0F-4C5C-9A0B-3C6F2F3A7D11}" "" "Birkenfeld server"
WriteRegStr HKCR "CLSID\{B2F0C5B4-6C0F-4C5C-9A0B-3C6F2F3A7D11}\LocalServer32" "" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKCR "AppID\{B2F0C5B4-6C0F-4C5C-9A0B-3C6F2F3A7D12}" "" "Birkenfeld"
WriteRegStr HKCR "TypeLib\{B2F0C5B4-6C0F-4C5C-9A0B-3C6F2F3A7D13}\1.0\0\win32" "" "$INSTDIR\${PRODUCT}.exe"
WriteRegStr HKCR "Interface\{B2F0C5B4-6C0F-4C5C-9A0B-3C6F2F3A7D14}" "" "IBirkenfeld"
WriteRegStr HKCR "Birkenfeld.Server" "" "Birkenfeld server"
