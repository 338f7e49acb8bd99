; QmTrainInfo-setup.exe: the component for both word sizes, the practice host and jetsql, for one user or for all.
;
; makensis -DVERSION=1.1.0 -DPAYLOAD=folder -DOUTPUT=QmTrainInfo-setup.exe installer.nsi
;
; On the command line: /S silent, /AllUsers for all users, /D=folder last and without quotes. Exit codes: 0 done, 1 left by
; the user, 2 not installed and the system as before.
; New files are first written to a folder beside the old ones; only when all of them are there do they take their places,
; and the old ones wait in another folder until all is done: whatever fails, they come back. A file in use can be moved, so
; its program goes on, and what is started next has the new one. Where the old ones wait is written down before the first
; of them moves: when the installer is ended in the middle, the next one or the uninstaller puts them back.
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
!define MUI_PAGE_CUSTOMFUNCTION_PRE WelcomePage
!insertmacro MUI_PAGE_WELCOME
Page custom ScopePage ScopePageLeave
!define MUI_PAGE_CUSTOMFUNCTION_SHOW DirectoryPageShow
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
!insertmacro Text T_IN_USE "有程序正在使用这个文件，没有安装或卸载任何内容：$\r$\n$R8$\r$\n请关闭使用它的程序，再试一次。" "A program uses this file; nothing has been installed or removed:$\r$\n$R8$\r$\nPlease close it and try again."
!insertmacro Text T_LOCKED "这个文件不能更改，没有安装或卸载任何内容：$\r$\n$R8$\r$\n$R9" "This file cannot be changed; nothing has been installed or removed:$\r$\n$R8$\r$\n$R9"
!insertmacro Text T_FOREIGN "这个文件夹中有别的文件，没有安装任何内容；请另选一个文件夹：$\r$\n$INSTDIR" "There are other files in this folder; nothing has been installed. Please choose another one:$\r$\n$INSTDIR"
!insertmacro Text T_TWICE "QmTrainInfo 的安装或卸载程序正在运行，请等它结束。" "An installation or removal of QmTrainInfo is running; please wait for its end."
!insertmacro Text T_UNKNOWN "系统中没有这个文件夹的安装记录，没有卸载任何内容；请再安装一次，然后卸载：$\r$\n$INSTDIR" "The system has no entry of an installation in this folder; nothing has been removed. Please install it again, then remove it:$\r$\n$INSTDIR"
!insertmacro Text T_REGISTER "组件不能注册，没有安装任何内容：$\r$\n$R8" "The component cannot be registered; nothing has been installed:$\r$\n$R8"
!insertmacro Text T_LOG "其他用户不能写记录文件，他们出错的原因不会被记录：$\r$\n$R8" "Other users cannot write the log; the reasons of their errors will not be kept:$\r$\n$R8"

Var all_users  ; 1: the branch of the registry that is worked on is that of all users
Var all_here   ; 1: the folder is that of the installation for all users
Var own_here   ; 1: it is that of the user's own
Var mutex
Var given  ; the folder that the command line asks for, as it says so
Var older  ; where the installation lies whose place this one takes, if there is one
Var kept   ; where the old files wait
Var there  ; the folder, or the one above it, that was there before
Var waiting  ; the name of the folder in which files wait that go with the next start of the system
Var user_button
Var all_button

!macro FailWith TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  SetErrorLevel 2
  Quit
!macroend
!macro Fail MESSAGE
  !insertmacro FailWith "$(${MESSAGE})"
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
  !ifndef __UNINSTALL__
    Call PutFileBack
  !else if "${FILE}" != "uninstall.exe"
    Call un.PutFileBack
  !else
    Delete "$kept\uninstall.exe"  ; the one that is there may be the one that runs, and goes with the rest
  !endif
!macroend
; What cannot be deleted gets another name, under which the next start of the system deletes it: by then the old name may
; be that of a new file. An uninstaller that runs where it lies can have no other name; it stays.
!macro Remove FOLDER FILE
  Delete "$INSTDIR\${FOLDER}${FILE}"
  ${If} ${FileExists} "$INSTDIR\${FOLDER}${FILE}"
    CreateDirectory "$INSTDIR\$waiting\${FOLDER}"
    Rename "$INSTDIR\${FOLDER}${FILE}" "$INSTDIR\$waiting\${FOLDER}${FILE}"
  ${EndIf}
