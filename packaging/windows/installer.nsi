; QmTrainInfo-setup.exe: the component for both word sizes, the practice host and jetsql, for one user or for all.
;
; makensis -DVERSION=1.1.0 -DPAYLOAD=folder -DOUTPUT=QmTrainInfo-setup.exe installer.nsi
;
; On the command line: /S silent, /AllUsers for all users, /D=folder last and without quotes. Exit codes: 0 done, 1 left by
; the user, 2 not installed and the system as before.
; New files are first written beside the old ones; only when all of them are there do they take their places. A file in use
; makes room under another name, so that its program goes on, and what is started next has the new one.
Unicode true
!include MUI2.nsh
!include LogicLib.nsh
!include WinVer.nsh
!include x64.nsh
!include FileFunc.nsh
!include nsDialogs.nsh

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\QmTrainInfo"
!define NEEDED_KB 80000

Name "QmTrainInfo"
BrandingText "QmTrainInfo ${VERSION}"
OutFile "${OUTPUT}"
RequestExecutionLevel user
SetCompressor /SOLID lzma
ShowInstDetails nevershow
ShowUninstDetails nevershow
VIProductVersion "${VERSION}.0"
VIAddVersionKey /LANG=2052 ProductName "QmTrainInfo"
VIAddVersionKey /LANG=2052 ProductVersion "${VERSION}"
VIAddVersionKey /LANG=2052 FileVersion "${VERSION}"
VIAddVersionKey /LANG=2052 FileDescription "练习记录组件安装程序"
VIAddVersionKey /LANG=2052 LegalCopyright "QmTrainInfo"

!define MUI_ICON "qmtrain.ico"
!define MUI_UNICON "qmtrain.ico"
!define MUI_ABORTWARNING
!insertmacro MUI_PAGE_WELCOME
Page custom ScopePage ScopePageLeave
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_FUNCTION StartHost
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "SimpChinese"
!insertmacro MUI_LANGUAGE "English"

!macro Text NAME CHINESE ENGLISH
  LangString ${NAME} ${LANG_SIMPCHINESE} "${CHINESE}"
  LangString ${NAME} ${LANG_ENGLISH} "${ENGLISH}"
!macroend
!insertmacro Text T_HOST "计算机等级考试模拟练习" "NCRE practice"
!insertmacro Text T_README "使用说明" "Read me"
!insertmacro Text T_UNINSTALL "卸载" "Uninstall"
!insertmacro Text T_SAMPLES "使用示例" "Samples"
!insertmacro Text T_SCOPE "为谁安装" "Install for whom"
!insertmacro Text T_SCOPE_MORE "选择可以使用本软件的用户。" "Choose who may use the software."
!insertmacro Text T_SCOPE_USER "只为我安装（不需要管理员权限）" "For me only (no administrator needed)"
!insertmacro Text T_SCOPE_ALL "为这台计算机的所有用户安装（需要管理员权限）" "For all users of this computer (needs an administrator)"
!insertmacro Text T_OLD "需要 Windows 7 或更新的版本。" "Windows 7 or later is needed."
!insertmacro Text T_RIGHTS "为所有用户安装需要管理员权限。没有安装任何内容。" "To install for all users takes an administrator. Nothing has been installed."
!insertmacro Text T_FOLDER "不能写入这个文件夹，没有安装任何内容：$\r$\n$INSTDIR" "This folder cannot be written; nothing has been installed:$\r$\n$INSTDIR"
!insertmacro Text T_SPACE "磁盘空间不足，没有安装任何内容：$\r$\n$INSTDIR" "There is not enough room on the disk; nothing has been installed:$\r$\n$INSTDIR"
!insertmacro Text T_IN_USE "文件正在使用，不能替换：$\r$\n$R8$\r$\n请关闭使用它的程序，再安装一次。" "A file is in use and cannot be replaced:$\r$\n$R8$\r$\nPlease close the programs that use it and install again."
!insertmacro Text T_REGISTER "组件不能注册：$\r$\n$R8" "The component cannot be registered:$\r$\n$R8"

Var all_users
Var user_button
Var all_button

