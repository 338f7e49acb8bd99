#!/usr/bin/env bash
# The samples of hosts, on the library that is registered for the machine (Wine finds no class of a user alone): each
# records or counts practices on one database.
# usage: samples.sh SOURCES EMULATOR BUILD
set -euo pipefail

sources=$1 emulator=$2 build=$3
folder=$(mktemp -d)
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
server=$build/src/server/QmTrainInfo.dll
registered() { (cd "$(dirname "$server")" && "$emulator" regsvr32 /s "$@" /n /i:machine "$(basename "$server")"); }
leave() {
  registered /u || true
  rm -rf "$folder"
}
trap leave EXIT

"$emulator" "$build/src/host/qmtrain.exe" init "Z:$folder\\data"
registered
cd "$folder"
said() { iconv -f "$encoding" -t UTF-8 said; }
# says WORDS COMMAND…: the words are in what the program writes.
says() {
  local words=$1
  shift
  encoding=GB18030
  "$emulator" "$@" >said 2>&1 || fail "$*: $(said)"
  said | grep -qF "$words" || fail "$*: $(said)"
}
# script STATUS WORDS FILE ARGUMENT…: Wine's script host has room for one byte only of each character that it echoes into
# a file, and writes over what follows. So the scripts write the file themselves.
script() {
  local status=$1 words=$2 file=$3 got=0
  shift 3
  encoding=UTF-16LE
  {
    sed 's/WScript\.Echo/Say/' "$sources/samples/$file"
    case $file in
      *.js) echo 'function Say(text) {
          var file = new ActiveXObject("Scripting.FileSystemObject").OpenTextFile("said", 8, true, -1);
          file.WriteLine(text);
          file.Close();
        }' ;;
      *.vbs) echo 'Sub Say(text)
          Dim file
          Set file = CreateObject("Scripting.FileSystemObject").OpenTextFile("said", 8, True, -1)
          file.WriteLine text
          file.Close
        End Sub' ;;
    esac
  } | iconv -f UTF-8 -t GB18030 >"$file"
  : >said
  "$emulator" cscript //nologo "$file" "$@" >log 2>&1 || got=$?
  [ "$got" = "$status" ] || fail "$file $*: exit code $got, $(said) $(<log)"
  said | grep -qF "$words" || fail "$file $*: $(said) $(<log)"
}

script 0 "训练次数：1" practice.vbs data nowindows
script 0 "训练次数：2" practice.js data
says "training 3, 3 in all" "$build/samples/sample_late.exe" data
says "3 trainings" "$build/samples/sample_host.exe" data nowindows

# Without the class, and without a database, each says so and fails.
script 1 "不存在Client.mdb" practice.js nowhere
registered /u
for program in sample_late sample_host; do
  if "$emulator" "$build/samples/$program.exe" data >said 2>&1; then fail "$program without the class"; fi
  grep -qiE '80040154|800401F3' said || fail "$program: $(cat said)"
done
echo "all is well"