!macroend
; $0 becomes 0 when it cannot be done, and $1 the system's error.
!macro Move FROM TO
  System::Call 'kernel32::MoveFile(t "${FROM}", t "${TO}") i .r0 ?e'
  Pop $1
!macroend
; $R8 becomes the file that cannot be removed, $R9 the system's error.
!macro Stays FOLDER FILE
  !if "${FILE}" != "uninstall.exe"  ; which may be the one that asks
  ${If} ${FileExists} "$INSTDIR\${FOLDER}${FILE}"
    SetFileAttributes "$INSTDIR\${FOLDER}${FILE}" NORMAL
    System::Call 'kernel32::CreateFile(t "$INSTDIR\${FOLDER}${FILE}", i 0x40000000, i 7, p 0, i 3, i 0, p 0) p .r0 ?e'
    Pop $1
    ${If} $0 == -1
      StrCpy $R8 "$INSTDIR\${FOLDER}${FILE}"
      StrCpy $R9 $1
    ${Else}
      System::Call "kernel32::CloseHandle(p r0)"
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
; All files in the folder, none of which Stays.
!macro RemoveAll
  Call ${UN}NewName
  StrCpy $waiting "QmTrainInfo.old~$0"
  !insertmacro AllFiles Remove
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  !insertmacro DropOld
  ${If} ${FileExists} "$INSTDIR\$waiting\*.*"
    RMDir /r /REBOOTOK "$INSTDIR\$waiting"
    RMDir /REBOOTOK "$INSTDIR"
  ${EndIf}
  !insertmacro RemoveFolders
!macroend
; OUT becomes 1 when that branch of the registry says that its installation is in $INSTDIR, by whatever name, else 0.
!macro IsHere BRANCH OUT
  ReadRegStr $R0 ${BRANCH} "${KEY}" "InstallLocation"
  Call ${UN}IsThisFolder
  StrCpy ${OUT} $R0
!macroend

; What the installer and the uninstaller both do; UN is the beginning of their functions' names.
!macro Common
; Of two that change the same files one would take away what the other has made. Another user's cannot even be opened.
Function ${UN}RequireAlone
  System::Call 'kernel32::CreateMutex(p 0, i 0, t "Global\QmTrainInfo-setup") p .r1 ?e'
  Pop $0
  StrCpy $mutex $1
  ${If} $0 == 183
  ${OrIf} $mutex == 0
    !insertmacro Fail T_TWICE
  ${EndIf}
FunctionEnd
Function ${UN}LetOthers
  System::Call "kernel32::CloseHandle(p $mutex)"
FunctionEnd

; $R0, a path, becomes what tells its folder from all others; "" when there is none.
Function ${UN}IdentityOf
  System::Call 'kernel32::CreateFile(t R0, i 0, i 7, p 0, i 3, i 0x02000000, p 0) p .r0'
  ${If} $0 == -1
    StrCpy $R0 ""
  ${Else}
    System::Call "*(i,i,i,i,i,i,i,i,i,i,i,i,i) p .r1"
    System::Call "kernel32::GetFileInformationByHandle(p r0, p r1) i .r2"
    ${If} $2 <> 0
      System::Call "*$1(i,i,i,i,i,i,i,i .r3,i,i,i,i .r4,i .r5)"
      ${If} "$4:$5" != "0:0"  ; as on file systems that number nothing
        StrCpy $R0 "$3:$4:$5"
      ${EndIf}
    ${EndIf}
    System::Free $1
    System::Call "kernel32::CloseHandle(p r0)"
  ${EndIf}
FunctionEnd
; $R0, a path, becomes 1 when it leads to $INSTDIR, else 0.
Function ${UN}IsThisFolder
  ${If} $R0 != ""
    Call ${UN}IdentityOf
  ${EndIf}
  Push $R0
  StrCpy $R0 $INSTDIR
  Call ${UN}IdentityOf
  Pop $R1
  ${If} $R1 != ""
  ${AndIf} $R0 == $R1
    StrCpy $R0 1
  ${Else}
    StrCpy $R0 0
  ${EndIf}
