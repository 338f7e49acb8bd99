@echo off
rem Registers the component: for the machine when started by an administrator, else for the present user.
setlocal
set scope=machine
net session >nul 2>&1
if errorlevel 1 set scope=user
set failed=
if exist "%SystemRoot%\SysWOW64\regsvr32.exe" (
    "%SystemRoot%\System32\regsvr32.exe" /s /n /i:%scope% "%~dp0x64\QmTrainInfo.dll" || set failed=x64
    "%SystemRoot%\SysWOW64\regsvr32.exe" /s /n /i:%scope% "%~dp0x86\QmTrainInfo.dll" || set failed=x86
) else (
    "%SystemRoot%\System32\regsvr32.exe" /s /n /i:%scope% "%~dp0x86\QmTrainInfo.dll" || set failed=x86
)
if defined failed (
    echo 注册失败：%failed%\QmTrainInfo.dll
    pause
    exit /b 1
)
if %scope%==machine (echo 注册成功，本机所有用户都可以使用。) else (echo 注册成功，当前用户可以使用。)
pause
