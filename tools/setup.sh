# Installs what a script needs and the machine lacks; sourced by ./run and ./test.
# shellcheck shell=bash

say() { printf '%s\n' "$*" >&2; }

missing_packages() {
  local package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s\n' "$package"
  done
}

# Installs the named Debian packages that are not there. An index that cannot be fetched matters only if a package
# then cannot be found.
need_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
  [ "${#missing[@]}" -eq 0 ] && return 0
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { say "Not root and no sudo; please install: ${missing[*]}"; return 1; }
    as_root=(sudo)
  fi
  say "Installing: ${missing[*]}"
  "${as_root[@]}" apt-get update >&2 || say "apt-get update failed; trying with the indexes that are there"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" >&2 || {
    say "Could not install: ${missing[*]}"
    return 1
  }
}

# npm's mdb-reader, an independent reader of our files, for the tests: where Node.js is there, which it is not worth
# installing for. They find it in QMTRAIN_MDB_READER.
find_mdb_reader() {
  local folder=${XDG_CACHE_HOME:-$HOME/.cache}/qmtrain/mdb-reader-3.2.0
  if [ -n "${QMTRAIN_MDB_READER:-}" ] || ! command -v npm >/dev/null; then return 0; fi
  if [ ! -e "$folder/node_modules/mdb-reader" ]; then
    timeout 120 npm install --silent --no-audit --no-fund --no-save --prefix "$folder" mdb-reader@3.2.0 >/dev/null 2>&1 ||
      { say "npm cannot install mdb-reader: what it reads is not compared."; rm -rf "$folder"; return 0; }
  fi
  export QMTRAIN_MDB_READER=$folder/node_modules
}

# build PRESET [CMAKE OPTION…] -- [TARGET…]
build() {
  local preset=$1 options=()
  shift
  while [ $# -gt 0 ] && [ "$1" != -- ]; do options+=("$1"); shift; done
  [ $# -gt 0 ] && shift
  local log
  log=$(mktemp)
  cmake --preset "$preset" "${options[@]}" >"$log" 2>&1 || { cat "$log" >&2; rm -f "$log"; return 1; }
  rm -f "$log"
  if [ $# -gt 0 ]; then
    cmake --build --preset "$preset" --target "$@" >&2
  else
    cmake --build --preset "$preset" >&2
  fi
}