FunctionEnd

; $0 becomes what the user is told about $R8, which cannot be changed for $R9, an error of the system.
Function ${UN}DescribeError
  ${If} $R9 = 32
  ${OrIf} $R9 = 33
    StrCpy $0 "$(T_IN_USE)"
  ${Else}
    ; The system's own words, in one line.
    System::Call "kernel32::FormatMessage(i 0x12FF, p 0, i R9, i 0, t .R9, i ${NSIS_MAX_STRLEN}, p 0)"
    StrCpy $0 "$(T_LOCKED)"
  ${EndIf}
FunctionEnd

; $0 becomes a number with which no folder of old files is called yet.
Function ${UN}NewName
  System::Call "kernel32::GetTickCount() i .r0"
  IntOp $0 $0 & 0x7FFFFFFF
  ${While} ${FileExists} "$INSTDIR\QmTrainInfo.old~$0"
    IntOp $0 $0 + 1
  ${EndWhile}
FunctionEnd

; $R9 becomes the system's error when it cannot be done.
Function ${UN}PutFileBack
  StrCpy $0 1
  ${IfNot} ${FileExists} "$INSTDIR\QmTrainInfo.new~\$R7"
  ${AndIf} ${FileExists} "$INSTDIR\$R7"
    !insertmacro Move "$INSTDIR\$R7" "$INSTDIR\QmTrainInfo.new~\$R7"
  ${EndIf}
  ${If} $0 <> 0
  ${AndIf} ${FileExists} "$kept\$R7"
    !insertmacro Move "$kept\$R7" "$INSTDIR\$R7"
  ${EndIf}
  ${If} $0 = 0
    StrCpy $R9 $1
  ${EndIf}
FunctionEnd

; As before: what an attempt that cannot be finished has made goes again; a folder with anything else in it stays. May be
; broken off and done again at any step.
Function ${UN}PutAllBack
  SetOutPath "$TEMP"
  ${If} $kept != ""
    !insertmacro AllFiles PutBack
    RMDir "$kept\samples"
    RMDir "$kept\x64"
    RMDir "$kept\x86"
    RMDir "$kept"
    ${If} ${FileExists} "$kept\*.*"
      Return  ; a file that cannot be put back waits for the next attempt
    ${EndIf}
    StrCpy $kept ""
  ${EndIf}
  Delete "$INSTDIR\QmTrainInfo.new~\kept.txt"
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  !insertmacro RemoveFolders
  ${If} $there != ""
    StrCpy $0 $INSTDIR
    ${While} $0 != $there
      RMDir "$0"
      ${GetParent} "$0" $0
    ${EndWhile}
  ${EndIf}
FunctionEnd

; Puts back what an attempt has left in the middle. $R8 becomes "", or the folder of files that cannot be put back, and $R9
; the system's error.
Function ${UN}Recover
  StrCpy $R8 ""
  StrCpy $R9 32  ; a folder that is empty and yet cannot be deleted is in use
  ClearErrors
  FileOpen $0 "$INSTDIR\QmTrainInfo.new~\kept.txt" r
  ${If} ${Errors}
    Return
  ${EndIf}
  FileRead $0 $1
  FileClose $0
  ; Only a name that we give: any other might lead out of the folder.
  StrCpy $2 $1 "" 16
  IntOp $2 $2 & 0x7FFFFFFF
  ${If} $1 == "QmTrainInfo.old~$2"
    StrCpy $kept "$INSTDIR\$1"
    Call ${UN}PutAllBack
    StrCpy $R8 $kept
  ${EndIf}
FunctionEnd
!macroend

!define UN ""
!insertmacro Common
!undef UN
!define UN "un."
!insertmacro Common
!undef UN
!define UN ""

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
  Call RequireAlone
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
  ; One's own beside the one for all would be what one's programs find.
  ReadRegStr $0 HKLM "${KEY}" "InstallLocation"
  ${If} $0 == ""
    ${NSD_Check} $user_button
  ${Else}
    ${NSD_Check} $all_button
  ${EndIf}
  nsDialogs::Show
