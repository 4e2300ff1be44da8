; An installer as others make them: programs of other packages, both views, a menu, an extension, a service.
; Given: OUT, EDITOR (a program), PLUGINS (a folder with x86-unicode and amd64-unicode), SERVICE.
Unicode true
RequestExecutionLevel admin
Name "Birkenfeld Editor"
OutFile "${OUT}"
InstallDir "$PROGRAMFILES\Birkenfeld Editor"
Page instfiles
UninstPage instfiles

!include LogicLib.nsh
!include x64.nsh

!define ENTRY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Birkenfeld Editor"
!define CLASS "{6A0D7C52-5B0E-4F7B-9C55-1D3A0F3B7E21}"

Section
  SetShellVarContext all
  SetOutPath "$INSTDIR"
  File "/oname=editor.exe" "${EDITOR}"
  File "/oname=service.exe" "${SERVICE}"
  WriteUninstaller "$INSTDIR\uninst.exe"
  SetOutPath "$INSTDIR\Erweiterungen"
  File "${PLUGINS}\x86-unicode\*.dll"
  SetOutPath "$INSTDIR"

  CreateDirectory "$SMPROGRAMS\Birkenfeld Editor"
  CreateShortCut "$SMPROGRAMS\Birkenfeld Editor\Editor öffnen.lnk" "$INSTDIR\editor.exe"
  CreateShortCut "$DESKTOP\Birkenfeld Editor.lnk" "$INSTDIR\editor.exe"

  WriteRegStr HKLM "${ENTRY}" "DisplayName" "Birkenfeld Editor"
  WriteRegStr HKLM "${ENTRY}" "DisplayVersion" "4.1"
  WriteRegStr HKLM "${ENTRY}" "Publisher" "Birkenfeld"
  WriteRegStr HKLM "${ENTRY}" "UninstallString" "$INSTDIR\uninst.exe"
  WriteRegStr HKLM "Software\Birkenfeld Editor" "Ordner" "$INSTDIR"
  WriteRegStr HKLM "Software\Classes\CLSID\${CLASS}\InprocServer32" "" "$INSTDIR\Erweiterungen\System.dll"
  WriteRegStr HKLM "Software\Microsoft\Windows\CurrentVersion\Run" "Birkenfeld Editor" '"$INSTDIR\editor.exe"'
  WriteRegStr HKCR ".bkf" "" "Birkenfeld.Text"
  WriteRegStr HKCR "Birkenfeld.Text\shell\open\command" "" '"$INSTDIR\editor.exe" "%1"'
  ${If} ${RunningX64}
    SetOutPath "$PROGRAMFILES64\Birkenfeld Editor"
    File "${PLUGINS}\amd64-unicode\System.dll"
    SetRegView 64
    WriteRegStr HKLM "Software\Birkenfeld Editor" "Ordner" "$PROGRAMFILES64\Birkenfeld Editor"
    WriteRegStr HKLM "Software\Classes\CLSID\${CLASS}\InprocServer32" "" "$PROGRAMFILES64\Birkenfeld Editor\System.dll"
    SetRegView 32
  ${EndIf}
  SetShellVarContext current
  CreateDirectory "$APPDATA\Birkenfeld Editor"
  FileOpen $0 "$APPDATA\Birkenfeld Editor\Wörterbuch.txt" w
  FileWrite $0 "Wort"
  FileClose $0
  WriteRegStr HKCU "Software\Birkenfeld Editor" "Schrift" "12"
  ExecWait 'sc create BirkenfeldEditor binPath= "\"$INSTDIR\service.exe\"" start= auto'
SectionEnd

; As many uninstallers are: it takes what it thinks of.
Section Uninstall
  SetShellVarContext all
  ExecWait 'sc stop BirkenfeldEditor'
  ExecWait 'sc delete BirkenfeldEditor'
  RMDir /r "$INSTDIR"
  RMDir /r "$SMPROGRAMS\Birkenfeld Editor"
  Delete "$DESKTOP\Birkenfeld Editor.lnk"
  DeleteRegKey HKLM "${ENTRY}"
  DeleteRegKey HKLM "Software\Birkenfeld Editor"
SectionEnd
