; QmTrainInfo-setup.exe: the component for both word sizes, the practice host and jetsql, for one user or for all.
;
; makensis -DVERSION=1.1.0 -DPAYLOAD=folder -DOUTPUT=QmTrainInfo-setup.exe installer.nsi
;
; On the command line: /S silent, /AllUsers for all users, /D=folder last and without quotes. Exit codes: 0 done, 1 left by
; the user, 2 not installed and the system as before.
; New files are first written to a folder beside the old ones; only when all of them are there do they take their places,
; and the old ones wait in another folder until all is done: whatever fails, they come back. A file in use can be moved, so
; its program goes on, and what is started next has the new one.
Unicode true
!include MUI2.nsh
!include LogicLib.nsh
!include WinVer.nsh
!include x64.nsh
!include FileFunc.nsh
!include nsDialogs.nsh

!define KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\QmTrainInfo"
!define NEEDED_MB 80

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
!define MUI_FINISHPAGE_NOREBOOTSUPPORT  ; what waits for one is only old files
!insertmacro MUI_PAGE_WELCOME
Page custom ScopePage ScopePageLeave
!define MUI_PAGE_CUSTOMFUNCTION_LEAVE DirectoryPageLeave
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
!insertmacro Text T_REGISTER "组件不能注册，没有安装任何内容：$\r$\n$R8" "The component cannot be registered; nothing has been installed:$\r$\n$R8"
!insertmacro Text T_LOG "其他用户不能写记录文件，他们出错的原因不会被记录：$\r$\n$R8" "Other users cannot write the log; the reasons of their errors will not be kept:$\r$\n$R8"
!insertmacro Text T_STAYS "有程序正在使用这个文件，没有卸载任何内容：$\r$\n$R8$\r$\n请关闭使用它的程序，再试一次。" "A program uses this file; nothing has been removed:$\r$\n$R8$\r$\nPlease close it and try again."

Var all_users
Var given  ; the folder that the command line asks for, as it says so
Var older  ; where the installation lies whose place this one takes, if there is one
Var kept   ; where the old files wait
Var user_button
Var all_button

!macro Fail MESSAGE
  MessageBox MB_OK|MB_ICONSTOP "$(${MESSAGE})" /SD IDOK
  SetErrorLevel 2
  Quit
!macroend

; Everything of a word size is registered and removed with the system's program of that size. $0: 0 when it is done.
!macro Regsvr32 BITS ARGUMENTS
  StrCpy $0 1
  ${If} "${BITS}" == "x64"
    ExecWait '"$WINDIR\Sysnative\regsvr32.exe" /s /n ${ARGUMENTS} "$INSTDIR\x64\QmTrainInfo.dll"' $0
  ${Else}
    ExecWait '"$SYSDIR\regsvr32.exe" /s /n ${ARGUMENTS} "$INSTDIR\x86\QmTrainInfo.dll"' $0
  ${EndIf}
!macroend
!macro Register BITS ACTION
  ${If} $all_users == 1
    !insertmacro Regsvr32 ${BITS} "${ACTION} /i:machine"
  ${Else}
    !insertmacro Regsvr32 ${BITS} "${ACTION} /i:user"
  ${EndIf}
!macroend
!macro RegisterAll ACTION
  ${If} ${RunningX64}
    !insertmacro Register x64 "${ACTION}"
  ${EndIf}
  !insertmacro Register x86 "${ACTION}"
!macroend

; Replace, PutBack, Remove and Stays are each done with every file by the lists below.
!macro Replace FOLDER FILE
  StrCpy $R7 "${FOLDER}${FILE}"
  Call ReplaceFile
!macroend
!macro PutBack FOLDER FILE
  StrCpy $R7 "${FOLDER}${FILE}"
  Call PutFileBack
!macroend
!macro Remove FOLDER FILE
  Delete /REBOOTOK "$INSTDIR\${FOLDER}${FILE}"
!macroend
!macro Stays FOLDER FILE
  !if "${FILE}" != "uninstall.exe"  ; which may be the one that asks
  ${If} ${FileExists} "$INSTDIR\${FOLDER}${FILE}"
    ClearErrors
    FileOpen $0 "$INSTDIR\${FOLDER}${FILE}" a
    ${If} ${Errors}
      StrCpy $R8 "$INSTDIR\${FOLDER}${FILE}"
    ${Else}
      FileClose $0
    ${EndIf}
  ${EndIf}
  !endif
!macroend
!macro ProgramFiles ACTION BITS
  !insertmacro ${ACTION} "${BITS}\" "QmTrainInfo.dll"
  !insertmacro ${ACTION} "${BITS}\" "QmTrainInfo.Server.manifest"
  !insertmacro ${ACTION} "${BITS}\" "qmtrain.exe"
  !insertmacro ${ACTION} "${BITS}\" "jetsql.exe"
!macroend
!macro AllFiles ACTION
  ${If} ${RunningX64}
    !insertmacro ProgramFiles ${ACTION} x64
  ${EndIf}
  !insertmacro ProgramFiles ${ACTION} x86
  !insertmacro CommonFiles ${ACTION}
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
  !insertmacro ${ACTION} "" "uninstall.exe"
