; An installer of the shape that BODY names: a file of this folder, included into the section that installs.
; Also given: OUT, PRODUCT, PROGRAM and SERVICE (programs to install).
Unicode true
RequestExecutionLevel admin
SilentInstall silent
SilentUnInstall silent
Name "${PRODUCT}"
OutFile "${OUT}"
InstallDir "$PROGRAMFILES\${PRODUCT}"

!include LogicLib.nsh
!include x64.nsh

!define CURRENT "Software\Microsoft\Windows\CurrentVersion"
!define ENTRY "${CURRENT}\Uninstall\${PRODUCT}"

; Program and uninstaller in the install folder.
!macro Program
  SetOutPath "$INSTDIR"
  File "/oname=${PRODUCT}.exe" "${PROGRAM}"
  WriteUninstaller "$INSTDIR\uninst.exe"
!macroend

; The entry in the list of programs.
!macro Entry ROOT
  WriteRegStr ${ROOT} "${ENTRY}" "DisplayName" "${PRODUCT}"
  WriteRegStr ${ROOT} "${ENTRY}" "DisplayVersion" "1.0"
  WriteRegStr ${ROOT} "${ENTRY}" "Publisher" "Birkenfeld"
  WriteRegStr ${ROOT} "${ENTRY}" "UninstallString" "$INSTDIR\uninst.exe"
!macroend

; A text file.
!macro Text PATH
  FileOpen $0 "${PATH}" w
  FileWrite $0 "text"
  FileClose $0
!macroend

Section
  SetShellVarContext all
  !include "${BODY}"
SectionEnd

; As many uninstallers are: it knows its folder, its menu and its entry.
Section Uninstall
  SetShellVarContext all
  RMDir /r "$INSTDIR"
  RMDir /r "$SMPROGRAMS\${PRODUCT}"
  DeleteRegKey HKLM "${ENTRY}"
  DeleteRegKey HKCU "${ENTRY}"
SectionEnd
