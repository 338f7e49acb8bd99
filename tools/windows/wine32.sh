# A 32-bit Wine beside the machine's own; sourced by test.sh. Wine for 32-bit programs needs the libraries of a 32-bit
# system. It gets them in a folder of its own, a small Debian in the cache, so that the machine stays as it is.
# shellcheck shell=bash

# How long it may take to make the folder, in seconds.
wine32_limit=1800

wine32_suite() { . /etc/os-release && printf '%s\n' "${VERSION_CODENAME:-stable}"; }

# as_root COMMAND…: with this environment. It never asks for a password, for nobody may be there.
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
wine32_mirror() {
  # shellcheck disable=SC2016  # apt's own variables
  apt-get indextargets --format '$(REPO_URI)' "Release: $(wine32_suite)" 2>/dev/null | sort -u | sed -n 1p || true
}

# Prints the folder, and makes it if need be. Says why when it cannot.
wine32_root() {
  local root part mirror log
  if [ "$(id -u)" -ne 0 ] && ! sudo -n true 2>/dev/null; then
    say "A 32-bit Wine needs mounts of its own: not root, and no sudo without a password."
    return 1
  fi
  if ! with_own_mounts mount --bind /tmp /tmp 2>/dev/null; then
    say "This machine does not allow mounts, which a 32-bit Wine needs."
    return 1
  fi
  root=$(wxwidgets_cache)/wine32-$(wine32_suite)
  if [ ! -x "$root/usr/lib/wine/wine" ]; then
    need_packages debootstrap || return 1
    say "Making a 32-bit Debian with Wine in $root (once; some minutes)"
    mkdir -p "$(dirname "$root")" || return 1
    # Under a name of its own until it is whole; what broke off long ago goes.
    as_root find "$(dirname "$root")" -maxdepth 1 -name "${root##*/}.??????" -mmin +120 -exec rm -rf {} +
    part=$(mktemp -d "$root.XXXXXX") || return 1
    chmod 755 "$part"
    mirror=$(wine32_mirror)
    log=$(mktemp)
    if ! as_root timeout --kill-after=30 "$wine32_limit" unshare --mount --propagation private \
      debootstrap --arch=i386 --variant=minbase --include=wine32 "$(wine32_suite)" "$part" \
      ${mirror:+"$mirror"} </dev/null >"$log" 2>&1; then
      tail -n 5 "$log" >&2
      say "The 32-bit Debian could not be made."
      as_root rm -rf "$part" "$log"
      return 1
    fi
    rm -f "$log"
    as_root rm -rf "$part"/var/cache/apt/archives/*.deb "$part"/var/lib/apt/lists/*
    [ -x "$root/usr/lib/wine/wine" ] || as_root rm -rf "$root"
    as_root mv -T "$part" "$root" 2>/dev/null || as_root rm -rf "$part"  # another run was faster
    [ -x "$root/usr/lib/wine/wine" ] || { say "The 32-bit Debian has no Wine."; return 1; }
  fi
  printf '%s\n' "$root"
}

# with_wine32 ROOT COMMAND…: runs the command, as the present user, where tools/windows/wine32 finds the root.
with_wine32() {
  local root=$1
  shift
  # shellcheck disable=SC2016  # expanded by the inner shell
  QMTRAIN_WINE32_ROOT=$root with_own_mounts bash -euc '
    user=$1 group=$2
    shift 2
    for folder in /proc /dev /tmp "${TMPDIR:-/tmp}" /usr/share/fonts "$PWD" "$(dirname "$PWD")/shared/data"; do
      [ -d "$folder" ] || continue
      mkdir -p "$QMTRAIN_WINE32_ROOT$folder"
      mount --rbind "$folder" "$QMTRAIN_WINE32_ROOT$folder"
    done
    [ "$user" -ne 0 ] || exec "$@"
    exec setpriv --reuid="$user" --regid="$group" --init-groups --inh-caps=+sys_chroot --ambient-caps=+sys_chroot "$@"
  ' with_wine32 "$(id -u)" "$(id -g)" "$@"
}