FunctionEnd

; Who installs for all has seen it before the start with the administrator's rights.
Function WelcomePage
  ${If} $all_users = 1
    Abort
  ${EndIf}
FunctionEnd

; Then it is the first one.
Function DirectoryPageShow
  ${If} $all_users = 1
    GetDlgItem $0 $HWNDPARENT 3
    ShowWindow $0 ${SW_HIDE}
  ${EndIf}
FunctionEnd

Function ScopePageLeave
  ${NSD_GetState} $all_button $0
  ${If} $0 == ${BST_CHECKED}
    Call LetOthers
    ClearErrors
    ExecShell "runas" "$EXEPATH" "/AllUsers$given"
    ${If} ${Errors}
      Call RequireAlone
      Abort  ; refused: the question is still there
    ${EndIf}
    Quit
  ${EndIf}
FunctionEnd

; $0 becomes 1 when the folder's uninstall.exe says that it is of this product, else 0.
Function HasOurUninstaller
  StrCpy $5 ""
  System::Call 'version::GetFileVersionInfoSize(t "$INSTDIR\uninstall.exe", p 0) i .r0'
  ${If} $0 > 0
    System::Alloc $0
    Pop $1
    System::Call 'version::GetFileVersionInfo(t "$INSTDIR\uninstall.exe", i 0, i r0, p r1) i .r2'
    ${If} $2 <> 0
      System::Call 'version::VerQueryValue(p r1, t "\StringFileInfo\080404b0\ProductName", *p .r2, *i .r3) i .r4'
      ${If} $4 <> 0
        System::Call "*$2(&t32 .r5)"
      ${EndIf}
    ${EndIf}
    System::Free $1
  ${EndIf}
  StrCpy $0 0
  ${If} $5 == "QmTrainInfo"
    StrCpy $0 1
  ${EndIf}
FunctionEnd

; $0 becomes 1 when the folder is missing, has nothing but what attempts of ours have left, or is that of an installation
; of ours; else 0.
Function MayFillFolder
  StrCpy $R2 1
  FindFirst $1 $2 "$INSTDIR\*.*"
  ${DoWhile} $2 != ""
    StrCpy $3 $2 16
    ${If} $2 != "."
    ${AndIf} $2 != ".."
    ${AndIf} $2 != "QmTrainInfo.new~"
    ${AndIf} $3 != "QmTrainInfo.old~"
      StrCpy $R2 0
    ${EndIf}
    FindNext $1 $2
  ${Loop}
  FindClose $1
  ${If} $R2 == 0
    Call HasOurUninstaller
    StrCpy $R2 $0
  ${EndIf}
  ${If} $R2 == 0
    !insertmacro IsHere HKCU $R2
  ${EndIf}
  ${If} $R2 == 0
    !insertmacro IsHere HKLM $R2
  ${EndIf}
  StrCpy $0 $R2
FunctionEnd

Function DirectoryPageLeave
  Call MayFillFolder
  ${If} $0 == 0
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

; All as before, after $R8 could not be changed for $R9, an error of the system.
Function GiveUp
  Push $R9
  Call PutAllBack
  Pop $R9
  Call DescribeError
  !insertmacro FailWith "$0"
FunctionEnd

; $R7 takes its place, and what was there waits in $kept.
Function ReplaceFile
  StrCpy $R8 "$INSTDIR\$R7"
  StrCpy $0 1
  ${If} ${FileExists} "$R8"
    ${GetParent} "$kept\$R7" $1
    CreateDirectory "$1"
    !insertmacro Move "$R8" "$kept\$R7"
  ${EndIf}
  ${If} $0 <> 0
    ${GetParent} "$R8" $1
    CreateDirectory "$1"
    !insertmacro Move "$INSTDIR\QmTrainInfo.new~\$R7" "$R8"
  ${EndIf}
  ${If} $0 = 0
    StrCpy $R9 $1
    Call GiveUp
  ${EndIf}
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