!macro Fail MESSAGE
  MessageBox MB_OK|MB_ICONSTOP "$(${MESSAGE})" /SD IDOK
  SetErrorLevel 2
  Quit
!macroend

; Everything of a word size is registered and removed with the system's program of that size.
!macro Regsvr32 BITS ARGUMENTS
  ${If} "${BITS}" == "x64"
    ExecWait '"$WINDIR\Sysnative\regsvr32.exe" /s /n ${ARGUMENTS} "$INSTDIR\x64\QmTrainInfo.dll"' $0
  ${Else}
    ExecWait '"$SYSDIR\regsvr32.exe" /s /n ${ARGUMENTS} "$INSTDIR\x86\QmTrainInfo.dll"' $0
  ${EndIf}
!macroend
!macro Register BITS
  StrCpy $R8 "$INSTDIR\${BITS}\QmTrainInfo.dll"
  ClearErrors
  StrCpy $0 1
  ${If} $all_users == 1
    !insertmacro Regsvr32 ${BITS} "/i:machine"
  ${Else}
    !insertmacro Regsvr32 ${BITS} "/i:user"
  ${EndIf}
  ${If} $0 <> 0
    MessageBox MB_OK|MB_ICONSTOP "$(T_REGISTER)" /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
!macroend

; The new file takes its place.
!macro Replace FOLDER FILE
  StrCpy $R7 "$INSTDIR\new~\${FOLDER}${FILE}"
  StrCpy $R8 "$INSTDIR\${FOLDER}${FILE}"
  Call ReplaceFile
!macroend
!macro ProgramFiles ACTION BITS
  !insertmacro ${ACTION} "${BITS}\" "QmTrainInfo.dll"
  !insertmacro ${ACTION} "${BITS}\" "QmTrainInfo.manifest"
  !insertmacro ${ACTION} "${BITS}\" "qmtrain.exe"
  !insertmacro ${ACTION} "${BITS}\" "jetsql.exe"
!macroend
!macro CommonFiles ACTION
  !insertmacro ${ACTION} "" "QmTrainInfo.tlb"
  !insertmacro ${ACTION} "" "readme.txt"
  !insertmacro ${ACTION} "samples\" "practice.vbs"
  !insertmacro ${ACTION} "samples\" "practice.js"
  !insertmacro ${ACTION} "samples\" "practice.cs"
  !insertmacro ${ACTION} "samples\" "practice.bas"
  !insertmacro ${ACTION} "samples\" "host.cpp"
  !insertmacro ${ACTION} "samples\" "late.cpp"
  !insertmacro ${ACTION} "samples\" "qmtraininfo.idl"
  !insertmacro ${ACTION} "samples\" "record_sets.idl"
  !insertmacro ${ACTION} "samples\" "data_objects.idl"
!macroend
!macro Remove FOLDER FILE
  Delete "$INSTDIR\${FOLDER}${FILE}"
  Delete "$INSTDIR\${FOLDER}${FILE}.old*"
!macroend

Function .onInit
  StrCpy $all_users 0
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/AllUsers" $1
  ${IfNot} ${Errors}
    StrCpy $all_users 1
  ${EndIf}
  ${IfNot} ${AtLeastWin7}
    !insertmacro Fail T_OLD
  ${EndIf}
  ; A folder that can be none is dropped before we see it; what was wanted is not the usual place, then.
  ${If} $INSTDIR == ""
    System::Call "kernel32::GetCommandLine() t .r0"
    ClearErrors
    ${GetOptions} $0 "/D=" $1
    ${IfNot} ${Errors}
      StrCpy $INSTDIR $1
      !insertmacro Fail T_FOLDER
    ${EndIf}
  ${EndIf}
  Call ApplyScope
  ${If} $all_users == 1
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != "Admin"
      !insertmacro Fail T_RIGHTS
    ${EndIf}
  ${EndIf}
FunctionEnd

