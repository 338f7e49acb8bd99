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
# says WORDS COMMAND…: what the program writes has the words in it, whatever its code page.
says() {
  local words=$1
  shift
  "$emulator" "$@" >said 2>&1 || fail "$*: $(iconv -f GB18030 -t UTF-8 said)"
  iconv -f GB18030 -t UTF-8 said | grep -qF "$words" || fail "$*: $(iconv -f GB18030 -t UTF-8 said)"
}
for script in practice.vbs practice.js; do iconv -f UTF-8 -t GB18030 "$sources/samples/$script" >"$script"; done

says "训练次数：1" cscript //nologo practice.vbs data nowindows
says "训练次数：2" cscript //nologo practice.js data
says "training 3, 3 in all" "$build/samples/sample_late.exe" data
says "3 trainings" "$build/samples/sample_host.exe" data nowindows

# Without the class, and without a database, each says so and fails.
if "$emulator" cscript //nologo practice.js nowhere >said; then fail "a script without a database"; fi
iconv -f GB18030 -t UTF-8 said | grep -qF "不存在Client.mdb" || fail "$(cat said)"
registered /u
for program in sample_late sample_host; do
  if "$emulator" "$build/samples/$program.exe" data >said 2>&1; then fail "$program without the class"; fi
  grep -qiE '80040154|800401F3' said || fail "$program: $(cat said)"
done
echo "all is well"
