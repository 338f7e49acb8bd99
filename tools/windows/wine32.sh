# A 32-bit Wine beside the machine's own; sourced by test.sh. Wine for 32-bit programs needs the libraries of a 32-bit
# system. It gets them in a folder of its own, a small Debian in the cache, so that the machine stays as it is.
# shellcheck shell=bash

wine32_suite() { . /etc/os-release && printf '%s\n' "${VERSION_CODENAME:-stable}"; }

# Prints the folder, and makes it if need be. Says why when it cannot.
wine32_root() {
  local root mirror log
  root=$(wxwidgets_cache)/wine32-$(wine32_suite)
  if [ ! -x "$root/usr/lib/wine/wine" ]; then
    if [ "$(id -u)" -ne 0 ]; then say "A 32-bit Wine needs its own root folder, which only root may make."; return 1; fi
    if ! unshare --mount true 2>/dev/null; then say "This machine does not allow mounts, which a 32-bit Wine needs."; return 1; fi
    need_packages debootstrap || return 1
    say "Making a 32-bit Debian with Wine in $root (once; some minutes)"
    rm -rf "$root" "$root.part"
    mkdir -p "$(dirname "$root")"
    # Where the machine has its own packages from; nothing for the usual place.
    # shellcheck disable=SC2016  # apt's own variables
    mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $(wine32_suite)" | sort -u | head -n 1)
    log=$(mktemp)
    if ! unshare --mount --propagation private debootstrap --arch=i386 --variant=minbase --include=wine32 \
      "$(wine32_suite)" "$root.part" ${mirror:+"$mirror"} >"$log" 2>&1; then
      tail -n 5 "$log" >&2
      say "The 32-bit Debian could not be made."
      rm -rf "$root.part" "$log"
      return 1
    fi
    rm -rf "$log" "$root.part"/var/cache/apt/archives/*.deb "$root.part"/var/lib/apt/lists/*
    mv "$root.part" "$root"
  fi
  printf '%s\n' "$root"
}

# with_wine32 ROOT COMMAND…: runs the command where tools/windows/wine32 finds the root. The mounts are in a namespace
# of their own: they end with its last process, whatever happens.
with_wine32() {
  local root=$1
  shift
  # shellcheck disable=SC2016  # expanded by the inner shell
  QMTRAIN_WINE32_ROOT=$root unshare --mount --propagation private bash -euc '
    for folder in /proc /dev /tmp /usr/share/fonts "$PWD" "$(dirname "$PWD")/shared/data"; do
      [ -d "$folder" ] || continue
      mkdir -p "$QMTRAIN_WINE32_ROOT$folder"
      mount --rbind "$folder" "$QMTRAIN_WINE32_ROOT$folder"
    done
    exec "$@"' with_wine32 "$@"
}