; Where to, and which branch of the registry. An installation that is there is replaced where it is.
Function ApplyScope
  ${If} ${RunningX64}
    SetRegView 64
  ${EndIf}
  ${If} $all_users == 1
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
  ${If} $INSTDIR == ""
    ReadRegStr $INSTDIR SHCTX "${KEY}" "InstallLocation"
  ${EndIf}
  ${If} $INSTDIR == ""
    ${If} $all_users == 0
      StrCpy $INSTDIR "$LOCALAPPDATA\Programs\QmTrainInfo"
    ${ElseIf} ${RunningX64}
      StrCpy $INSTDIR "$PROGRAMFILES64\QmTrainInfo"
    ${Else}
      StrCpy $INSTDIR "$PROGRAMFILES\QmTrainInfo"
    ${EndIf}
  ${EndIf}
FunctionEnd

Function ScopePage
  ${If} $all_users == 1
    Abort  ; asked for already
  ${EndIf}
  !insertmacro MUI_HEADER_TEXT "$(T_SCOPE)" "$(T_SCOPE_MORE)"
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateRadioButton} 0 20u 100% 12u "$(T_SCOPE_USER)"
  Pop $user_button
  ${NSD_CreateRadioButton} 0 40u 100% 12u "$(T_SCOPE_ALL)"
  Pop $all_button
  ${NSD_Check} $user_button
  nsDialogs::Show
FunctionEnd

Function ScopePageLeave
  ${NSD_GetState} $all_button $0
  ${If} $0 == ${BST_CHECKED}
    ClearErrors
    ExecShell "runas" "$EXEPATH" "/AllUsers"
    ${If} ${Errors}
      Abort  ; refused: the question is still there
    ${EndIf}
    Quit
  ${EndIf}
FunctionEnd

Function StartHost
  ${If} ${RunningX64}
    Exec '"$INSTDIR\x64\qmtrain.exe"'
  ${Else}
    Exec '"$INSTDIR\x86\qmtrain.exe"'
  ${EndIf}
FunctionEnd

; From $R7 to $R8. What was there before and is in use goes on under a name that no other file has.
Function ReplaceFile
  Delete "$R8.old*"
  ${If} ${FileExists} "$R8"
    ClearErrors
    Delete "$R8"
    ${If} ${FileExists} "$R8"
      System::Call "kernel32::GetTickCount() i .r0"
      ClearErrors
      Rename "$R8" "$R8.old$0"
      ${If} ${Errors}
        RMDir /r "$INSTDIR\new~"
        !insertmacro Fail T_IN_USE
      ${EndIf}
      ${If} $all_users == 1
        Delete /REBOOTOK "$R8.old$0"
      ${EndIf}
    ${EndIf}
  ${EndIf}
  ${GetParent} "$R8" $0
  CreateDirectory "$0"
  ClearErrors
  Rename "$R7" "$R8"
  ${If} ${Errors}
    RMDir /r "$INSTDIR\new~"
    !insertmacro Fail T_FOLDER
  ${EndIf}
FunctionEnd

; The log of a component that all users share: they may write to it.
!macro SharedLog BITS
  ${IfNot} ${FileExists} "$INSTDIR\${BITS}\QmTrainInfo.Log"
    FileOpen $0 "$INSTDIR\${BITS}\QmTrainInfo.Log" w
    FileClose $0
  ${EndIf}
  nsExec::Exec 'icacls "$INSTDIR\${BITS}\QmTrainInfo.Log" /grant *S-1-5-32-545:(R,W)'
  Pop $0
!macroend

; What an attempt that cannot be finished has made goes again; a folder with anything else in it stays.
!macro Undo
  SetOutPath "$TEMP"
  RMDir /r "$INSTDIR\new~"
  RMDir "$INSTDIR"
!macroend

