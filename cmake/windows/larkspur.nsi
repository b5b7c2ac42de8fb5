; SPDX-License-Identifier: MIT
; Copyright (c) 2026 The Larkspur authors
;
; The installer of the Windows programs, for one user and without an administrator:
;
;   makensis -DVERSION=0.1.0 -DTREE=folder -DFILES=list -DOUTPUT=setup.exe larkspur.nsi
;
; TREE is the folder of the programs and documents, FILES the commands that delete them. /S installs
; without questions, /D=folder (last, without quotes) into another folder; the uninstaller knows /S as
; well.
Target amd64-unicode
ManifestDPIAware true
RequestExecutionLevel user
SetCompressor /SOLID lzma

!include "MUI2.nsh"
!include "FileFunc.nsh"

!define NAME "Larkspur"
!define PUBLISHER "The Larkspur authors"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"
!define FILE_TYPE "Larkspur.Cache"

Name "${NAME} ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "CompanyName" "${PUBLISHER}"
VIAddVersionKey "FileDescription" "${NAME} setup"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" "MIT License"

!define MUI_FINISHPAGE_RUN "$INSTDIR\larkspur-host.exe"
!insertmacro MUI_PAGE_LICENSE "${TREE}/LICENSE.txt"
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "German"
!insertmacro MUI_LANGUAGE "Russian"
!insertmacro MUI_LANGUAGE "Ukrainian"
!insertmacro MUI_LANGUAGE "French"
!insertmacro MUI_LANGUAGE "Japanese"
!insertmacro MUI_LANGUAGE "Korean"
!insertmacro MUI_LANGUAGE "SimpChinese"
!insertmacro MUI_LANGUAGE "TradChinese"

; Explorer reads the file types again.
!macro TellOfFileTypes
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
!macroend

; Caches open in the host. What .kvrsp belonged to before is remembered.
Function RegisterFileType
  ReadRegStr $0 HKCU "Software\Classes\.kvrsp" ""
  StrCmp $0 "${FILE_TYPE}" ours
  StrCmp $0 "" ours
  WriteRegStr HKCU "${UNINSTALL_KEY}" "FileTypeBefore" $0
ours:
  WriteRegStr HKCU "Software\Classes\.kvrsp" "" "${FILE_TYPE}"
  WriteRegStr HKCU "Software\Classes\${FILE_TYPE}" "" "${NAME} cache"
  WriteRegStr HKCU "Software\Classes\${FILE_TYPE}\DefaultIcon" "" "$INSTDIR\larkspur-host.exe,0"
  WriteRegStr HKCU "Software\Classes\${FILE_TYPE}\shell\open\command" "" \
    '"$INSTDIR\larkspur-host.exe" "%1"'
  !insertmacro TellOfFileTypes
FunctionEnd

Section
  SetOutPath "$INSTDIR"
  File /r "${TREE}/*"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  CreateDirectory "$SMPROGRAMS\${NAME}"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME}.lnk" "$INSTDIR\larkspur-host.exe"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME} command line.lnk" "$SYSDIR\cmd.exe" \
    '/k cd /d "$INSTDIR" && larkspur.exe --help'
  CreateShortcut "$SMPROGRAMS\${NAME}\When a disk fails.lnk" "$INSTDIR\docs\guide.html"
  CreateShortcut "$SMPROGRAMS\${NAME}\Uninstall ${NAME}.lnk" "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "${PUBLISHER}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\larkspur-host.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  IntFmt $0 "0x%08X" $0
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" "$0"
  Call RegisterFileType
SectionEnd

Section "Uninstall"
  ; Only what was installed: the folder may hold a user's caches.
  !include "${FILES}"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\${NAME}\${NAME}.lnk"
  Delete "$SMPROGRAMS\${NAME}\${NAME} command line.lnk"
  Delete "$SMPROGRAMS\${NAME}\When a disk fails.lnk"
  Delete "$SMPROGRAMS\${NAME}\Uninstall ${NAME}.lnk"
  RMDir "$SMPROGRAMS\${NAME}"
  ReadRegStr $0 HKCU "Software\Classes\.kvrsp" ""
  StrCmp $0 "${FILE_TYPE}" 0 foreign
  ReadRegStr $1 HKCU "${UNINSTALL_KEY}" "FileTypeBefore"
  StrCmp $1 "" none
  WriteRegStr HKCU "Software\Classes\.kvrsp" "" $1
  Goto foreign
none:
  DeleteRegKey HKCU "Software\Classes\.kvrsp"
foreign:
  DeleteRegKey HKCU "Software\Classes\${FILE_TYPE}"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  !insertmacro TellOfFileTypes
SectionEnd
