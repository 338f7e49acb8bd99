@echo off
rem Takes out what register.cmd has put into the registry.
setlocal
set scopes=user
net session >nul 2>&1
if not errorlevel 1 set scopes=user machine
set failed=
for %%s in (%scopes%) do call :remove %%s
if defined failed (
    echo 注销失败：%failed%\QmTrainInfo.dll
    pause
    exit /b 1
)
echo 注销成功。
pause
exit /b 0

:remove
if exist "%SystemRoot%\SysWOW64\regsvr32.exe" (
    "%SystemRoot%\System32\regsvr32.exe" /s /u /n /i:%1 "%~dp0x64\QmTrainInfo.dll" || set failed=x64
    "%SystemRoot%\SysWOW64\regsvr32.exe" /s /u /n /i:%1 "%~dp0x86\QmTrainInfo.dll" || set failed=x86
) else (
    "%SystemRoot%\System32\regsvr32.exe" /s /u /n /i:%1 "%~dp0x86\QmTrainInfo.dll" || set failed=x86
)
exit /b 0
