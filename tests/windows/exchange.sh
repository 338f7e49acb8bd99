#!/usr/bin/env bash
# Files that Windows programs of ours write are read and changed on this machine, and the other way round; several
# Windows programs share one file; one that is killed leaves all of its work or nothing.
# usage: exchange.sh SOURCES EMULATOR JETSQL.EXE
# This machine's jetsql is what the variable QMTRAIN_NATIVE_JETSQL names, else the one that ./test --windows has built.
set -euo pipefail

sources=$1 emulator=$2 program=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

fail() {
  echo "FAILED: $*" >&2
  exit 1
}
windows() { "$emulator" "$program" "$@"; }
here() { "$native" "$@"; }
same() { cmp -s <(printf '%s' "$1") <(printf '%s' "$2") || fail "$3:"$'\n'"$(diff <(echo "$1") <(echo "$2") | head -20)"; }

native=${QMTRAIN_NATIVE_JETSQL:-$sources/build/native/tools/jetsql/jetsql}
[ -x "$native" ] || fail "this machine's jetsql is not built: ./test --windows does that, or QMTRAIN_NATIVE_JETSQL names it"

# The structure and the rows of the user's tables; of all tables.
data() { "$1" "$2" --schema --json --dump TrainInfo --dump TrainResult --dump 科目; }
content() {
  data "$1" "$2"
  "$1" "$2" --tables --system --csv
  "$1" "$2" --dump MSysObjects --json
}
agree() {
  here "$1" --check > check.log || fail "here: $(cat check.log)"
  windows "$1" --check > check-windows.log || fail "on Windows: $(cat check-windows.log)"
  same "$(cat check.log)" "$(cat check-windows.log)" "$1 is checked differently"
  same "$(content here "$1")" "$(content windows "$1")" "$1 looks different on Windows"
}
others_agree() {
  if ! command -v mdb-export > /dev/null; then
    echo "mdbtools are not installed: no other program has read $1"
    return
  fi
  local table
  for table in TrainInfo TrainResult 科目; do
    same "$(mdb-count "$1" "$table")" "$(here "$1" --csv "SELECT Count(*) FROM [$table]" | tail -n 1 | tr -d '\r')" \
      "mdbtools count $table of $1 differently"
  done
  mdb-export "$1" 科目 | grep -q 二级 || fail "mdbtools do not read the texts of $1"
}
more() { # SEED: rows that use every kind of change
  local i
  for i in 1 2 3 4 5 6 7 8; do
    echo "INSERT INTO TrainInfo (UserID, SubjectCode, StartDate) VALUES ($1, $i, #2006-01-0$i 10:00:00#);"
    echo "INSERT INTO 科目 VALUES (${1}0$i, '科目 $1-$i Ä');"
  done
  echo "INSERT INTO TrainResult (TrainID, DataCode, StudentAnswer) SELECT TrainID, 'DC', '$(printf '长文%.0s' {1..3000})' FROM TrainInfo WHERE UserID = $1;"
  echo "UPDATE 科目 SET 科目名称 = 科目名称 & '改' WHERE 科目代码 > ${1}04;"
  echo "DELETE FROM 科目 WHERE 科目代码 = ${1}02;"
  echo "CREATE INDEX ByDate$1 ON TrainInfo (StartDate DESC);"
}

for origin in windows here; do
  "$origin" "$origin.mdb" --create -f "$sources/tools/jetsql/sample.sql"
  agree "$origin.mdb"
  more 3 > more.sql
  here "$origin.mdb" -f more.sql
  agree "$origin.mdb"
  more 4 > more.sql
  windows "$origin.mdb" -f more.sql
  agree "$origin.mdb"
  others_agree "$origin.mdb"
done
same "$(data here windows.mdb)" "$(data here here.mdb)" "the file tells who made it"

echo "four Windows programs share a file"
windows shared.mdb --create "CREATE TABLE T (K LONG CONSTRAINT PrimaryKey PRIMARY KEY, A TEXT(50))"
programs=()
for program_number in 1 2 3 4; do
  for i in $(seq 25); do
    echo "INSERT INTO T VALUES ($((program_number * 1000 + i)), '程序 $program_number');"
    echo "SELECT Count(*) FROM T;"
  done > "share$program_number.sql"
  windows shared.mdb --each -f "share$program_number.sql" > "share$program_number.log" 2>&1 &
  programs+=($!)
done
for process in "${programs[@]}"; do wait "$process" || fail "$(cat share?.log | grep -v '^[0-9]*.$')"; done
same "$(here shared.mdb --csv 'SELECT Count(*) FROM T' | tail -n 1)" $'100\r' "rows are missing"
here shared.mdb --check > check.log || fail "$(cat check.log)"

echo "a Windows program is killed"
rows=20000
windows killed.mdb --create "CREATE TABLE T (K LONG CONSTRAINT PrimaryKey PRIMARY KEY, A MEMO)"
text=$(printf '文%.0s' {1..200})
for i in $(seq $rows); do echo "INSERT INTO T VALUES ($i, '$text');"; done > many.sql
started=$(date +%s%N)
windows killed.mdb -f many.sql
duration=$((($(date +%s%N) - started) / 1000000))
broken_off=0
for percent in 20 40 60 80 90 95; do
  windows killed.mdb "DELETE FROM T"
  "$emulator" "$program" killed.mdb -f many.sql > /dev/null 2>&1 &
  process=$!
  sleep "$(printf '%d.%03d' $((duration * percent / 100000)) $((duration * percent / 100 % 1000)))"
  kill -KILL "$process" 2> /dev/null || true
  if ! wait "$process" 2> /dev/null; then broken_off=$((broken_off + 1)); fi
  count=$(windows killed.mdb --csv "SELECT Count(*) FROM T" | tail -n 1 | tr -d '\r')
  [ "$count" = 0 ] || [ "$count" = $rows ] || fail "$count rows are left of $rows"
  windows killed.mdb --check > check.log || fail "$(cat check.log)"
done
[ "$broken_off" -gt 0 ] || fail "nothing was killed in time"
echo "$broken_off of 6 were broken off within $duration ms"

left=$(find . -name '*.ldb' -o -name '*-journal' -o -name '*.gone')
[ -z "$left" ] || [ "$left" = ./killed.ldb ] || fail "left behind: $left"
echo "all is well"
