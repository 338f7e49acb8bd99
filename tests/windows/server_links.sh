#!/usr/bin/env bash
# The whole story of a practice through the library, on a PostgreSQL server of this machine: the client database's links
# go through Windows' ODBC, which Wine hands on to that of this system.
# usage: server_links.sh SOURCES EMULATOR BUILD
set -euo pipefail

sources=$1 emulator=$2 build=$3
skip() {
  echo "skipped: $*"
  exit 77
}
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
initdb=$(ls /usr/lib/postgresql/*/bin/initdb 2>/dev/null | tail -n 1) || true
[ -n "$initdb" ] || skip "PostgreSQL is not installed (package postgresql)"
# The ODBC driver is of the system that Wine runs in, which may be a root folder of its own.
grep -qsF "[PostgreSQL Unicode]" "${QMTRAIN_WINE_ROOT:-}/etc/odbcinst.ini" || skip "PostgreSQL's ODBC driver is not installed (package odbc-postgresql)"
programs=$(dirname "$initdb")
as_user=()
if [ "$(id -u)" = 0 ]; then
  getent passwd postgres >/dev/null || skip "there is no user postgres"
  as_user=(setpriv --reuid=postgres --regid="$(id -g postgres)" --clear-groups)
fi

folder=$(mktemp -d)
chmod 755 "$folder"
place=$(cd / && "${as_user[@]}" mktemp -d)
port=$((5500 + $$ % 4000))
server=$build/src/server/QmTrainInfo.dll
registered() { (cd "$(dirname "$server")" && "$emulator" regsvr32 /s "$@" /n /i:machine "$(basename "$server")"); }
postgres() { (cd / && "${as_user[@]}" "$programs/$1" "${@:2}") >>"$folder/postgres.log" 2>&1; }
leave() {
  registered /u || true
  postgres pg_ctl -w -D "$place/data" -m immediate stop || true
  (cd / && "${as_user[@]}" rm -rf "$place")
  rm -rf "$folder"
}
trap leave EXIT

postgres initdb -D "$place/data" -U owner -A trust --no-sync -E UTF8 --locale=C.UTF-8
printf 'local all owner trust\nhost all all 127.0.0.1/32 scram-sha-256\n' | (cd / && "${as_user[@]}" tee "$place/data/pg_hba.conf") >/dev/null
postgres pg_ctl -w -D "$place/data" -l "$place/log" -o "-p $port -c listen_addresses=127.0.0.1 -c fsync=off -c unix_socket_directories=$place" start ||
  fail "PostgreSQL does not start: $(cat "$folder/postgres.log")"
psql() { (cd / && "${as_user[@]}" "$programs/psql" -h "$place" -p "$port" -U owner -d "$1" -qAt -v ON_ERROR_STOP=1 -c "$2"); }
psql postgres "CREATE ROLE exam_admin LOGIN CREATEROLE PASSWORD 'admin;{}'"
psql postgres "CREATE DATABASE exam OWNER exam_admin"

# The host sets up tables and links. A process with all rights, as those under Wine are, does not look at the environment.
connect="ODBC;DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=$port;DATABASE=exam"
host=$build/src/host/qmtrain.exe
"$emulator" "$host" server init --connect "$connect;UID=exam_admin;PWD={admin;{}}}" >"$folder/said" 2>&1 ||
  fail "init: $(cat "$folder/said")"
psql exam "CREATE ROLE student LOGIN PASSWORD 'student' IN ROLE qmtrain_host"
"$emulator" "$host" server link "Z:$folder\\data" --connect "$connect;UID=student;PWD=student" >"$folder/said" 2>&1 ||
  fail "link: $(cat "$folder/said")"

registered
cd "$folder"
# script FILE WORDS…: what a script says comes through a file, for Wine's script host has room for one byte of each
# character that it echoes.
script() {
  local file=$1
  shift
  {
    sed 's/WScript\.Echo/Say/' "$file"
    echo 'Sub Say(text)
        Dim file
        Set file = CreateObject("Scripting.FileSystemObject").OpenTextFile("said.txt", 8, True, -1)
        file.WriteLine text
        file.Close
      End Sub'
  } | iconv -f UTF-8 -t GB18030 >script.vbs
  rm -f said.txt
  "$emulator" cscript //nologo script.vbs data nowindows >log 2>&1 || fail "$file: $(cat log) $(iconv -f UTF-16LE -t UTF-8 said.txt)"
  iconv -f UTF-16LE -t UTF-8 said.txt >said
  for words in "$@"; do
    grep -qF "$words" said || fail "$file does not say “$words”: $(cat said) $(cat log)"
  done
}
# So does a script, which logs in.
{
  echo 'CreateObject("QmTrainInfo.DBEngine").OpenDatabase WScript.Arguments(0) & "\\Client.mdb", False, False, "ODBC;UID=student;PWD=student"'
  grep -v "^Option Explicit" "$sources/samples/practice.vbs"
} >practice.vbs
script practice.vbs "训练号 1 已记录。" "训练次数：1" "2/4"
script practice.vbs "训练号 2 已记录。" "训练次数：2"
[ "$(psql exam 'SELECT count(*), sum("AnswerScore") FROM trainresult')" = "4|4" ] || fail "results: $(psql exam 'TABLE trainresult')"
[ "$(psql exam 'SELECT DISTINCT "ErrInfo" FROM trainresult WHERE "ErrInfo" <> '"''")" = "答案错误" ] || fail "a text came as another one"

# The data objects: a login that the script gives, a row changed and added, a link made anew.
script "$sources/tests/windows/server_links.vbs" "答案错误" "改过了" "3151" "新的链接：4" "完"
[ "$(psql exam "SELECT \"Answer\" FROM trainresult WHERE \"QuestionRecNo\" = '0001009'")" = "新" ] || fail "the new row is not there"
echo "all is well"