!macroend
; Old files that were in use when they were replaced go when they are no more.
!macro DropOld
  FindFirst $0 $1 "$INSTDIR\QmTrainInfo.old~*"
  ${DoWhile} $1 != ""
    RMDir /r "$INSTDIR\$1"
    FindNext $0 $1
  ${Loop}
  FindClose $0
!macroend
!macro RemoveFolders
  RMDir "$INSTDIR\samples"
  RMDir "$INSTDIR\x64"
  RMDir "$INSTDIR\x86"
  RMDir "$INSTDIR"
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
  System::Call "kernel32::GetCommandLine() t .r0"
  ClearErrors
  ${GetOptions} $0 "/D=" $1
  ${IfNot} ${Errors}
    StrCpy $given " /D=$1"
    ${If} $INSTDIR == ""
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
    ExecShell "runas" "$EXEPATH" "/AllUsers$given"
    ${If} ${Errors}
      Abort  ; refused: the question is still there
    ${EndIf}
    Quit
  ${EndIf}
FunctionEnd

; A folder of other things is not filled with ours.
Function DirectoryPageLeave
  ${GetFileName} "$INSTDIR" $0
  ${If} $0 != "QmTrainInfo"
  ${AndIf} ${FileExists} "$INSTDIR\*.*"
  ${AndIfNot} ${FileExists} "$INSTDIR\uninstall.exe"
    StrCpy $INSTDIR "$INSTDIR\QmTrainInfo"
  ${EndIf}
FunctionEnd

; By the desktop, with the rights and the data of the user who is there, not of the administrator who has installed.
Function StartHost
  ${If} ${RunningX64}
    Exec '"$WINDIR\explorer.exe" "$INSTDIR\x64\qmtrain.exe"'
  ${Else}
    Exec '"$WINDIR\explorer.exe" "$INSTDIR\x86\qmtrain.exe"'
  ${EndIf}
FunctionEnd

; $R7 takes its place, and what was there waits in $kept.
Function ReplaceFile
  StrCpy $R8 "$INSTDIR\$R7"
  ${If} ${FileExists} "$R8"
    ${GetParent} "$kept\$R7" $0
    CreateDirectory "$0"
    ClearErrors
    Rename "$R8" "$kept\$R7"
    ${If} ${Errors}
      Call PutAllBack
      !insertmacro Fail T_IN_USE
    ${EndIf}
  ${EndIf}
  ${GetParent} "$R8" $0
  CreateDirectory "$0"
  ClearErrors
  Rename "$INSTDIR\QmTrainInfo.new~\$R7" "$R8"
  ${If} ${Errors}
    Call PutAllBack
    !insertmacro Fail T_FOLDER
  ${EndIf}
FunctionEnd

Function PutFileBack
  ${IfNot} ${FileExists} "$INSTDIR\QmTrainInfo.new~\$R7"
    Rename "$INSTDIR\$R7" "$INSTDIR\QmTrainInfo.new~\$R7"
  ${EndIf}
  ${If} ${FileExists} "$kept\$R7"
    Rename "$kept\$R7" "$INSTDIR\$R7"
  ${EndIf}
FunctionEnd

; As before: what an attempt that cannot be finished has made goes again; a folder with anything else in it stays.
Function PutAllBack
  SetOutPath "$TEMP"
  ${If} $kept != ""
    !insertmacro AllFiles PutBack
    RMDir "$kept\samples"
    RMDir "$kept\x64"
    RMDir "$kept\x86"
    RMDir "$kept"
    StrCpy $kept ""
  ${EndIf}
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  !insertmacro RemoveFolders
FunctionEnd

; A disk that has filled up while files were written is noticed by the installer itself.
Function .onInstFailed
  Call PutAllBack
  SetErrorLevel 2
FunctionEnd

; After $R8 could not be registered.
Function RegisterOlder
  !insertmacro RegisterAll "/u"
  Call PutAllBack
  ${If} $older != ""
    Push $INSTDIR
    StrCpy $INSTDIR $older
    !insertmacro RegisterAll ""
    Pop $INSTDIR
  ${EndIf}
  !insertmacro Fail T_REGISTER
FunctionEnd

; The log of a component that all users share: they may write to it.
!macro SharedLog BITS
  ${IfNot} ${FileExists} "$INSTDIR\${BITS}\QmTrainInfo.Log"
    FileOpen $0 "$INSTDIR\${BITS}\QmTrainInfo.Log" w
    FileClose $0
  ${EndIf}
  StrCpy $R8 "$INSTDIR\${BITS}\QmTrainInfo.Log"
  nsExec::Exec '"$SYSDIR\icacls.exe" "$R8" /grant *S-1-5-32-545:(R,W)'
  Pop $0
  ${If} $0 != 0
    MessageBox MB_OK|MB_ICONEXCLAMATION "$(T_LOG)" /SD IDOK
  ${EndIf}
!macroend

