#!/usr/bin/env bash
# The practice host as a Windows program: where its data are, long paths, one window for a folder, going on after it was
# killed, pictures.
# usage: host_program.sh EMULATOR QMTRAIN.EXE JETSQL.EXE
set -euo pipefail

emulator=$1 program=$2 jetsql=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
host() { timeout 120 "$emulator" "$program" "$@"; }
sql() { "$emulator" "$jetsql" "$@" | tr -d '\r'; }
# is_picture FILE: a PNG that is more than one plain colour.
is_picture() {
  [ "$(head -c 4 "$1" | tail -c 3)" = PNG ] || fail "$1 is no picture"
  [ "$(stat -c %s "$1")" -gt 5000 ] || fail "$1 is empty"
}

echo "the user's own folder"
rm -rf "$WINEPREFIX"/drive_c/users/*/AppData/Local/qmtrain
host init
compgen -G "$WINEPREFIX/drive_c/users/*/AppData/Local/qmtrain/Client.mdb" >/dev/null || fail "no data in the user's folder"
rm -rf "$WINEPREFIX"/drive_c/users/*/AppData/Local/qmtrain
host list --csv --data nowhere >out 2>err && fail "a folder without data"
grep -q Client.mdb err || fail "$(cat err)"

echo "a long path"
long=$(printf '长文件夹名%.0s' {1..12})
data="Z:$folder\\$long\\$long\\$long\\$long\\$long"
host seed --data "$data" --trainings 4
[ "$(host list --csv --data "$data" | wc -l)" = 5 ] || fail "four trainings and a heading"
for window in "" practice history notes; do
  host $window --data "$data" --screenshot "picture$window.png" || fail "no picture of ${window:-main}"
  is_picture "picture$window.png"
done

echo "one window for a folder"
host seed --data data --trainings 1
"$emulator" "$program" --data data &
first=$!
sleep 5
# A second one leaves as soon as it has found the first.
timeout 100 "$emulator" "$program" --data "Z:$folder\\data" || fail "a second program has opened the folder"
kill -0 "$first" 2>/dev/null || fail "the first program has left"

echo "killed in the middle of a practice"
kill -KILL "$first" 2>/dev/null || true
wait "$first" 2>/dev/null || true
"$emulator" "$program" practice --paper 104 --data data &
practising=$!
sleep 8
kill -KILL "$practising" 2>/dev/null || true
wait "$practising" 2>/dev/null || true
[ "$(sql data/Host.mdb --csv "SELECT Count(*) FROM Unfinished" | tail -n 1)" = 1 ] || fail "the practice is lost"
sql data/Host.mdb --check >/dev/null || fail "Host.mdb is damaged"
host --data data --screenshot after.png
is_picture after.png
echo "all is well"
