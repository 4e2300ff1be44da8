!insertmacro Program
!insertmacro Entry HKLM
File "/oname=service.exe" "${SERVICE}"
ExecWait 'sc create BirkenfeldService binPath= "\"$INSTDIR\service.exe\"" start= auto DisplayName= "Birkenfeld Service"'
WriteRegStr HKLM "System\CurrentControlSet\Services\EventLog\Application\Birkenfeld" "EventMessageFile" "$INSTDIR\service.exe"