; An installation for all takes the place of one's own in the same folder.
Function ForgetOwn
  ReadRegStr $0 HKCU "${KEY}" "InstallLocation"
  ${If} $0 == $INSTDIR
    StrCpy $all_users 0
    !insertmacro RegisterAll "/u"
    StrCpy $all_users 1
    SetShellVarContext current
    Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"
    RMDir "$SMPROGRAMS\QmTrainInfo"
    SetShellVarContext all
    DeleteRegKey HKCU "${KEY}"
  ${EndIf}
FunctionEnd

Section
  ${GetRoot} "$INSTDIR" $0
  ${DriveSpace} "$0\" "/D=F /S=M" $1  ; in KB it would not fit the comparison
  ${If} $1 != ""
  ${AndIf} $1 < ${NEEDED_MB}
    !insertmacro Fail T_SPACE
  ${EndIf}

  !insertmacro DropOld
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  ClearErrors
  CreateDirectory "$INSTDIR\QmTrainInfo.new~"
  ${If} ${Errors}
    Call PutAllBack
    !insertmacro Fail T_FOLDER
  ${EndIf}

  System::Call "kernel32::GetTickCount() i .r1"
  CreateDirectory "$INSTDIR\QmTrainInfo.new~\$1"
  ReadRegStr $older SHCTX "${KEY}" "InstallLocation"
  ${IfNot} ${FileExists} "$older\uninstall.exe"
    StrCpy $older ""
  ${ElseIf} ${FileExists} "$older\QmTrainInfo.new~\$1"
    StrCpy $older $INSTDIR  ; the same folder, by whatever name
  ${ElseIf} $older != $INSTDIR
    Push $INSTDIR
    StrCpy $INSTDIR $older
    StrCpy $R8 ""
    !insertmacro AllFiles Stays
    Pop $INSTDIR
    ${If} $R8 != ""
      Call PutAllBack
      !insertmacro Fail T_IN_USE
    ${EndIf}
  ${EndIf}
  SetOverwrite try
  ClearErrors
  SetOutPath "$INSTDIR\QmTrainInfo.new~"
  File /r "${PAYLOAD}\*"
  WriteUninstaller "$INSTDIR\QmTrainInfo.new~\uninstall.exe"
  ${If} ${Errors}
    Call PutAllBack
    !insertmacro Fail T_FOLDER
  ${EndIf}

  System::Call "kernel32::GetTickCount() i .r0"
  StrCpy $kept "$INSTDIR\QmTrainInfo.old~$0"
  !insertmacro AllFiles Replace
  SetOutPath "$INSTDIR"

  ${If} ${RunningX64}
    StrCpy $R9 "$INSTDIR\x64"
    !insertmacro Register x64 ""
    ${If} $0 <> 0
      StrCpy $R8 "$INSTDIR\x64\QmTrainInfo.dll"
      Call RegisterOlder
    ${EndIf}
  ${Else}
    StrCpy $R9 "$INSTDIR\x86"
  ${EndIf}
  !insertmacro Register x86 ""
  ${If} $0 <> 0
    StrCpy $R8 "$INSTDIR\x86\QmTrainInfo.dll"
    Call RegisterOlder
  ${EndIf}
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  RMDir /r /REBOOTOK "$kept"

  ; It has moved: the classes are registered where they are now, and what has been logged comes along.
  ${If} $older != ""
  ${AndIf} $older != $INSTDIR
    Rename "$older\x64\QmTrainInfo.Log" "$INSTDIR\x64\QmTrainInfo.Log"
    Rename "$older\x86\QmTrainInfo.Log" "$INSTDIR\x86\QmTrainInfo.Log"
    Push $INSTDIR
    StrCpy $INSTDIR $older
    !insertmacro AllFiles Remove
    !insertmacro DropOld
    !insertmacro RemoveFolders
    Pop $INSTDIR
  ${EndIf}
  ${If} $all_users == 1
    ${If} ${RunningX64}
      !insertmacro SharedLog x64
    ${EndIf}
    !insertmacro SharedLog x86
    Call ForgetOwn
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
  GetFullPathName /SHORT $0 $0
  GetFullPathName /SHORT $1 $INSTDIR
  ${If} $0 == $1
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

Section un.Everything
  ; All or nothing: without its entry in the system's list, what is still in use could not be removed later.
  ${Do}
    StrCpy $R8 ""
    !insertmacro DropOld
    ${If} ${FileExists} "$INSTDIR\QmTrainInfo.old~*"
      StrCpy $R8 "$INSTDIR"
    ${EndIf}
    !insertmacro AllFiles Stays
    ${If} $R8 == ""
      ${Break}
    ${EndIf}
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(T_STAYS)" /SD IDCANCEL IDRETRY +3
    SetErrorLevel 2
    Quit
  ${Loop}

  !insertmacro RegisterAll "/u"
  !insertmacro AllFiles Remove
  Delete "$INSTDIR\x64\QmTrainInfo.Log"
  Delete "$INSTDIR\x86\QmTrainInfo.Log"
  !insertmacro RemoveFolders
  ${If} $all_users == 0
    RMDir "$LOCALAPPDATA\Programs"  ; stays when it has anything in it
  ${EndIf}
  Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"
  RMDir "$SMPROGRAMS\QmTrainInfo"
  DeleteRegKey SHCTX "${KEY}"
SectionEnd
