#!/usr/bin/env bash
# The installer, in a Windows of its own that runs programs of both word sizes: what it puts where, that classes can be
# created in both, what it refuses, what an update does with a library in use, that a failure changes nothing, that what is
# ended in the middle is put back, and that nothing of ours is left behind.
# usage: installer.sh WINE SETUP.EXE, with what SETUP.EXE was made of in package/payload beside it
set -euo pipefail

wine=$1 setup=$2 payload=$(dirname "$2")/package/payload
sources=$(realpath "$(dirname "$0")/../../packaging/windows")
folder=$(mktemp -d)
finish() {
  "$wine" wineboot -k -f >/dev/null 2>&1 || true  # a program whose starter was killed may wait for it for ever
  rm -rf "$folder"
}
trap finish EXIT
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
cd "$folder"
cp "$setup" setup.exe
drive=$WINEPREFIX/drive_c

# The registry and the files but for what the system itself writes all the time.
snapshot() {
  "$wine" regedit /E "Z:$folder\\$1.reg" >/dev/null 2>&1
  iconv -f UTF-16 -t UTF-8 "$1.reg" | tr -d '\r' | awk '
    /^\[/ { key = $0 }
    key ~ /Control.Video|Temporary System Parameters|NetworkCards|1000.Console/ { next }
    /^\[/ { print; next }
    /^"/ && key !~ /Explorer|MountPoints|FontSubst|Fonts|Nls|Cryptography|HardwareId|VOLATILE|CurrentVersion\\Time|hardware|HARDWARE|Enum|Class|DirectX/ { print key " " $0 }
    /^"/ && key ~ /QmTrainInfo|4C2127E8/ { print key " " $0 }' | sort -u >"$1.keys"
  (cd "$drive" && find . -path ./windows -prune -o -path './users/*/Temp' -prune -o -path './users/*/AppData/Local/Temp' -prune -o -print | sort) >"$1.files"
}
installed() { # FOLDER
  local name
  for name in x64/QmTrainInfo.dll x86/QmTrainInfo.dll x64/qmtrain.exe x86/jetsql.exe QmTrainInfo.tlb samples/practice.vbs \
    uninstall.exe; do
    [ -e "$1/$name" ] || fail "$name is not in $1"
  done
  [ ! -e "$1/QmTrainInfo.new~" ] || fail "what the installation wrote first is still there"
}
cat >classes.vbs <<'SCRIPT'
WScript.Echo CreateObject("WScript.Shell").ExpandEnvironmentStrings("%PROCESSOR_ARCHITECTURE%")
For Each Name In Array("Utilities", "TrainInfo", "TrainResult", "NCREUser", "SubjectInfo", "DataInfo", "QuestionItem", _
                       "QuestionType", "FillAnswer", "Note", "UITrain", "UIManageNotes", "TrainStatistics", _
                       "WrongQuestions")
    Set Made = CreateObject("QmTrainInfo." & Name)
Next
WScript.Echo CreateObject("QmTrainInfo.Utilities").GetChoiceAnswerString(5)
SCRIPT
# script x64|x86 FILE: by the script host of that word size. To a 32-bit program, and Wine may start as one, system32 is
# the other folder, and sysnative this; a program in there is started by another one only.
script() {
  local system=syswow64
  [ "$1" = x86 ] || system=$native
  "$wine" cmd /c "C:\\windows\\$system\\cscript.exe" //nologo "$2" | tr -d '\r'
}
architecture() { if [ "$1" = x64 ]; then echo AMD64; else echo x86; fi; }
classes() { # all of them in both word sizes
  local word_size said
  for word_size in x64 x86; do
    said=$(script "$word_size" classes.vbs)
    [ "$said" = "$(architecture "$word_size")"$'\nAC' ] || fail "the classes with the script host for $word_size: $said"
  done
}
no_classes() {
  local word_size said
  for word_size in x64 x86; do
    said=$(script "$word_size" classes.vbs || true)
    [ "$said" = "$(architecture "$word_size")" ] || fail "classes after the uninstallation ($word_size): $said"
  done
}
own_entry='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\QmTrainInfo'
own_class='HKCU\Software\Classes\CLSID\{4C2127E8-64EF-4AE2-9ED0-8A2DA0E2DA11}\InprocServer32'
no_own() {
  local view
  if "$wine" reg query "$own_entry" >/dev/null 2>&1; then
    fail "the user's own installation is still in his list of programs"
  fi
  for view in 32 64; do
    if "$wine" reg query "$own_class" "/reg:$view" >/dev/null 2>&1; then fail "the user's own class for $view bits is still there"; fi
  done
}
uninstall() { # WINDOWS-FOLDER: its program goes on as a copy, so that it can remove itself
  "$wine" "$1\\uninstall.exe" /S
  for _ in $(seq 60); do
    [ -e "$2/uninstall.exe" ] || return 0
    sleep 0.5
  done
  fail "the uninstaller is still there"
}
same() { # BEFORE AFTER
  diff "$1.keys" "$2.keys" >changes || fail "keys are left behind:"$'\n'"$(head -n 20 changes)"
  diff "$1.files" "$2.files" >changes || fail "files are left behind:"$'\n'"$(head -n 20 changes)"
}

"$wine" wineboot --init >/dev/null 2>&1
native=sysnative
"$wine" cmd /c 'if not exist C:\windows\sysnative\cscript.exe exit 1' || native=system32
"$wine" setup.exe /S "/D=C:\\first" || fail "the first installation"  # what the system makes at first stays out of the comparison
uninstall "C:\\first" "$drive/first"
no_classes  # and what the script hosts register of their own is there
snapshot before
if grep -iE 'qmtrain|4C2127E8' before.keys before.files >&2; then fail "the first installation has left something behind"; fi

echo "for one user, in silence"
"$wine" setup.exe /S || fail "the installation: $?"
user=$(echo "$drive"/users/*/AppData/Local/Programs/QmTrainInfo)
installed "$user"
# Wine finds no class of a user alone; the entries of both word sizes are looked at instead.
for view in 32 64; do
  "$wine" reg query "$own_class" /ve "/reg:$view" | grep -qi 'QmTrainInfo\\x[68].*\.dll' || fail "the class for $view bits"
done
"$wine" "$user/x64/qmtrain.exe" --version | grep -q '^qmtrain 1' || fail "the host in 64 bits"
"$wine" "$user/x86/qmtrain.exe" --version | grep -q '^qmtrain 1' || fail "the host in 32 bits"
"$wine" "$user/x86/qmtrain.exe" seed --data data
"$wine" "$user/x86/qmtrain.exe" --data data --screenshot host.png || fail "the host's window"
programs='Start Menu/Programs/QmTrainInfo'
compgen -G "$drive/users/*/AppData/Roaming/Microsoft/Windows/$programs/*.lnk" >/dev/null ||
  fail "no entries in the start menu"
"$wine" reg query "$own_entry" >/dev/null || fail "not in the list of programs"

uninstall "$user" "$user"
snapshot after
same before after

echo "for all users, in a folder of their own, and moved to another"
"$wine" setup.exe /S '/D=C:\Elsewhere' || fail "the installation for one user in a folder of his own"
"$wine" setup.exe /S /AllUsers '/D=C:\windows\..\Elsewhere' || fail "the installation for all users over it, by another name"
installed "$drive/Elsewhere"
no_own
"$wine" setup.exe /S /AllUsers '/D=C:\windows\..\Elsewhere' || fail "the installation in the same folder by another name"
installed "$drive/Elsewhere"
echo "what was logged" >"$drive/Elsewhere/x64/QmTrainInfo.Log"
"$wine" setup.exe /S /AllUsers '/D=C:\Everybody' || fail "the installation in another folder"
installed "$drive/Everybody"
[ ! -e "$drive/Elsewhere" ] || fail "something stays where it was: $(find "$drive/Elsewhere")"
grep -q logged "$drive/Everybody/x64/QmTrainInfo.Log" || fail "the log has not come along"
classes
"$wine" reg query 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\QmTrainInfo' /v InstallLocation /reg:64 |
  grep -q 'C:.Everybody' || fail "the machine's list of programs"

echo "another program's folder"
mkdir -p "$drive/Mine/samples"
for name in readme.txt samples/practice.js uninstall.exe; do echo mine >"$drive/Mine/$name"; done
status=0
"$wine" setup.exe /S '/D=C:\Mine' || status=$?
[ "$status" -eq 2 ] || fail "a folder with other files: exit code $status"
# A forged record calls it the folder in which the old files wait.
mkdir "$drive/Everybody/QmTrainInfo.new~" "$drive/Everybody/QmTrainInfo.old~1"
printf '%s' 'QmTrainInfo.old~1\..\..\Mine' >"$drive/Everybody/QmTrainInfo.new~/kept.txt"
"$wine" setup.exe /S /AllUsers || fail "the installation over a forged record"
installed "$drive/Everybody"
[ "$(cat "$drive"/Mine/{readme.txt,samples/practice.js,uninstall.exe} | sort | uniq -c | tr -d ' ')" = 3mine ] ||
  fail "other files have changed"
[ "$(find "$drive/Mine" -type f | wc -l)" -eq 3 ] || fail "something is left in the other folder"
rm -r "$drive/Mine"

echo "for one user beside the one for all"
mkdir -p "$drive/Own/QmTrainInfo.new~/x64"  # one was ended before it had written where the old files wait
echo "half of it" >"$drive/Own/QmTrainInfo.new~/x64/QmTrainInfo.dll"
"$wine" setup.exe /S '/D=C:\Own' || fail "the user's own installation"
installed "$drive/Own"
rm "$drive/Own/x86/jetsql.exe"
"$wine" setup.exe /S || fail "the user's own installation again"
installed "$drive/Own"
[ ! -e "$user" ] || fail "the user's own installation is not where it was before"
for menu in "$drive"/users/*/AppData/Roaming/Microsoft/Windows/"$programs" "$drive/ProgramData/Microsoft/Windows/$programs"; do
  [ -d "$menu" ] || fail "no entries in $menu"
  touch "$menu/使用说明.lnk"  # as an installer in the other language calls it
done
chmod a-w "$drive/Own/readme.txt"
echo "logged by its owner" >"$drive/Own/x64/QmTrainInfo.Log"
"$wine" setup.exe /S /AllUsers || fail "the installation for all beside it"
[ ! -e "$drive/Own" ] || fail "the user's own installation is still there: $(find "$drive/Own")"
grep -q logged "$drive/Everybody/x64/QmTrainInfo.Log" || fail "the log of all is lost"
grep -q owner "$drive/Everybody/x64/QmTrainInfo.Log" || fail "the user's log has not come along"
no_own
[ "$(find "$drive" -name '*.lnk' -path '*QmTrainInfo*' | wc -l)" -eq 4 ] ||
  fail "entries in the start menu: $(find "$drive" -name '*.lnk' -path '*QmTrainInfo*')"
"$wine" setup.exe /S '/D=C:\Own' || fail "the user's own installation, before he deletes its folder"
rm -r "$drive/Own"
"$wine" setup.exe /S /AllUsers || fail "the installation for all over what is left of the user's own"
no_own

# as_before WHAT COMMAND…: ends with exit code 2, and the installation for all is what it was.
as_before() {
  local what=$1 status=0
  shift
  (cd "$drive/Everybody" && find . -type f -exec sha256sum {} + | sort) >files.before
  "$@" || status=$?
  [ "$status" -eq 2 ] || fail "$what: exit code $status"
  (cd "$drive/Everybody" && find . -type f -exec sha256sum {} + | sort) >files.after
  diff files.before files.after >&2 || fail "$what: files have changed"
  classes
}

echo "what fails in the middle"
mkdir broken
(cd "$payload" && find . -type d) | while read -r name; do mkdir -p "broken/$name"; done
(cd "$payload" && find . -type f) | while read -r name; do echo "no library" >"broken/$name"; done
makensis -V1 -WX -INPUTCHARSET UTF8 -DVERSION=9.9.9 "-DPAYLOAD=$folder/broken" "-DOUTPUT=$folder/broken.exe" \
  "$sources/installer.nsi"
as_before "libraries that cannot be registered" "$wine" broken.exe /S /AllUsers
as_before "libraries that cannot be registered, elsewhere" "$wine" broken.exe /S /AllUsers '/D=C:\Third\here'
[ ! -e "$drive/Third" ] || fail "something stays of what could not be registered"
echo "ended in the middle"
# ended_at NUMBER: kills an update once so many old files wait.
ended_at() {
  "$wine" setup.exe /S /AllUsers &
  local updating=$! number=$1
  for _ in $(seq 3000); do
    [ "$(find "$drive/Everybody" -path '*/QmTrainInfo.old~*' -type f | wc -l)" -ge "$number" ] && break
    sleep 0.01
  done
  kill -9 "$updating" || fail "the update was faster"
  wait "$updating" || true
  [ -e "$drive/Everybody/QmTrainInfo.new~/kept.txt" ] || fail "where the old files wait is not written down"
}
# update_ended_at NUMBER, then an installation that fails.
update_ended_at() {
  ended_at "$1"
  "$wine" broken.exe /S /AllUsers
}
for name in readme.txt samples/practice.js; do echo "as it was" >"$drive/Everybody/$name"; done
for number in 1 10; do as_before "an update ended at $number" update_ended_at "$number"; done

echo "two at once"
"$wine" setup.exe /S /AllUsers &
first=$!
for _ in $(seq 1000); do [ -e "$drive/Everybody/QmTrainInfo.new~" ] && break; sleep 0.01; done
kill -STOP "$first"
as_before "a second installation at the same time" "$wine" setup.exe /S '/D=C:\Second'
as_before "an uninstallation at the same time" "$wine" 'C:\Everybody\uninstall.exe' /S '_?=C:\Everybody'
kill -CONT "$first"
wait "$first" || fail "the first of two installations"
[ ! -e "$drive/Second" ] || fail "the second of two installations has made $(find "$drive/Second")"
installed "$drive/Everybody"
for name in readme.txt samples/practice.js; do echo "as it was" >"$drive/Everybody/$name"; done

held=$drive/Everybody/samples/practice.js  # nobody can move what something is mounted on
if mount --bind "$held" "$held" 2>/dev/null; then
  as_before "a file that cannot be replaced" "$wine" broken.exe /S /AllUsers
  umount "$held"
fi

echo "again, over a library in use"
# Wine's script host knows no Sleep, and would end with a script that asks for it.
cat >hold.vbs <<'SCRIPT'
Set Held = CreateObject("QmTrainInfo.Utilities")
Set Files = CreateObject("Scripting.FileSystemObject")
WScript.Echo "held"
For i = 1 To 120
    If Files.FileExists("replaced") Then Exit For
    CreateObject("WScript.Shell").Run "ping -n 2 127.0.0.1", 0, True
Next
WScript.Echo Held.GetChoiceAnswerString(5)
SCRIPT
holders=()
for word_size in x64 x86; do
  script "$word_size" hold.vbs >"held.$word_size" &
  holders+=($!)
done
for _ in $(seq 60); do [ "$(cat held.* | grep -c held)" = 2 ] && break; sleep 0.5; done
# With this argument the uninstaller does not go on as a copy, and its exit code can be seen.
as_before "uninstalling a library in use" "$wine" 'C:\Everybody\uninstall.exe' /S '_?=C:\Everybody'
touch -d 2001-01-01 "$drive/Everybody/x64/QmTrainInfo.dll"
"$wine" setup.exe /S /AllUsers || fail "the installation over a library in use"
for word_size in x64 x86; do
  compgen -G "$drive/Everybody/QmTrainInfo.old~*/$word_size/QmTrainInfo.dll" >/dev/null ||
    fail "the library was not in use ($word_size): $(cat held.*)"
done
as_before "uninstalling while the library before it is in use" \
  "$wine" 'C:\Everybody\uninstall.exe' /S '_?=C:\Everybody'
touch replaced
wait "${holders[@]}" || fail "a program that used the library"
for word_size in x64 x86; do
  grep -q AC "held.$word_size" || fail "the program that used the library ($word_size): $(cat "held.$word_size")"
done
[ "$(stat -c %Y "$drive/Everybody/x64/QmTrainInfo.dll")" -gt "$(date -d 2002-01-01 +%s)" ] || fail "the library is the old one"
classes
cp -r "$drive/Everybody" "$drive/Copy"
as_before "uninstalling a copy of the folder" "$wine" 'C:\Copy\uninstall.exe' /S '_?=C:\Copy'
rm -r "$drive/Copy"
# The user's own over it, an update ended in the middle, and another name of the drive.
"$wine" setup.exe /S '/D=C:\Everybody' || fail "the user's own installation in the folder of all"
ended_at 5
ln -s ../drive_c "$WINEPREFIX/dosdevices/y:"
"$wine" 'Y:\Everybody\uninstall.exe' /S '_?=Y:\Everybody' || fail "the uninstallation, waited for: $?"
rm "$WINEPREFIX/dosdevices/y:"
[ "$(ls "$drive/Everybody")" = uninstall.exe ] || fail "the uninstallation has left $(ls "$drive/Everybody")"
no_classes
echo "again, and a restart of the system"
"$wine" setup.exe /S /AllUsers '/D=C:\Everybody' || fail "the installation beside an uninstaller that has stayed"
"$wine" wineboot -r >/dev/null 2>&1
installed "$drive/Everybody"
uninstall 'C:\Everybody' "$drive/Everybody"
no_classes
snapshot after
same before after

echo "where it cannot"
small=$folder/small
mkdir "$small"
there=${QMTRAIN_WINE_ROOT:-}$small  # as Wine sees it
if mount -t tmpfs -o size=30m tmpfs "$there" 2>/dev/null; then  # fills up between two files or in one
  status=0
  "$wine" setup.exe /S "/D=Z:${small//\//\\}\\here" || status=$?
  [ "$status" -eq 2 ] || fail "a full disk: exit code $status"
  [ ! -e "$there/here" ] || fail "on a full disk this is left: $(find "$there/here")"
  umount "$there"
fi
if mount -t tmpfs -o size=100m tmpfs "$there" 2>/dev/null; then  # has room for the installation, but not for the log
  "$wine" setup.exe /S '/D=C:\Own' || fail "the user's own installation"
  truncate -s 64M "$drive/Own/x64/QmTrainInfo.Log"
  "$wine" setup.exe /S /AllUsers "/D=Z:${small//\//\\}\\here" || fail "the installation on a disk that is nearly full: $?"
  [ "$(stat -c %s "$drive/Own/x64/QmTrainInfo.Log" 2>&1)" = $((64 << 20)) ] || fail "a log that had no room has lost something"
  [ "$(stat -c %s "$there/here/x64/QmTrainInfo.Log")" -eq 0 ] || fail "a part of a log that had no room has stayed"
  rm -r "$drive/Own"
  uninstall "Z:${small//\//\\}\\here" "$there/here"
  umount "$there"
fi
touch "$folder/file"
status=0
"$wine" setup.exe /S "/D=Z:${folder//\//\\}\\file" || status=$?
[ "$status" -eq 2 ] || fail "a folder that cannot be made: exit code $status"
status=0
"$wine" broken.exe /S || status=$?
[ "$status" -eq 2 ] || fail "libraries that cannot be registered, and none before: exit code $status"
snapshot after
same before after
"$wine" winecfg -v vista
status=0
"$wine" setup.exe /S || status=$?
[ "$status" -eq 2 ] || fail "Windows Vista: exit code $status"
[ ! -e "$user" ] || fail "something was installed on Windows Vista"
echo "all is well"