; What has been logged in $INSTDIR comes along to the new folder.
!macro MoveLog BITS
  ${If} ${FileExists} "$INSTDIR\${BITS}\QmTrainInfo.Log"
    ${If} ${FileExists} "$R0\${BITS}\QmTrainInfo.Log"
      FileOpen $0 "$INSTDIR\${BITS}\QmTrainInfo.Log" r
      FileOpen $1 "$R0\${BITS}\QmTrainInfo.Log" a
      FileSeek $1 0 END $6
      System::Alloc 65536
      Pop $2
      ${Do}
        System::Call "kernel32::ReadFile(p r0, p r2, i 65536, *i .r3, p 0) i .r5"
        ${If} $5 = 0
        ${OrIf} $3 = 0
          ${Break}
        ${EndIf}
        System::Call "kernel32::WriteFile(p r1, p r2, i r3, *i .r4, p 0) i .r5"
        ${If} $3 <> $4
          StrCpy $5 0
        ${EndIf}
      ${LoopUntil} $5 = 0
      System::Free $2
      ${If} $5 = 0  ; it stays where it is, and its beginning does not fill the disk
        FileSeek $1 $6
        System::Call "kernel32::SetEndOfFile(p r1)"
      ${EndIf}
      FileClose $1
      FileClose $0
      ${If} $5 <> 0
        Delete "$INSTDIR\${BITS}\QmTrainInfo.Log"
      ${EndIf}
    ${Else}
      Rename "$INSTDIR\${BITS}\QmTrainInfo.Log" "$R0\${BITS}\QmTrainInfo.Log"
    ${EndIf}
  ${EndIf}
!macroend
; The installation in $older, whose place this one takes.
Function TakeAway
  StrCpy $R0 $INSTDIR
  StrCpy $INSTDIR $older
  !insertmacro MoveLog x64
  !insertmacro MoveLog x86
  !insertmacro RemoveAll
  StrCpy $INSTDIR $R0
FunctionEnd

; One's own installation, wherever it is, would be found before the one for all.
Function ForgetOwn
  ReadRegStr $older HKCU "${KEY}" "InstallLocation"
  ${If} $older == ""
    Return
  ${EndIf}
  StrCpy $all_users 0
  !insertmacro RegisterAll "/u"  ; by the libraries of this one: its own may be gone
  StrCpy $all_users 1
  StrCpy $R0 $older
  Call IsThisFolder
  ${If} $R0 == 0
  ${AndIf} ${FileExists} "$older\uninstall.exe"
    Call TakeAway
  ${EndIf}
  SetShellVarContext current
  Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"
  RMDir "$SMPROGRAMS\QmTrainInfo"
  SetShellVarContext all
  DeleteRegKey HKCU "${KEY}"
FunctionEnd

