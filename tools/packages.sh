# The Debian packages and their test in a system of their own; sourced by ./test.
# shellcheck shell=bash

# A bare Debian of this machine's release, made once in the cache; prints its archive.
bare_debian() {
  local suite archive part
  suite=$(. /etc/os-release && printf '%s\n' "${VERSION_CODENAME:-stable}")
  archive=${XDG_CACHE_HOME:-$HOME/.cache}/qmtrain/debian-$suite.tar
  if [ ! -e "$archive" ]; then
    say "Making a bare Debian in $archive (once; some minutes)"
    mkdir -p "$(dirname "$archive")"
    part=$(mktemp -d)
    with_own_mounts debootstrap --variant=minbase "$suite" "$part/root" "$(wine32_mirror)" </dev/null >"$part/log" 2>&1 || {
      tail -n 5 "$part/log" >&2
      as_root rm -rf "$part"
      return 1
    }
    as_root rm -rf "$part"/root/var/cache/apt/archives/*.deb
    as_root tar -C "$part/root" -cf "$part/made.tar" .
    mv "$part/made.tar" "$archive"
    as_root rm -rf "$part"
  fi
  printf '%s\n' "$archive"
}

# Builds build/packages/*.deb, asks lintian, installs them in a fresh system, uses and removes them there.
test_packages() {
  # shellcheck source=tools/windows/wine32.sh
  source tools/windows/wine32.sh  # as_root and mounts
  # shellcheck source=tools/windows/wxwidgets.sh
  source tools/windows/wxwidgets.sh  # the cache
  need_packages cmake ninja-build g++ libwxgtk3.2-dev dpkg-dev file lintian debootstrap desktop-file-utils xvfb xauth \
    imagemagick
  build release -DBUILD_TESTING=OFF -DQMTRAIN_BENCH=OFF -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_EXE_LINKER_FLAGS="-Wl,-z,relro,-z,now" --
  rm -rf build/packages
  (cd build/release && cpack -G DEB -B "$OLDPWD/build/packages" >&2)
  lintian --fail-on error --no-tag-display-limit build/packages/*.deb
  desktop-file-validate packaging/linux/qmtrain.desktop
  if [ "$(id -u)" -ne 0 ] && ! sudo -n true 2>/dev/null; then
    say "SKIPPED: the packages are not installed anywhere: not root, and no sudo without a password."
    return 0
  fi
  local archive folder status=0
  archive=$(bare_debian) || return 1
  folder=$(mktemp -d)
  as_root mkdir "$folder/root"
  as_root tar -C "$folder/root" -xf "$archive"
  as_root mkdir "$folder/root/packages"
  as_root cp build/packages/*.deb tools/packages_inside.sh "$folder/root/packages/"
  as_root cp /etc/resolv.conf "$folder/root/etc/resolv.conf"
  xvfb-run -a -s '-screen 0 1280x1024x24' bash tools/packages_root.sh "$folder/root" "$PWD/build/packages" || status=1
  as_root rm -rf "$folder"
  return "$status"
}
