#!/usr/bin/env bash
# Inside a fresh Debian: installs the packages, uses them as a candidate and as a developer do, and removes them.
set -euo pipefail
cd /packages
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
quietly() { "$@" >log 2>&1 || { tail -n 40 log >&2; fail "$*"; }; }
export DEBIAN_FRONTEND=noninteractive
quietly apt-get update

echo "the candidate"
quietly apt-get install -y --no-install-recommends ./qmtrain_*.deb fonts-wqy-microhei bash-completion man-db
[ "$(qmtrain --version)" = "qmtrain $(dpkg-query -W -f '${Version}' qmtrain | sed 's/-.*//')" ] || fail "the version"
quietly qmtrain seed --data /packages/data --trainings 3
[ "$(qmtrain list --csv --data /packages/data | wc -l)" = 4 ] || fail "three trainings and a heading"
quietly jetsql /packages/data/Client.mdb --check
quietly env LC_ALL=C.UTF-8 man -l /usr/share/man/man1/qmtrain.1.gz
for words in "qmtrain hi" "jetsql --ch"; do
  # shellcheck disable=SC1091
  bash -c "source /usr/share/bash-completion/bash_completion; source /usr/share/bash-completion/completions/${words%% *}
    COMP_WORDS=($words); COMP_CWORD=1; _${words%% *}; [ \${#COMPREPLY[@]} -eq 1 ]" || fail "the completion of $words"
done
qmtrain --data /packages/data &
window=$!
sleep 4
touch shown
for _ in $(seq 60); do [ -e seen ] && break; sleep 1; done
[ -e seen ] || fail "no picture of the window"
kill -0 "$window" || fail "the window is gone"
timeout 20 qmtrain --data /packages/data || fail "a second start has not left"
kill "$window"

echo "the developer"
quietly apt-get install -y --no-install-recommends ./libqmtraininfo-dev_*.deb g++ cmake make pkg-config
cp -r /usr/share/doc/libqmtraininfo-dev/examples host
quietly cmake -S host -B host/build
quietly cmake --build host/build
for program in host host_with_windows; do
  mkdir "host/$program"
  [ "$(DISPLAY='' "host/build/$program" "host/$program")" = "1 21600" ] || fail "$program has not recorded the practice"
done
mkdir host/flags
# shellcheck disable=SC2046  # words
quietly g++ -std=c++20 host/host.cpp -o host/by_flags $(pkg-config --cflags --libs qmtraininfo-windows)
[ "$(DISPLAY='' host/by_flags host/flags)" = "1 21600" ] || fail "the host of pkg-config has not recorded the practice"

echo "gone again"
quietly apt-get purge -y qmtrain libqmtraininfo-dev
for word in qmtrain jetsql qmtraininfo QmTrainInfo; do
  left=$(find /usr /etc /var/lib/dpkg/info -iname "*$word*" | head)
  [ -z "$left" ] || fail "left behind: $left"
done
[ -e /packages/data/Client.mdb ] || fail "the candidate's data are gone"
