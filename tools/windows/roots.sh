# Small Debians in the cache: a 32-bit Wine beside the machine's own, a Wine for both word sizes, and one without anything.
# Sourced by test.sh and packages.sh. Wine for 32-bit programs needs the libraries of a 32-bit system; it gets them in a
# folder of its own, so that the machine stays as it is.
# shellcheck shell=bash

# How long it may take to make a folder, in seconds.
root_limit=1800

root_suite() { . /etc/os-release && printf '%s\n' "${VERSION_CODENAME:-stable}"; }

# as_root COMMAND…: with this environment. It never asks for a password, since it may run unattended.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  else
    sudo -n --preserve-env env "PATH=$PATH:/usr/sbin:/sbin" "HOME=$HOME" "$@"
  fi
}

# Runs a command as root with mounts of its own: they end with its last process, whatever happens.
with_own_mounts() { as_root unshare --mount --propagation private "$@"; }

# Where the machine has its own packages from; nothing for the usual place.
root_mirror() {
  # shellcheck disable=SC2016  # apt's own variables
  apt-get indextargets --format '$(REPO_URI)' "Release: $(root_suite)" 2>/dev/null | sort -u | sed -n 1p || true
}

# made_root NAME PROGRAM MAKER: prints the cache's folder NAME; if PROGRAM is not in it, MAKER FOLDER makes it first. Says why
# when it cannot.
made_root() {
  local root part log
  if [ "$(id -u)" -ne 0 ] && ! sudo -n true 2>/dev/null; then
    say "A Debian of its own needs mounts of its own: not root, and no sudo without a password."
    return 1
  fi
  if ! with_own_mounts mount --bind /tmp /tmp 2>/dev/null; then
    say "This machine does not allow mounts, which a Debian of its own needs."
    return 1
  fi
  root=${XDG_CACHE_HOME:-$HOME/.cache}/qmtrain/$1-$(root_suite)
  if [ ! -e "$root/$2" ]; then
    need_packages debootstrap || return 1
    say "Making a small Debian in $root (once; some minutes)"
    mkdir -p "$(dirname "$root")" || return 1
    # Under a name of its own until it is whole; what broke off long ago goes.
    as_root find "$(dirname "$root")" -maxdepth 1 -name "${root##*/}.??????" -mmin +120 -exec rm -rf {} +
    part=$(mktemp -d "$root.XXXXXX") || return 1
    chmod 755 "$part"
    log=$(mktemp)
    if ! "$3" "$part" </dev/null >"$log" 2>&1; then
      tail -n 5 "$log" >&2
      say "The small Debian could not be made."
      as_root rm -rf "$part" "$log"
      return 1
    fi
    rm -f "$log"
    as_root rm -rf "$part"/var/cache/apt/archives/*.deb "$part"/var/lib/apt/lists/*
    [ -e "$root/$2" ] || as_root rm -rf "$root"
    as_root mv -T "$part" "$root" 2>/dev/null || as_root rm -rf "$part"  # another run was faster
    [ -e "$root/$2" ] || { say "The small Debian has no $2."; return 1; }
  fi
  printf '%s\n' "$root"
}

# bootstrap FOLDER [OPTION…]
bootstrap() {
  local folder=$1 mirror
  shift
  mirror=$(root_mirror)
  as_root timeout --kill-after=30 "$root_limit" unshare --mount --propagation private \
    debootstrap --variant=minbase "$@" "$(root_suite)" "$folder" ${mirror:+"$mirror"}
}
make_bare() { bootstrap "$1"; }
# With what its ODBC needs to reach the servers that the tests use.
make_wine32() { bootstrap "$1" --arch=i386 --include=wine32,libodbc2,odbc-postgresql; }
make_wine_both() {
  bootstrap "$1" --arch=amd64 || return 1
  as_root cp /etc/resolv.conf "$1/etc/resolv.conf"
  # shellcheck disable=SC2016  # expanded by the inner shell
  with_own_mounts timeout --kill-after=30 "$root_limit" chroot "$1" sh -euc '
    export DEBIAN_FRONTEND=noninteractive
    dpkg --add-architecture i386
    apt-get update
    apt-get install -y --no-install-recommends wine wine64 wine32:i386'
}

bare_root() { made_root debian bin/sh make_bare; }
wine32_root() { made_root wine32 usr/lib/i386-linux-gnu/libodbc.so.2 make_wine32; }
wine_both_root() { made_root wine-both usr/bin/wine make_wine_both; }

# with_wine_root ROOT COMMAND…: runs the command, as the present user, where tools/windows/wine finds the root.
with_wine_root() {
  local root=$1
  shift
  # shellcheck disable=SC2016  # expanded by the inner shell
  QMTRAIN_WINE_ROOT=$root with_own_mounts bash -euc '
    user=$1 group=$2
    shift 2
    for folder in /proc /dev /tmp "${TMPDIR:-/tmp}" /usr/share/fonts "$PWD" "$(dirname "$PWD")/shared/data"; do
      [ -d "$folder" ] || continue
      mkdir -p "$QMTRAIN_WINE_ROOT$folder"
      mount --rbind "$folder" "$QMTRAIN_WINE_ROOT$folder"
    done
    [ "$user" -ne 0 ] || exec "$@"
    exec setpriv --reuid="$user" --regid="$group" --init-groups --inh-caps=+sys_chroot --ambient-caps=+sys_chroot "$@"
  ' with_wine_root "$(id -u)" "$(id -g)" "$@"
}