Section
  System::Call 'kernel32::GetFullPathName(t "$INSTDIR", i ${NSIS_MAX_STRLEN}, t .r0, p 0) i .r1'
  ${If} $1 <> 0
    StrCpy $INSTDIR $0
  ${EndIf}
  ${GetRoot} "$INSTDIR" $0
  ${DriveSpace} "$0\" "/D=F /S=M" $1  ; in KB it would not fit the comparison
  ${If} $1 != ""
  ${AndIf} $1 < ${NEEDED_MB}
    !insertmacro Fail T_SPACE
  ${EndIf}

  Call Recover
  ${If} $R8 != ""
    Call GiveUp
  ${EndIf}
  Call MayFillFolder
  ${If} $0 == 0
    !insertmacro Fail T_FOREIGN
  ${EndIf}
  !insertmacro DropOld
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  StrCpy $there $INSTDIR
  ${DoUntil} ${FileExists} "$there\*.*"
    ${GetParent} "$there" $there
    ${If} $there == ""
      ${Break}
    ${EndIf}
  ${Loop}
  ClearErrors
  CreateDirectory "$INSTDIR\QmTrainInfo.new~"
  ${If} ${Errors}
    Call PutAllBack
    !insertmacro Fail T_FOLDER
  ${EndIf}

  ReadRegStr $older SHCTX "${KEY}" "InstallLocation"
  StrCpy $R0 $older
  Call IsThisFolder
  ${If} $R0 == 1
    StrCpy $older $INSTDIR  ; the same folder, by whatever name
  ${ElseIf} $older != ""
  ${AndIf} ${FileExists} "$older\uninstall.exe"
    Push $INSTDIR
    StrCpy $INSTDIR $older
    StrCpy $R8 ""
    !insertmacro AllFiles Stays
    Pop $INSTDIR
    ${If} $R8 != ""
      Call GiveUp
    ${EndIf}
  ${Else}
    StrCpy $older ""
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

  Call NewName
  ClearErrors
  FileOpen $1 "$INSTDIR\QmTrainInfo.new~\kept.txt" w
  FileWrite $1 "QmTrainInfo.old~$0"
  FileClose $1
  ${If} ${Errors}
    Call PutAllBack
    !insertmacro Fail T_FOLDER
  ${EndIf}
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
  Delete "$INSTDIR\QmTrainInfo.new~\kept.txt"  ; from here on the new files are the ones that stay
  RMDir /r "$INSTDIR\QmTrainInfo.new~"
  RMDir /r /REBOOTOK "$kept"

  ; It has moved: the classes are registered where they are now.
  ${If} $older != ""
  ${AndIf} $older != $INSTDIR
    Call TakeAway
  ${EndIf}
  ${If} $all_users == 1
    ${If} ${RunningX64}
      !insertmacro SharedLog x64
    ${EndIf}
    !insertmacro SharedLog x86
    Call ForgetOwn
  ${EndIf}

  Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"  ; they may have been made in another language
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

!undef UN
!define UN "un."

; The installation knows for whom it was made: its entries are in the branches of the registry.
Function un.onInit
  ${If} ${RunningX64}
    SetRegView 64
  ${EndIf}
  Call un.RequireAlone
  !insertmacro IsHere HKLM $all_here
  !insertmacro IsHere HKCU $own_here
  ${If} $all_here == 1
    UserInfo::GetAccountType
    Pop $0
    ${If} $0 != "Admin"
      ${IfNot} ${Silent}
        Call un.LetOthers
        ExecShell "runas" "$INSTDIR\uninstall.exe"
      ${EndIf}
      SetErrorLevel 2
      Quit
    ${EndIf}
  ${ElseIf} $own_here == 0
    !insertmacro Fail T_UNKNOWN
  ${EndIf}
FunctionEnd

!macro ForgetBranch CONTEXT ALL
  SetShellVarContext ${CONTEXT}
  StrCpy $all_users ${ALL}
  !insertmacro RegisterAll "/u"
  Delete "$SMPROGRAMS\QmTrainInfo\*.lnk"
  RMDir "$SMPROGRAMS\QmTrainInfo"
!macroend

Section un.Everything
  ; All or nothing: without its entry in the system's list, what is still in use could not be removed later.
  ${Do}
    Call un.Recover
    ${If} $R8 == ""
      !insertmacro DropOld
      ${If} ${FileExists} "$INSTDIR\QmTrainInfo.old~*"
        StrCpy $R8 "$INSTDIR"
      ${EndIf}
      !insertmacro AllFiles Stays
    ${EndIf}
    ${If} $R8 == ""
      ${Break}
    ${EndIf}
    Call un.DescribeError
    MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$0" /SD IDCANCEL IDRETRY +3
    SetErrorLevel 2
    Quit
  ${Loop}

  ${If} $all_here == 1
    !insertmacro ForgetBranch all 1
  ${EndIf}
  ${If} $own_here == 1
    !insertmacro ForgetBranch current 0
  ${EndIf}
  Delete "$INSTDIR\x64\QmTrainInfo.Log"
  Delete "$INSTDIR\x86\QmTrainInfo.Log"
  !insertmacro RemoveAll
  ${If} $own_here == 1
    RMDir "$LOCALAPPDATA\Programs"  ; stays when it has anything in it
    DeleteRegKey HKCU "${KEY}"
  ${EndIf}
  ${If} $all_here == 1
    DeleteRegKey HKLM "${KEY}"
  ${EndIf}
SectionEnd
