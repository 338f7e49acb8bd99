#!/usr/bin/env bash
# Runs packages_inside.sh in a root folder, with the display of the caller.
# usage: packages_root.sh ROOT PICTURES
set -euo pipefail
root=$1 pictures=$2
cd "$(dirname "$0")/.."
# shellcheck source=tools/windows/roots.sh
source tools/windows/roots.sh

as_root install -m 600 "$XAUTHORITY" "$root/packages/authority"
# shellcheck disable=SC2016  # expanded by the inner shell
with_own_mounts bash -euc '
  mount -t proc proc "$1/proc"
  mount --rbind /dev "$1/dev"
  mkdir -p "$1/tmp/.X11-unix"
  mount --bind /tmp/.X11-unix "$1/tmp/.X11-unix"
  exec chroot "$1" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 DISPLAY="$2" \
    XAUTHORITY=/packages/authority bash /packages/packages_inside.sh' packages "$root" "$DISPLAY" &
inside=$!
# The window that is shown in there is photographed from here.
while kill -0 "$inside" 2>/dev/null; do
  if [ -e "$root/packages/shown" ]; then
    import -silent -window root "$pictures/installed.png" && as_root touch "$root/packages/seen"
  fi
  sleep 1
done
wait "$inside"