Section
  ${GetRoot} "$INSTDIR" $0
  ${DriveSpace} "$0\" "/D=F /S=K" $1
  ${If} $1 != ""
  ${AndIf} $1 < ${NEEDED_KB}
    !insertmacro Fail T_SPACE
  ${EndIf}

  ClearErrors
  RMDir /r "$INSTDIR\new~"
  ClearErrors
  CreateDirectory "$INSTDIR\new~"
  ${If} ${Errors}
    !insertmacro Undo
    !insertmacro Fail T_FOLDER
  ${EndIf}
  SetOverwrite try
  ClearErrors
  SetOutPath "$INSTDIR\new~"
  File /r "${PAYLOAD}\*"
  WriteUninstaller "$INSTDIR\new~\uninstall.exe"
  ${If} ${Errors}
    !insertmacro Undo
    !insertmacro Fail T_FOLDER
  ${EndIf}

  ${If} ${RunningX64}
    !insertmacro ProgramFiles Replace x64
  ${EndIf}
  !insertmacro ProgramFiles Replace x86
  !insertmacro CommonFiles Replace
  !insertmacro Replace "" "uninstall.exe"
  SetOutPath "$INSTDIR"
  RMDir /r "$INSTDIR\new~"

  ${If} ${RunningX64}
    !insertmacro Register x64
    StrCpy $R9 "$INSTDIR\x64"
  ${Else}
    StrCpy $R9 "$INSTDIR\x86"
  ${EndIf}
  !insertmacro Register x86
  ${If} $all_users == 1
    ${If} ${RunningX64}
      !insertmacro SharedLog x64
    ${EndIf}
    !insertmacro SharedLog x86
  ${EndIf}

  CreateDirectory "$SMPROGRAMS\QmTrainInfo"
  CreateShortcut "$SMPROGRAMS\QmTrainInfo\$(T_HOST).lnk" "$R9\qmtrain.exe"
  CreateShortcut "$SMPROGRAMS\QmTrainInfo\$(T_README).lnk" "$INSTDIR\readme.txt"
  CreateShortcut "$SMPROGRAMS\QmTrainInfo\$(T_SAMPLES).lnk" "$INSTDIR\samples"
  CreateShortcut "$SMPROGRAMS\QmTrainInfo\$(T_UNINSTALL).lnk" "$INSTDIR\uninstall.exe"

  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegStr SHCTX "${KEY}" "DisplayName" "QmTrainInfo ${VERSION}"
  WriteRegStr SHCTX "${KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${KEY}" "DisplayIcon" "$R9\qmtrain.exe"
  WriteRegStr SHCTX "${KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr SHCTX "${KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD SHCTX "${KEY}" "EstimatedSize" $0
  WriteRegDWORD SHCTX "${KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${KEY}" "NoRepair" 1
SectionEnd

; The installation knows for whom it was made: its entry is in one of the two branches.
Function un.onInit
  ${If} ${RunningX64}
    SetRegView 64
  ${EndIf}
  StrCpy $all_users 0
  SetShellVarContext current
  ReadRegStr $0 HKLM "${KEY}" "InstallLocation"
  ${If} $0 == $INSTDIR
    StrCpy $all_users 1
    SetShellVarContext all
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != "Admin"
      ${IfNot} ${Silent}
        ExecShell "runas" "$INSTDIR\uninstall.exe"
      ${EndIf}
      SetErrorLevel 2
      Quit
    ${EndIf}
  ${EndIf}
FunctionEnd

!macro Unregister BITS
  ${If} $all_users == 1
    !insertmacro Regsvr32 ${BITS} "/u /i:machine"
  ${Else}
    !insertmacro Regsvr32 ${BITS} "/u /i:user"
  ${EndIf}
!macroend

Section un.Everything
  ${If} ${RunningX64}
    !insertmacro Unregister x64
  ${EndIf}
  !insertmacro Unregister x86
  !insertmacro ProgramFiles Remove x64
  !insertmacro ProgramFiles Remove x86
  !insertmacro Remove "x64\" "QmTrainInfo.Log"
  !insertmacro Remove "x86\" "QmTrainInfo.Log"
  !insertmacro CommonFiles Remove
  !insertmacro Remove "" "uninstall.exe"
  RMDir "$INSTDIR\samples"
  RMDir "$INSTDIR\x64"
  RMDir "$INSTDIR\x86"
  RMDir "$INSTDIR"
  ${If} $all_users == 0
    RMDir "$LOCALAPPDATA\Programs"  ; stays when it has anything in it
  ${EndIf}
  Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"
  RMDir "$SMPROGRAMS\QmTrainInfo"
  DeleteRegKey SHCTX "${KEY}"
SectionEnd
